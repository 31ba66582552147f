// Programs in Cg that tests compile.
#pragma once

#include <string>

namespace test {

/// The parameters of a fragment program that composes two textures.
inline const std::string kComposeParameters =
    "float2 texCoord : TEXCOORD0, out float4 color : COLOR, uniform float1 screenHeight, "
    "uniform float1 screenWidth, uniform float1 x_base, uniform float1 y_base, "
    "uniform sampler2D leftImage, uniform sampler2D rightImage";

/// Returns a fragment program with the entry point `main` and these statements.
inline std::string FragmentProgram(const std::string& body) {
  return "void main(" + kComposeParameters + ")\n{\n" + body + "\n}\n";
}

/// A vertex program that does what fixed functions do, for the first texture coordinate.
inline const std::string kPassVertex =
    "void main(float2 position : POSITION,\t\tfloat2 texCoord : TEXCOORD0,\n"
    "          uniform float4x4 matrix : state.matrix.mvp,\n"
    "          out float4 oPosition : POSITION, out float2 oTexCoord : TEXCOORD0)\n"
    "{ oPosition = mul(matrix, float4(position, 0, 1)); oTexCoord = texCoord; }\n";

}  // namespace test

// The compositor's programs in Cg.
#pragma once

#include <array>
#include <string>

inline constexpr const char* kStereoVertexEntry = "stereo_v";
inline constexpr const char* kStereoFragmentEntry = "stereo_f";

inline constexpr const char* kStereoVertexSource = R"(
void stereo_v(float2 position : POSITION, float2 texCoord : TEXCOORD0,
              uniform float4x4 ModelViewProject : state.matrix.mvp,
              out float4 oPosition : POSITION, out float2 oTexCoord : TEXCOORD0)
{
  oPosition = mul(ModelViewProject, float4(position, 0, 1));
  oTexCoord = texCoord;
}
)";

/// The bodies of the fragment programs, by mode.
inline constexpr std::array<const char*, 4> kStereoFragmentBodies{
    R"(
  float4 l_c = tex2D(leftImage , texCoord);
  float4 r_c = tex2D(rightImage, texCoord);
  color.x = l_c.x;
  color.yz = r_c.yz;
  color.w = saturate(l_c.w+r_c.w);
)",
    // Deliberate: the weights of red and blue are exchanged, 0.1140 goes to red and 0.2989 to blue.
    R"(
  float4 l_c = tex2D(leftImage , texCoord);
  float4 r_c = tex2D(rightImage, texCoord);
  float3 cnvt = { 0.1140, 0.5870, 0.2989 };
  float l_lumn = dot( cnvt, l_c.xyz );
  float r_lumn = dot( cnvt, r_c.xyz );
  color.x = l_lumn;
  color.y = r_lumn;
  color.z = r_lumn;
  color.w  = r_c.w;
)",
    // Rows count from the top of the screen.
    R"(
  float1 screenPosY = (1.0 - texCoord.y) * screenHeight;
  int ypos = int(trunc( screenPosY )) + int(trunc(y_base));
  if (ypos % 2 != 0)
    color = tex2D( leftImage, texCoord );
  else
    color = tex2D( rightImage, texCoord );
)",
    R"(
  float1 screenPosX = (texCoord.x)*screenWidth;
  float1 screenPosY = (1.0 - texCoord.y) * screenHeight;
  int xpos = int(trunc( screenPosX )) + int(trunc(x_base));
  int ypos = int(trunc( screenPosY )) + int(trunc(y_base));
  if (ypos % 2 != 0)
  {
    if (xpos % 2 == 0)
      color = tex2D( leftImage, texCoord );
    else
      color = tex2D( rightImage, texCoord );
  }
  else
  {
    if (xpos % 2 == 0)
      color = tex2D( rightImage, texCoord );
    else
      color = tex2D( leftImage, texCoord );
  }
)"};

/// Returns the fragment program of a mode below 4.
inline std::string StereoFragmentSource(std::size_t mode) {
  constexpr const char* kHead = R"(
void stereo_f(float2 texCoord : TEXCOORD0, out float4 color : COLOR,
              uniform float1 screenHeight, uniform float1 screenWidth,
              uniform float1 x_base, uniform float1 y_base,
              uniform sampler2D leftImage, uniform sampler2D rightImage)
{)";
  return kHead + std::string(kStereoFragmentBodies.at(mode)) + "}\n";
}

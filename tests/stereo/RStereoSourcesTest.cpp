// The texts of the compositor's programs.
#include "stereo/RStereoSources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

namespace {

/// Without blanks, which do not count between tokens of these texts.
std::string Squeeze(std::string text) {
  std::erase_if(text, [](unsigned char c) { return std::isspace(c) != 0; });
  return text;
}

const std::string kHead =
    "void stereo_f(float2 texCoord : TEXCOORD0, out float4 color : COLOR, uniform float1 screenHeight, "
    "uniform float1 screenWidth, uniform float1 x_base, uniform float1 y_base, uniform sampler2D leftImage, "
    "uniform sampler2D rightImage) {";

const std::string kRow = "float1 screenPosY = (1.0 - texCoord.y) * screenHeight;";
const std::string kYpos = "int ypos = int(trunc( screenPosY )) + int(trunc(y_base));";

TEST(RStereoSources, TheVertexProgram) {
  EXPECT_STREQ(kStereoVertexEntry, "stereo_v");
  EXPECT_EQ(
      Squeeze(kStereoVertexSource),
      Squeeze("void stereo_v(float2 position : POSITION, float2 texCoord : TEXCOORD0, uniform float4x4 "
              "ModelViewProject : state.matrix.mvp, out float4 oPosition : POSITION, out float2 oTexCoord : "
              "TEXCOORD0) { oPosition = mul(ModelViewProject, float4(position, 0, 1));  oTexCoord = "
              "texCoord; }"));
}

TEST(RStereoSources, TheColourAnaglyph) {
  EXPECT_STREQ(kStereoFragmentEntry, "stereo_f");
  EXPECT_EQ(
      Squeeze(StereoFragmentSource(0)),
      Squeeze(
          kHead +
          "float4 l_c = tex2D(leftImage , texCoord);   float4 r_c = tex2D(rightImage, texCoord);   color.x "
          "= l_c.x;   color.yz = r_c.yz;   color.w = saturate(l_c.w+r_c.w); }"));
}

TEST(RStereoSources, TheGreyAnaglyphExchangesTheWeightsOfRedAndBlue) {
  EXPECT_EQ(
      Squeeze(StereoFragmentSource(1)),
      Squeeze(
          kHead +
          "float4 l_c = tex2D(leftImage , texCoord);   float4 r_c = tex2D(rightImage, texCoord);   float3 "
          "cnvt = { 0.1140, 0.5870, 0.2989 };   float l_lumn = dot( cnvt, l_c.xyz );    float r_lumn = dot( "
          "cnvt, r_c.xyz );    color.x = l_lumn;   color.y = r_lumn;   color.z = r_lumn;   color.w  = r_c.w; "
          "}"));
}

TEST(RStereoSources, TheInterleavedRows) {
  EXPECT_EQ(
      Squeeze(StereoFragmentSource(2)),
      Squeeze(
          kHead + kRow + kYpos +
          "if (ypos % 2 != 0) color = tex2D( leftImage, texCoord ); else color = tex2D( rightImage, texCoord "
          "); }"));
}

TEST(RStereoSources, TheCheckerboard) {
  const std::string left = "color = tex2D( leftImage, texCoord );";
  const std::string right = "color = tex2D( rightImage, texCoord );";
  EXPECT_EQ(Squeeze(StereoFragmentSource(3)),
            Squeeze(kHead + "float1 screenPosX = (texCoord.x)*screenWidth;" + kRow +
                    "int xpos = int(trunc( screenPosX )) + int(trunc(x_base));" + kYpos +
                    "if (ypos % 2 != 0) { if (xpos % 2 == 0) " + left + " else " + right +
                    "} else { if (xpos % 2 == 0) " + right + " else " + left + "} }"));
}

}  // namespace

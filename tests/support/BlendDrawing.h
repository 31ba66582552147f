// Drawing with blend operators in OpenGL tests.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

#include "operators/RImOpBlend.h"
#include "support/BlendFormula.h"
#include "support/GLTest.h"
#include "support/OperatorFakes.h"

namespace test {

/// Returns a raw RGBA image of a picture.
inline ImagePtr ToImage(const Picture& picture) {
  return MakeImage(picture.width, picture.height, picture.bytes);
}

/// Returns the lower left `width` x `height` pixels of a texture image, leaving it as it is. A pack buffer
/// that is bound is put aside.
inline Picture FromTexture(RImage& image, int width, int height) {
  EXPECT_EQ(image.GetIncarnation(), RImage::kIncarnationGL);
  static auto* const bindBuffer = DriverEntryPoint<void(GLenum, GLuint)>("glBindBuffer");
  GLint packBuffer = 0;
  DriverEntryPoint<void(GLenum, GLint*)>("glGetIntegerv")(GL_PIXEL_PACK_BUFFER_BINDING, &packBuffer);
  bindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  const GLPixels level = ReadTexture(image.GetTextureID(), GL_RGBA);
  bindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(packBuffer));
  Picture picture{width, height, {}};
  for (int y = 0; y < height; ++y) {
    const auto row = level.bytes.begin() + 4L * y * level.width;
    picture.bytes.insert(picture.bytes.end(), row, row + 4L * width);
  }
  return picture;
}

/// Locks an operator's result as a texture and returns its pixels.
inline Picture Evaluate(RImageOperator& op) {
  RFpContext context;
  EXPECT_NE(op.ReadLock(&context, kFormTextureMask), 0);
  op.ReadUnLock(&context, kFormTextureMask);
  return FromTexture(*op.GetPlugImage(0, RImageOperator::kPlugOutput), op.GetWidth(), op.GetHeight());
}

/// Sets an operator to exactly these settings; the factors of A last, because B's factor 14 brings one along.
inline void Apply(RImOpBlend& op, const BlendSettings& s) {
  op.FuncRGBSet(s.funcRGB);
  op.FuncAlphaSet(s.funcAlpha);
  op.BFactorRGBSet(s.bFactorRGB);
  op.BFactorAlphaSet(s.bFactorAlpha);
  op.AFactorRGBSet(s.aFactorRGB);
  op.AFactorAlphaSet(s.aFactorAlpha);
  op.ColorSet({s.constant[0], s.constant[1], s.constant[2]});
  op.AlphaSet(100 * s.constant[3]);
}

}  // namespace test

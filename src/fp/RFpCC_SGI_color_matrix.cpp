#include "fp/RFpCC_SGI_color_matrix.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>

#include "fp/RFpRgbaRows.h"
#include "rgl/RGLFunctions.h"

namespace {

// The forms in which pixels pass through the colour matrix, by where they come from.
constexpr int kFromMemory = kFormRawToBuffer | kFormRawToTexture;
constexpr int kTransferMask = kFromMemory | kFormBufferToTexture | kFormBufferToBuffer;

void LoadColorMatrix(const RFpColorMatrix& matrix) {
  std::array<GLfloat, 16> values{};
  auto* next = values.begin();
  for (const auto& column : matrix.columns) next = std::copy(column.begin(), column.end(), next);
  glMatrixMode(GL_COLOR);
  glLoadMatrixf(values.data());
  glMatrixMode(GL_MODELVIEW);
}

void ResetColorMatrix() {
  glMatrixMode(GL_COLOR);
  glLoadIdentity();
  glMatrixMode(GL_MODELVIEW);
}

// Alpha passes a scale and a bias before the matrix, by which it becomes 1.
void SetAlphaTransfer(bool opaque) {
  glPixelTransferf(GL_ALPHA_SCALE, opaque ? 0.0F : 1.0F);
  glPixelTransferf(GL_ALPHA_BIAS, opaque ? 1.0F : 0.0F);
}

// Hands pixels over, in pieces of rows where OpenGL does not know their layout. It takes no memory, for lack
// of which the matrix would stay in place.
template <class Transfer>
void TransferPixels(const RFpPixels& pixels, int width, int height, const Transfer& transfer) {
  constexpr int kRGB555Size = 2;
  const RFpRgbaRows rows(pixels);
  width = std::min(width, pixels.width);
  height = std::min(height, pixels.height);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  if (pixels.pixelSize != kRGB555Size) {
    transfer(0, 0, width, height, static_cast<GLenum>(pixels.glFormat), pixels.bits);
  } else {
    constexpr int kPiece = 1024;
    std::array<unsigned char, std::size_t{4} * kPiece> buffer;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; x += kPiece) {
        const int columns = std::min(width - x, kPiece);
        transfer(x, y, columns, 1, GL_RGBA, rows.Get(x, y, columns, buffer.data()));
      }
    }
  }
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

}  // namespace

int RFpCC_SGI_color_matrix::GetRequirementFlags(int stage) const {
  const int forms = RFpCC_default::GetRequirementFlags(stage);
  return UsesZones() ? forms : forms | kTransferMask;
}

int RFpCC_SGI_color_matrix::Bind(RFpContext* context, int stage, int form) {
  if (!(form & kTransferMask)) return RFpCC_default::Bind(context, stage, form);
  Derive();
  if (UsesZones()) return 0;
  if ((form & kFromMemory) && !(context && RFpRgbaRows(context->sources[0]).IsReadable())) return 0;
  LoadColorMatrix(GetMatrix());
  SetAlphaTransfer(!GetSettings().transparency);
  glPixelZoom(1, 1);
  return 1;
}

void RFpCC_SGI_color_matrix::Draw(RFpContext* context, int stage, int form, int width, int height) {
  switch (form) {
    case kFormBufferToBuffer:
      opengl15()->glWindowPos2i(0, 0);
      glCopyPixels(0, 0, width, height, GL_COLOR);
      return;
    case kFormBufferToTexture:
      glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, width, height);
      return;
    case kFormRawToBuffer:
      TransferPixels(context->sources[0], width, height,
                     [](int x, int y, int columns, int rows, GLenum format, const unsigned char* bits) {
                       opengl15()->glWindowPos2i(x, y);
                       glDrawPixels(columns, rows, format, GL_UNSIGNED_BYTE, bits);
                     });
      return;
    case kFormRawToTexture:
      TransferPixels(context->sources[0], width, height,
                     [](int x, int y, int columns, int rows, GLenum format, const unsigned char* bits) {
                       glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, columns, rows, format, GL_UNSIGNED_BYTE, bits);
                     });
      return;
    default:
      RFpCC_default::Draw(context, stage, form, width, height);
  }
}

void RFpCC_SGI_color_matrix::Unbind(RFpContext*, int, int form) {
  if (!(form & kTransferMask)) return;
  ResetColorMatrix();
  SetAlphaTransfer(false);
}

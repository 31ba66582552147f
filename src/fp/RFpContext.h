// The processing context that accompanies every call of the lock and bind protocol.
#pragma once

#include <array>
#include <cstddef>

/// An image as a node sees it. Rows are `rowLength` pixels apart, the bottom row first.
struct RFpPixels {
  unsigned char* bits = nullptr;  ///< the first pixel, borrowed; null for a texture
  int rowLength = 0;              ///< pixels
  int height = 0;                 ///< pixels
  int width = 0;                  ///< pixels
  int glFormat = 0;               ///< OpenGL's pixel format, or -1 when there is none
  unsigned glType = 0;            ///< always GL_UNSIGNED_BYTE
  int pixelSize = 0;              ///< bytes a pixel
};

/// The most inputs that a stage reads.
inline constexpr int kFpMaxInputs = 17;

/// Passed unchanged through every call of an evaluation and on to the nodes. The context begins with the
/// description of the image that was bound last, so while a node draws that is its target; the images bound
/// for reading follow by texture unit, so that a node still sees its sources.
struct RFpContext {
  RFpPixels target;                             ///< the image that was bound last
  std::array<RFpPixels, kFpMaxInputs> sources;  ///< by texture unit
};
static_assert(offsetof(RFpContext, target) == 0);

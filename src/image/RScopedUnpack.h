// Pixel-store settings for the time of an upload.
#pragma once

#include <GL/gl.h>

#include <array>
#include <cstddef>

/// Makes OpenGL unpack whole images, whatever the host has set: no skipped rows or pixels, rows of the
/// image's own length, padded to `alignment` bytes (1: tightly packed). The host's settings come back with
/// the end of the object.
class RScopedUnpack {
 public:
  explicit RScopedUnpack(GLint alignment) {
    for (std::size_t i = 0; i < kNames.size(); ++i) {
      glGetIntegerv(kNames[i], &mSaved[i]);
      glPixelStorei(kNames[i], kNames[i] == GL_UNPACK_ALIGNMENT ? alignment : 0);
    }
  }
  ~RScopedUnpack() {
    for (std::size_t i = 0; i < kNames.size(); ++i) glPixelStorei(kNames[i], mSaved[i]);
  }
  RScopedUnpack(const RScopedUnpack&) = delete;
  RScopedUnpack& operator=(const RScopedUnpack&) = delete;

 private:
  static constexpr std::array<GLenum, 4> kNames{GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS,
                                                GL_UNPACK_SKIP_PIXELS, GL_UNPACK_ALIGNMENT};
  std::array<GLint, kNames.size()> mSaved{};
};

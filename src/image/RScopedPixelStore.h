// Pixel-store settings for the time of a transfer.
#pragma once

#include <GL/gl.h>

#include <array>
#include <cstddef>

struct RPixelStoreSetting {
  GLenum name;
  GLint value;
};

/// Makes settings of how OpenGL finds pixels in memory; those of before come back with the end of the object.
template <std::size_t kCount>
class RScopedPixelStore {
 public:
  explicit RScopedPixelStore(const std::array<RPixelStoreSetting, kCount>& settings) : mSaved(settings) {
    for (std::size_t i = 0; i < kCount; ++i) {
      glGetIntegerv(settings[i].name, &mSaved[i].value);
      glPixelStorei(settings[i].name, settings[i].value);
    }
  }
  ~RScopedPixelStore() {
    for (const RPixelStoreSetting& setting : mSaved) glPixelStorei(setting.name, setting.value);
  }
  RScopedPixelStore(const RScopedPixelStore&) = delete;
  RScopedPixelStore& operator=(const RScopedPixelStore&) = delete;

 private:
  std::array<RPixelStoreSetting, kCount> mSaved;
};

/// Makes OpenGL unpack whole images, whatever the host has set: no skipped rows or pixels, rows of the
/// image's own length, padded to `alignment` bytes (1: tightly packed).
class RScopedUnpack : RScopedPixelStore<4> {
 public:
  explicit RScopedUnpack(GLint alignment)
      : RScopedPixelStore({{{GL_UNPACK_ROW_LENGTH, 0},
                            {GL_UNPACK_SKIP_ROWS, 0},
                            {GL_UNPACK_SKIP_PIXELS, 0},
                            {GL_UNPACK_ALIGNMENT, alignment}}}) {}
};

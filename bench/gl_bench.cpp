// Moving images to textures and back, beside the driver's own copies of the same bytes.
//
// The driver's time is included: each iteration ends with the driver idle. Without a display a private X
// server is started; without OpenGL the benchmarks say so and measure nothing.
#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Gpu.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"

namespace {

using Bytes = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImage>;

// Powers of two, so that the texture has the picture's size and comes back without a change of size.
constexpr int kWidth = 2048;
constexpr int kHeight = 1024;

/// The display, the application and the context of the run.
class Driver {
 public:
  Driver() : mGpu(GpuMode::kAuto) {
    if (!mGpu.IsUsable()) return;
    mApplication = std::make_unique<QGuiApplication>(mCount, mArguments.data());
    mSurface = std::make_unique<QOffscreenSurface>();
    mContext = std::make_unique<QOpenGLContext>();
    mSurface->create();
    mIsReady = mContext->create() && mContext->makeCurrent(mSurface.get());
  }
  bool IsReady() const { return mIsReady; }
  std::string Reason() const { return mGpu.IsUsable() ? "no OpenGL context" : mGpu.Reason(); }

 private:
  Gpu mGpu;
  std::array<char, 6> mName{'b', 'e', 'n', 'c', 'h', '\0'};
  int mCount = 1;
  std::array<char*, 2> mArguments{mName.data(), nullptr};
  std::unique_ptr<QGuiApplication> mApplication;
  std::unique_ptr<QOffscreenSurface> mSurface;
  std::unique_ptr<QOpenGLContext> mContext;
  bool mIsReady = false;
};

// Lives until the process ends: drivers do not like to go after Qt's own statics.
Driver& TheDriver() {
  static auto* driver = new Driver;
  return *driver;
}

bool Begin(benchmark::State& state) {
  if (TheDriver().IsReady()) return true;
  state.SkipWithError(TheDriver().Reason().c_str());
  return false;
}

struct Format {
  const char* name;
  kImageFormat format;
  GLenum glFormat;
  GLint components;
};

constexpr std::array kFormats{Format{"RGBA", kImageFormatRGBA, GL_RGBA, 4},
                              Format{"BGRA", kImageFormatBGRA, GL_BGRA, 4},
                              Format{"RGB", kImageFormatRGB, GL_RGB, 3}};

Bytes MakePixels(const Format& format) {
  Bytes pixels(static_cast<std::size_t>(kWidth) * kHeight * static_cast<std::size_t>(format.components));
  unsigned noise = 1;
  for (unsigned char& byte : pixels) {
    noise = noise * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(noise >> 24);
  }
  return pixels;
}

ImagePtr MakeImage(const Format& format, Bytes& pixels) {
  ImagePtr image(RImageCreate());
  image->Init(format.format, kWidth, kHeight, 0, 0, true, kImageTypeFrame, kInterleaveNone,
              kInterpolationNone, RImage::kIncarnationRaw);
  image->SetImageBits(pixels.data());
  image->RequestGLIncarnation(true);
  return image;
}

GLuint MakeTexture(const Format& format) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexImage2D(GL_TEXTURE_2D, 0, format.components, kWidth, kHeight, 0, format.glFormat, GL_UNSIGNED_BYTE,
               nullptr);
  return texture;
}

void Finish(benchmark::State& state, const Bytes& pixels) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(pixels.size()));
}

bool Check(benchmark::State& state, bool correct) {
  if (!correct) state.SkipWithError("the pixels differ");
  return correct;
}

void UploadOurs(benchmark::State& state, const Format& format) {
  if (!Begin(state)) return;
  Bytes pixels = MakePixels(format);
  const ImagePtr image = MakeImage(format, pixels);
  for (auto _ : state) {
    image->SetImageBits(pixels.data());
    glFinish();
  }
  Finish(state, pixels);
}

void UploadDriver(benchmark::State& state, const Format& format) {
  if (!Begin(state)) return;
  const Bytes pixels = MakePixels(format);
  GLuint texture = MakeTexture(format);
  for (auto _ : state) {
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kWidth, kHeight, format.glFormat, GL_UNSIGNED_BYTE,
                    pixels.data());
    glFinish();
  }
  Finish(state, pixels);
  glDeleteTextures(1, &texture);
}

void ReadOurs(benchmark::State& state, const Format& format) {
  if (!Begin(state)) return;
  Bytes pixels = MakePixels(format);
  const ImagePtr image = MakeImage(format, pixels);
  std::memset(image->GetImageBits(), 0, pixels.size());
  image->RequestRawIncarnation(true);
  if (!Check(state, std::memcmp(image->GetImageBits(), pixels.data(), pixels.size()) == 0)) return;
  for (auto _ : state) {
    image->RequestGLIncarnation(false);
    image->RequestRawIncarnation(true);
  }
  Finish(state, pixels);
}

void ReadDriver(benchmark::State& state, const Format& format) {
  if (!Begin(state)) return;
  Bytes pixels = MakePixels(format);
  GLuint texture = MakeTexture(format);
  for (auto _ : state) {
    glGetTexImage(GL_TEXTURE_2D, 0, format.glFormat, GL_UNSIGNED_BYTE, pixels.data());
  }
  Finish(state, pixels);
  glDeleteTextures(1, &texture);
}

void Memcpy(benchmark::State& state, const Format& format) {
  const Bytes pixels = MakePixels(format);
  Bytes copy(pixels.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), pixels.data(), pixels.size());
    benchmark::DoNotOptimize(copy.data());
  }
  Finish(state, pixels);
}

using Workload = void (*)(benchmark::State&, const Format&);

const bool kRegistered = [] {
  struct Row {
    const char* subject;
    const char* side;
    Workload workload;
  };
  for (const Format& format : kFormats) {
    for (const Row& row : {Row{"GLUpload", "ours", UploadOurs}, Row{"GLUpload", "driver", UploadDriver},
                           Row{"GLUpload", "memcpy", Memcpy}, Row{"GLReadBack", "ours", ReadOurs},
                           Row{"GLReadBack", "driver", ReadDriver}, Row{"GLReadBack", "memcpy", Memcpy}}) {
      const std::string name = std::string(row.subject) + format.name + '/' + row.side;
      benchmark::RegisterBenchmark(name.c_str(), [workload = row.workload, format](benchmark::State& state) {
        workload(state, format);
      });
    }
  }
  return true;
}();

}  // namespace

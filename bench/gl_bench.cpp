// Moving images to textures and back, beside the driver's own copies of the same bytes; and reading DDS files
// through the driver, beside the software decoder and the driver's own drawing without a file and with a
// context that is there.
//
// The driver's time is included: each iteration ends with the driver idle. Without a display a private X
// server is started; without OpenGL the benchmarks say so and measure nothing.
#include <GL/gl.h>
#include <GL/glext.h>
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "GLDriver.h"
#include "dds/RDDSDecoder.h"
#include "dds/RImageStreamDDS.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/DdsBuilder.h"

namespace {

using bench::Begin;
using bench::TheDriver;
using Bytes = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImage>;

// Powers of two, so that the texture has the picture's size and comes back without a change of size.
constexpr int kWidth = 2048;
constexpr int kHeight = 1024;

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

// --- DDS files.

constexpr int kTextureSide = 1024;

struct BlockLayout {
  char code[5];
  std::size_t blockBytes;
  GLenum format;
};

constexpr std::array kLayouts{BlockLayout{"DXT1", 8, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT},
                              BlockLayout{"DXT5", 16, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT}};

/// A DDS file for the time of a benchmark.
class TextureFile {
 public:
  explicit TextureFile(const BlockLayout& layout)
      : mPath("/tmp/rimage-bench-" + std::to_string(getpid()) + '-' + layout.code + ".dds") {
    test::DdsBuilder builder(kTextureSide, kTextureSide);
    builder.Code(layout.code)
        .RandomData(std::size_t{kTextureSide / 4} * (kTextureSide / 4) * layout.blockBytes);
    mFile = builder.File();
    std::ofstream(mPath, std::ios::binary)
        .write(reinterpret_cast<const char*>(mFile.data()), static_cast<std::streamsize>(mFile.size()));
  }
  ~TextureFile() { std::remove(mPath.c_str()); }
  TextureFile(const TextureFile&) = delete;
  TextureFile& operator=(const TextureFile&) = delete;

  const char* Path() const { return mPath.c_str(); }
  const unsigned char* Blocks() const { return mFile.data() + test::DdsBuilder::kHeaderBytes; }
  std::size_t BlockBytes() const { return mFile.size() - test::DdsBuilder::kHeaderBytes; }

 private:
  std::string mPath;
  Bytes mFile;
};

ImagePtr ReadStream(const TextureFile& file) {
  RImageStreamDDS stream;
  stream.SetFileName(file.Path());
  const bool opened = stream.StreamOpen(nullptr);
  ImagePtr image(stream.GetImage(false));
  return opened ? std::move(image) : nullptr;
}

RPixelBuffer ReadSoftware(const TextureFile& file) {
  RDDSDecoder decoder;
  return decoder.Load(file.Path()) ? decoder.DecodeBytes(0, 0, 0) : nullptr;
}

// Whether the two are the same picture, the stream's with the bottom row first.
bool IsSamePicture(RImage& image, const unsigned char* pixels) {
  constexpr int kStride = 4 * kTextureSide;
  for (int y = 0; y < kTextureSide; ++y) {
    const unsigned char* row = image.GetImageBits() + std::ptrdiff_t{kTextureSide - 1 - y} * kStride;
    for (int x = 0; x < kStride; ++x) {
      if (std::abs(row[x] - pixels[std::ptrdiff_t{y} * kStride + x]) > 2) return false;
    }
  }
  return true;
}

void FinishTexture(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * 4 * kTextureSide * kTextureSide);
}

void DdsOurs(benchmark::State& state, const BlockLayout& layout) {
  const TextureFile file(layout);
  if (!Begin(state)) return;
  const ImagePtr image = ReadStream(file);
  const RPixelBuffer pixels = ReadSoftware(file);
  if (!Check(state, image && pixels && IsSamePicture(*image, pixels.get()))) return;
  for (auto _ : state) benchmark::DoNotOptimize(ReadStream(file));
  FinishTexture(state);
}

void DdsSoftware(benchmark::State& state, const BlockLayout& layout) {
  const TextureFile file(layout);
  for (auto _ : state) benchmark::DoNotOptimize(ReadSoftware(file));
  FinishTexture(state);
}

// Upload, one quad, read-back: what the driver needs without a context, a target and a file to open.
void DdsDriver(benchmark::State& state, const BlockLayout& layout) {
  const TextureFile file(layout);
  if (!Begin(state)) return;
  QOpenGLFramebufferObject target(kTextureSide, kTextureSide, QOpenGLFramebufferObject::NoAttachment,
                                  GL_TEXTURE_2D, GL_RGBA);
  target.bind();
  glViewport(0, 0, kTextureSide, kTextureSide);
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glEnable(GL_TEXTURE_2D);
  Bytes pixels(std::size_t{4} * kTextureSide * kTextureSide);
  for (auto _ : state) {
    QOpenGLContext::currentContext()->functions()->glCompressedTexImage2D(
        GL_TEXTURE_2D, 0, layout.format, kTextureSide, kTextureSide, 0,
        static_cast<GLsizei>(file.BlockBytes()), file.Blocks());
    glBegin(GL_QUADS);
    for (const auto& [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
      glTexCoord2i(x, y);
      glVertex2i(2 * x - 1, 2 * y - 1);
    }
    glEnd();
    glReadPixels(0, 0, kTextureSide, kTextureSide, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  }
  FinishTexture(state);
  glDisable(GL_TEXTURE_2D);
  glDeleteTextures(1, &texture);
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

const bool kTexturesRegistered = [] {
  struct Side {
    const char* name;
    void (*workload)(benchmark::State&, const BlockLayout&);
  };
  for (const BlockLayout& layout : kLayouts) {
    for (const Side& side :
         {Side{"ours", DdsOurs}, Side{"software", DdsSoftware}, Side{"driver", DdsDriver}}) {
      const std::string name = std::string("DdsStream") + layout.code + '/' + side.name;
      const auto run = [workload = side.workload, layout](benchmark::State& state) {
        workload(state, layout);
      };
      benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
    }
  }
  return true;
}();

}  // namespace

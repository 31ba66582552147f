// The operators: a blend beside the bare draws of the same pictures on the same driver and beside blends on
// the processor, what an evaluation costs apart from its pixels, and what a result that is there already
// costs.
//
// The driver's time is included: each iteration ends with the driver idle.
#include <GL/gl.h>
#include <GL/glext.h>
#include <libyuv/planar_functions.h>

#include <QImage>
#include <QOpenGLFramebufferObject>
#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "GLDriver.h"
#include "image/RDestroyPtr.h"
#include "operators/RImOpBlend.h"

namespace {

using Bytes = std::vector<unsigned char>;
constexpr bench::PictureSize kSmall = {"16x16", 16, 16};
constexpr int kPresetOver = 6;

// Premultiplied noise.
Bytes MakePixels(const bench::PictureSize& size, unsigned seed) {
  Bytes pixels(size.Pixels() * 4);
  unsigned noise = seed;
  for (std::size_t i = 0; i < pixels.size(); i += 4) {
    noise = noise * 1664525U + 1013904223U;
    const unsigned alpha = noise >> 24;
    pixels[i + 3] = static_cast<unsigned char>(alpha);
    for (std::size_t c = 0; c < 3; ++c)
      pixels[i + c] = static_cast<unsigned char>((noise >> (8 * c) & 0xFF) * alpha / 255);
  }
  return pixels;
}

// A over B.
Bytes Expected(const Bytes& a, const Bytes& b) {
  Bytes result(a.size());
  for (std::size_t i = 0; i < a.size(); ++i)
    result[i] = static_cast<unsigned char>(std::min(255, a[i] + (b[i] * (255 - a[i | 3]) + 127) / 255));
  return result;
}

bool IsNear(const unsigned char* pixels, const Bytes& expected) {
  // libyuv rounds in its own way, Qt and drivers to the nearest.
  constexpr int kMost = 2;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (std::abs(pixels[i] - expected[i]) > kMost) return false;
  }
  return true;
}

int PowerOfTwo(int size) {
  int power = 1;
  while (power < size) power *= 2;
  return power;
}

GLuint MakeTexture(const bench::PictureSize& size, const unsigned char* pixels) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexImage2D(GL_TEXTURE_2D, 0, 4, PowerOfTwo(size.width), PowerOfTwo(size.height), 0, GL_RGBA,
               GL_UNSIGNED_BYTE, nullptr);
  if (pixels)
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, size.width, size.height, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  return texture;
}

Bytes ReadTexture(const bench::PictureSize& size, GLuint texture) {
  const int width = PowerOfTwo(size.width);
  Bytes level(static_cast<std::size_t>(width) * static_cast<std::size_t>(PowerOfTwo(size.height)) * 4);
  glBindTexture(GL_TEXTURE_2D, texture);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, level.data());
  Bytes pixels;
  for (int y = 0; y < size.height; ++y) {
    const auto row = level.begin() + 4L * y * width;
    pixels.insert(pixels.end(), row, row + 4L * size.width);
  }
  return pixels;
}

// --- The operator.

RDestroyPtr<RImOpBlend> MakeBlend(const bench::PictureSize& size) {
  RDestroyPtr<RImOpBlend> op(new RImOpBlend("bench"));
  for (const int plug : {0, 1}) {
    RDestroyPtr<RImage> image(RImageCreate());
    image->Init(kImageFormatRGBA, size.width, size.height, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                kInterpolationNone, RImage::kIncarnationRaw);
    Bytes pixels = MakePixels(size, static_cast<unsigned>(plug) + 1);
    image->SetImageBits(pixels.data());
    image->RequestGLIncarnation(true);
    op->SetPlugImage(plug, RImageOperator::kPlugInput, image.release());
  }
  op->PresetSet(kPresetOver);
  return op;
}

bool Lock(RImOpBlend& op) {
  RFpContext context;
  const bool locked = op.ReadLock(&context, kFormRectangleToBuffer) != 0;
  op.ReadUnLock(&context, kFormRectangleToBuffer);
  return locked;
}

void BlendOurs(benchmark::State& state, const bench::PictureSize& size) {
  if (!bench::Begin(state)) return;
  const auto op = MakeBlend(size);
  for (auto _ : state) {
    op->IncUpdateId();
    if (!Lock(*op)) return state.SkipWithError("not drawn");
    glFinish();
  }
  const Bytes drawn = ReadTexture(size, op->GetPlugImage(0, RImageOperator::kPlugOutput)->GetTextureID());
  if (!IsNear(drawn.data(), Expected(MakePixels(size, 1), MakePixels(size, 2))))
    state.SkipWithError("wrong result");
}

void CachedOurs(benchmark::State& state) {
  if (!bench::Begin(state)) return;
  const auto op = MakeBlend(kSmall);
  if (!Lock(*op)) return state.SkipWithError("not drawn");
  for (auto _ : state) benchmark::DoNotOptimize(Lock(*op));
}

// --- The same by hand: two draws and the copy, without care for anybody's state.

class BareDraws {
 public:
  explicit BareDraws(const bench::PictureSize& size)
      : mSize(size),
        mTarget(size.width, size.height, QOpenGLFramebufferObject::NoAttachment, GL_TEXTURE_2D, GL_RGBA8) {
    mA = MakeTexture(size, MakePixels(size, 1).data());
    mB = MakeTexture(size, MakePixels(size, 2).data());
    mResult = MakeTexture(size, nullptr);
    mTarget.bind();
    glViewport(0, 0, size.width, size.height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, size.width, 0, size.height, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glEnable(GL_TEXTURE_2D);
    glDisable(GL_DITHER);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  }
  ~BareDraws() {
    mTarget.release();
    glDisable(GL_TEXTURE_2D);
    glEnable(GL_DITHER);
    glDisable(GL_BLEND);
    for (const GLuint texture : {mA, mB, mResult}) glDeleteTextures(1, &texture);
  }
  BareDraws(const BareDraws&) = delete;
  BareDraws& operator=(const BareDraws&) = delete;

  void Run() const {
    glDisable(GL_BLEND);
    Quad(mB);
    glEnable(GL_BLEND);
    Quad(mA);
    glBindTexture(GL_TEXTURE_2D, mResult);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, mSize.width, mSize.height);
  }
  Bytes Result() const { return ReadTexture(mSize, mResult); }

 private:
  void Quad(GLuint texture) const {
    const double s = static_cast<double>(mSize.width) / PowerOfTwo(mSize.width);
    const double t = static_cast<double>(mSize.height) / PowerOfTwo(mSize.height);
    glBindTexture(GL_TEXTURE_2D, texture);
    glBegin(GL_QUADS);
    glTexCoord2d(0, 0);
    glVertex2i(0, 0);
    glTexCoord2d(s, 0);
    glVertex2i(mSize.width, 0);
    glTexCoord2d(s, t);
    glVertex2i(mSize.width, mSize.height);
    glTexCoord2d(0, t);
    glVertex2i(0, mSize.height);
    glEnd();
  }

  bench::PictureSize mSize;
  QOpenGLFramebufferObject mTarget;
  GLuint mA = 0;
  GLuint mB = 0;
  GLuint mResult = 0;
};

void BlendBare(benchmark::State& state, const bench::PictureSize& size) {
  if (!bench::Begin(state)) return;
  const BareDraws draws(size);
  for (auto _ : state) {
    draws.Run();
    glFinish();
  }
  if (!IsNear(draws.Result().data(), Expected(MakePixels(size, 1), MakePixels(size, 2))))
    state.SkipWithError("wrong result");
}

// What a texture is bound with.
void CachedBare(benchmark::State& state) {
  if (!bench::Begin(state)) return;
  GLuint texture = MakeTexture(kSmall, nullptr);
  for (auto _ : state) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
    glBindTexture(GL_TEXTURE_2D, 0);
  }
  glDeleteTextures(1, &texture);
}

// --- On the processor.

void BlendQt(benchmark::State& state, const bench::PictureSize& size) {
  Bytes a = MakePixels(size, 1);
  Bytes b = MakePixels(size, 2);
  const QImage first(a.data(), size.width, size.height, QImage::Format_RGBA8888_Premultiplied);
  const QImage second(b.data(), size.width, size.height, QImage::Format_RGBA8888_Premultiplied);
  QImage result(size.width, size.height, QImage::Format_RGBA8888_Premultiplied);
  for (auto _ : state) {
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(0, 0, second);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.drawImage(0, 0, first);
  }
  if (!IsNear(result.constBits(), Expected(a, b))) state.SkipWithError("wrong result");
}

void BlendYuv(benchmark::State& state, const bench::PictureSize& size) {
  const Bytes a = MakePixels(size, 1);
  const Bytes b = MakePixels(size, 2);
  Bytes result(a.size());
  const int stride = 4 * size.width;
  for (auto _ : state) {
    libyuv::ARGBBlend(a.data(), stride, b.data(), stride, result.data(), stride, size.width, size.height);
    benchmark::ClobberMemory();
  }
  // Its result is opaque, whatever the alphas are.
  Bytes expected = Expected(a, b);
  for (std::size_t i = 3; i < expected.size(); i += 4) expected[i] = 255;
  if (!IsNear(result.data(), expected)) state.SkipWithError("wrong result");
}

void RegisterAll() {
  const auto add = [](const std::string& subject, const char* contender, auto run) {
    return benchmark::RegisterBenchmark((subject + "/" + contender).c_str(), run)
        ->Unit(benchmark::kMillisecond);
  };
  for (const bench::PictureSize& size : bench::kPictureSizes) {
    const std::string subject = std::string("Blend_") + size.name;
    add(subject, "ours", [size](benchmark::State& state) { BlendOurs(state, size); });
    add(subject, "bare_draws", [size](benchmark::State& state) { BlendBare(state, size); });
    add(subject, "qt", [size](benchmark::State& state) { BlendQt(state, size); });
    add(subject, "libyuv", [size](benchmark::State& state) { BlendYuv(state, size); });
    bench::RegisterMemcpy(subject, size.Pixels() * 4);
  }
  // Pictures so small that only the calls count.
  add("OperatorCalls", "ours", [](benchmark::State& state) { BlendOurs(state, kSmall); });
  add("OperatorCalls", "bare_draws", [](benchmark::State& state) { BlendBare(state, kSmall); });
  add("OperatorCached", "ours", CachedOurs)->Unit(benchmark::kMicrosecond);
  add("OperatorCached", "bare_binding", CachedBare)->Unit(benchmark::kMicrosecond);
}

[[maybe_unused]] const bool kRegistered = (RegisterAll(), true);

}  // namespace

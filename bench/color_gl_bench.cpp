// The colour correction of a texture by OpenGL, beside a bare quad with the same texture: no state is saved,
// nothing is chosen, no program runs. Both leave their result in a texture, and each iteration ends with the
// driver idle. The back end is the driver's; a driver shim that is loaded before plays others.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <benchmark/benchmark.h>

#include <string>
#include <typeinfo>
#include <vector>

#include "GLDriver.h"
#include "image/RDestroyPtr.h"
#include "operators/RImOpCC.h"
#include "rgl/RGLFrameBufferObject.h"

namespace {

// Powers of two, so that the textures have the picture's size.
constexpr int kWidth = 2048;
constexpr int kHeight = 1024;

GLuint MakeTexture() {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  const std::vector<unsigned char> pixels(4UL * kWidth * kHeight, 100);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kWidth, kHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

void SetSpeed(benchmark::State& state) { state.SetBytesProcessed(state.iterations() * 4 * kWidth * kHeight); }

/// An operator that corrects a texture.
struct Correction : RImOpCC {
  Correction() : RImOpCC("bench") {}
  /// The class of the node, without the length that stands before it.
  std::string NodeName() const {
    const std::string name = typeid(*GetProcessingNode()).name();
    return name.substr(name.find_first_not_of("0123456789"));
  }
};

void Ours(benchmark::State& state, bool zones) {
  if (!bench::Begin(state)) return;
  const RDestroyPtr<Correction> op(new Correction);
  RImage* const image = RImageCreate();
  image->SetTextureID(MakeTexture(), true);
  image->SetFormat(kImageFormatRGBA);
  image->SetWidth(kWidth);
  image->SetHeight(kHeight);
  op->SetPlugImage(0, RImageOperator::kPlugInput, image);
  op->HueSet(30);
  if (zones) op->ShadowSaturationSet(0.5);
  RFpContext context;
  const auto evaluate = [&] {
    op->IncUpdateId();
    const bool drawn = op->ReadLock(&context, kFormTextureMask) != 0;
    glFinish();
    return drawn;
  };
  if (!evaluate()) {
    state.SkipWithError("nothing is drawn");
    return;
  }
  for (auto _ : state) evaluate();
  SetSpeed(state);
  state.SetLabel(op->NodeName());
}

void Bare(benchmark::State& state, bool) {
  if (!bench::Begin(state)) return;
  RGLFrameBufferObject target(GL_COLOR_ATTACHMENT0, GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, false, false);
  GLuint from = MakeTexture();
  GLuint to = MakeTexture();
  target.BuildFBO(kWidth, kHeight);
  glViewport(0, 0, kWidth, kHeight);
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  for (auto _ : state) {
    glBindTexture(GL_TEXTURE_2D, from);
    glBegin(GL_QUADS);
    for (const auto& [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
      glTexCoord2i(x, y);
      glVertex2i(2 * x - 1, 2 * y - 1);
    }
    glEnd();
    glBindTexture(GL_TEXTURE_2D, to);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, kWidth, kHeight);
    glFinish();
  }
  SetSpeed(state);
  glDisable(GL_TEXTURE_2D);
  target.UnBindFBO();
  glDeleteTextures(1, &from);
  glDeleteTextures(1, &to);
}

const bool kRegistered = [] {
  for (const bool zones : {false, true}) {
    for (const auto& [side, workload] : {std::pair{"ours", &Ours}, {"bare_quad", &Bare}}) {
      const std::string name = std::string("CorrectTexture") + (zones ? "Zones" : "Matrix") + "/" + side;
      benchmark::RegisterBenchmark(name.c_str(),
                                   [run = workload, zones](benchmark::State& state) { run(state, zones); })
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
    }
  }
  return true;
}();

}  // namespace

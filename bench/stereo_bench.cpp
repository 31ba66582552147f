// Stereo frames into the bound framebuffer, beside a bare quad with both textures: no state is saved, nothing
// is looked up, no program runs. The driver's time is included: each iteration ends with the driver idle.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "GLDriver.h"
#include "rgl/RGLFrameBufferObject.h"
#include "stereo/RImageStereoCompostior.h"

namespace {

using Colour = std::array<unsigned char, 4>;

constexpr Colour kLeft{200, 100, 50, 255};
constexpr Colour kRight{30, 60, 90, 255};

struct Frame {
  const char* name;
  int width;
  int height;
};

// The small one shows what a frame costs beside its pixels.
constexpr std::array kFrames{Frame{"4K", 3840, 2160}, Frame{"64x36", 64, 36}};

struct Mode {
  const char* name;
  EStereoDisplayMode mode;
  Colour colour;  // in the left half, in an even row from the top and an even column
};

constexpr std::array kModes{Mode{"ColorAnaglyph", eColorAnaglyph, {200, 60, 90, 255}},
                            Mode{"GrayAnaglyph", eGrayAnaglyph, {96, 66, 66, 255}},
                            Mode{"RowInterleaved", eRowInterleaved, kRight},
                            Mode{"Checkerboard", eCheckerboard, kRight},
                            Mode{"SideBySide", eSideBySide, {200, 100, 50, 0}},
                            Mode{"SideBySideSwapped", eSideBySideSwapped, {30, 60, 90, 0}}};

GLuint MakeView(const Frame& frame, const Colour& colour) {
  std::vector<unsigned char> pixels;
  pixels.reserve(4UL * static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height));
  for (int i = 0; i < frame.width * frame.height; ++i)
    pixels.insert(pixels.end(), colour.begin(), colour.end());
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, frame.width, frame.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
               pixels.data());
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  return texture;
}

/// A framebuffer of the frame's size and the two views.
class Scene {
 public:
  explicit Scene(const Frame& frame)
      : mTarget(GL_COLOR_ATTACHMENT0, GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, false, false),
        left(MakeView(frame, kLeft)),
        right(MakeView(frame, kRight)) {
    mTarget.BuildFBO(frame.width, frame.height);
  }
  ~Scene() {
    glDeleteTextures(1, &left);
    glDeleteTextures(1, &right);
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

 private:
  RGLFrameBufferObject mTarget;

 public:
  GLuint left;
  GLuint right;
};

void SetSpeed(benchmark::State& state, const Frame& frame) {
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * 4 * frame.width * frame.height);
}

void Ours(benchmark::State& state, const Mode& mode, const Frame& frame) {
  if (!bench::Begin(state)) return;
  const Scene scene(frame);
  RImageStereoCompostior compositor;
  const auto process = [&] {
    compositor.Process(mode.mode, eCurrentBuffer, scene.left, scene.right, 0, 0, 0, 0,
                       static_cast<unsigned int>(frame.width), static_cast<unsigned int>(frame.height));
    glFinish();
  };
  process();
  Colour pixel{};
  const int middle = frame.height / 2 - frame.height / 2 % 2;
  glReadPixels(frame.width / 4 / 2 * 2, frame.height - 1 - middle, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE,
               pixel.data());
  for (std::size_t i = 0; i < pixel.size(); ++i) {
    if (std::abs(pixel[i] - mode.colour[i]) > 1) {
      state.SkipWithError("the pixels differ");
      return;
    }
  }
  for (auto _ : state) process();
  SetSpeed(state, frame);
}

/// One quad, the product of both textures, by fixed functions.
void Bare(benchmark::State& state, const Mode&, const Frame& frame) {
  if (!bench::Begin(state)) return;
  const Scene scene(frame);
  glViewport(0, 0, frame.width, frame.height);
  for (const auto& [unit, texture] : {std::pair{GL_TEXTURE1, scene.right}, {GL_TEXTURE0, scene.left}}) {
    glActiveTexture(static_cast<GLenum>(unit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glEnable(GL_TEXTURE_2D);
  }
  for (auto _ : state) {
    glBegin(GL_QUADS);
    for (const auto& [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
      glMultiTexCoord2i(GL_TEXTURE0, x, y);
      glMultiTexCoord2i(GL_TEXTURE1, x, y);
      glVertex2i(2 * x - 1, 2 * y - 1);
    }
    glEnd();
    glFinish();
  }
  SetSpeed(state, frame);
  for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
    glActiveTexture(unit);
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_TEXTURE_2D);
  }
}

const bool kRegistered = [] {
  for (const Frame& frame : kFrames) {
    for (const Mode& mode : kModes) {
      for (const auto& [side, workload] : {std::pair{"ours", &Ours}, {"bare_quad", &Bare}}) {
        const std::string name = std::string("Stereo") + mode.name + "_" + frame.name + "/" + side;
        benchmark::RegisterBenchmark(
            name.c_str(), [run = workload, mode, frame](benchmark::State& state) { run(state, mode, frame); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
      }
    }
  }
  return true;
}();

}  // namespace

// Graphs of operators on the graphics driver; needs a display.
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "OperatorSequence.h"

namespace {

// A context and a framebuffer to draw on, which stay: drivers do not like to go after Qt's own statics.
void StartDriver() {
  static int count = 1;
  static std::array name{'f', 'u', 'z', 'z', '\0'};
  static std::array<char*, 2> arguments{name.data(), nullptr};
  new QGuiApplication(count, arguments.data());
  auto* const context = new QOpenGLContext;
  auto* const surface = new QOffscreenSurface;
  const bool created = context->create();
  surface->setFormat(context->format());
  surface->create();
  if (!created || !context->makeCurrent(surface)) {
    std::fprintf(stderr, "no OpenGL context\n");
    std::exit(1);
  }
  auto* const target = new QOpenGLFramebufferObject(32, 32);
  target->bind();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool kStarted = (StartDriver(), true);
  (void)kStarted;
  RunOperatorSequence(data, size, OperatorPlace::kDriver);
  return 0;
}

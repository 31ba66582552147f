#include "Gpu.h"

#include <fmt/format.h>

#include <cstdlib>
#include <map>

#include "Choice.h"
#include "GpuProbe.h"

namespace {

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

void AddGpuOption(CLI::App& app, GpuMode& mode, const char* help) {
  static const std::map<std::string, GpuMode> kModes = {
      {"auto", GpuMode::kAuto}, {"never", GpuMode::kNever}, {"require", GpuMode::kRequire}};
  app.add_option("--gpu", mode, help)
      ->transform(OneOf(kModes))
      ->type_name("auto|never|require")
      ->default_str("auto");
}

Gpu::Gpu(GpuMode mode) {
  if (mode == GpuMode::kNever) {
    mReason = "switched off with --gpu=never";
    return;
  }
  mIsUsable = TryEnvironment() || TryPrivateDisplay();
  if (mIsUsable) mReason.clear();
}

bool Gpu::TryEnvironment() {
  const std::string platform = Environment("QT_QPA_PLATFORM");
  if (!platform.empty() && platform != "xcb") {
    return Try("platform " + platform, platform.c_str(), Environment("DISPLAY"));
  }
  const std::string display = Environment("DISPLAY");
  return !display.empty() && Try("display " + display, "xcb", display);
}

bool Gpu::TryPrivateDisplay() {
  mPrivate = PrivateDisplay::Start(mReason);
  if (!mPrivate) {
    mNotes.push_back("private display: " + mReason);
    mReason = "no display with OpenGL: " + mReason;
    return false;
  }
  if (Try("private display " + mPrivate->Name(), "xcb", mPrivate->Name())) return true;
  mPrivate.reset();
  return false;
}

bool Gpu::Try(const std::string& where, const char* platform, const std::string& display) {
  auto description = ProbeGpu(platform, display, mReason);
  if (!description) {
    mNotes.push_back(fmt::format("{}: {}", where, mReason));
    return false;
  }
  mDescription = *std::move(description);
  mDisplay = mDescription.platform == "xcb" ? display : "";
  setenv("QT_QPA_PLATFORM", platform, 1);
  if (!display.empty()) setenv("DISPLAY", display.c_str(), 1);
  return true;
}

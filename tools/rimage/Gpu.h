// Where drawing with OpenGL can happen.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CommandLineFwd.h"
#include "PrivateDisplay.h"

enum class GpuMode {
  kAuto,     ///< the graphics card when there is one, else the processor
  kNever,    ///< the processor
  kRequire,  ///< the graphics card, or failure
};

/// Adds --gpu=auto|never|require, with what it does as the help.
void AddGpuOption(CLI::App& app, GpuMode& mode, const char* help);

/// What a driver offers.
struct GpuDescription {
  std::string platform;  ///< Qt's name of the window system
  std::string version;
  std::string renderer;
  std::string vendor;
  std::string shadingLanguage;
  bool hasShareContext = false;                          ///< Qt's global share context exists
  std::vector<std::pair<std::string, bool>> extensions;  ///< those that the module asks for, in a fixed order
  std::vector<std::pair<std::string, int>> limits;       ///< by a name for people, in pixels or in number
};

/// The search for a display with OpenGL that the module can use, and the display itself.
///
/// Tried in this order: the platform that QT_QPA_PLATFORM names, else the X server of DISPLAY, else a private
/// Xvfb. Each is tried in a process of its own, because window systems and drivers end the process when
/// something is missing. Objects are made before the GUI application, and outlive it.
class Gpu {
 public:
  explicit Gpu(GpuMode mode);

  /// Whether a compatibility context can be had. The environment then tells Qt where.
  bool IsUsable() const { return mIsUsable; }
  /// Why not; empty when usable.
  const std::string& Reason() const { return mReason; }
  /// What was tried in vain, one line each.
  const std::vector<std::string>& Notes() const { return mNotes; }
  /// The X display in use, or empty.
  const std::string& Display() const { return mDisplay; }
  /// Whether the display is a private one.
  bool IsPrivate() const { return mPrivate != nullptr; }
  const GpuDescription& Description() const { return mDescription; }

 private:
  bool TryEnvironment();
  bool TryPrivateDisplay();
  bool Try(const std::string& where, const char* platform, const std::string& display);

  bool mIsUsable = false;
  std::string mReason;
  std::vector<std::string> mNotes;
  std::string mDisplay;
  std::unique_ptr<PrivateDisplay> mPrivate;
  GpuDescription mDescription;
};

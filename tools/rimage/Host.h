// The host that the tool is to the module.
#pragma once

#include <memory>

#include "Gpu.h"

class QGuiApplication;

/// Starts the module, and a GUI application only when something needs one: text and vector pictures do, plain
/// pictures are read and written without. One object per process.
class Host {
 public:
  /// `program` is the name the tool was called by; it must outlive the object.
  explicit Host(char* program);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Starts the GUI application unless it runs. Without QT_QPA_PLATFORM in the environment no display is
  /// used.
  void StartGui();

  /// Looks for OpenGL and, where there is some that the module can use, starts the GUI application on it. To
  /// be called before anything else starts the application.
  const Gpu& StartGpu(GpuMode mode);

 private:
  int mArgumentCount = 1;
  char* mArguments[2];
  std::unique_ptr<Gpu> mGpu;  // goes after the application that runs on its display
  std::unique_ptr<QGuiApplication> mGui;
};

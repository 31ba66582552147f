// The host that the tool is to the module.
#pragma once

#include <memory>

#include "Gpu.h"

class IsolatedReader;
struct ReadOptions;
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

  /// Looks for OpenGL. To be called before anything starts the application. Copies of the process share what
  /// was found before they were made.
  const Gpu& FindGpu(GpuMode mode);
  /// Looks for OpenGL and, where there is some that the module can use, starts the GUI application on it. To
  /// be called before anything else starts the application.
  const Gpu& StartGpu(GpuMode mode);

  /// Starts what decodes pictures in other processes, all with these options, unless it runs. To be called
  /// before any thread exists.
  void StartIsolation(const ReadOptions& options);
  /// Null before `StartIsolation`.
  IsolatedReader* Isolation() const { return mIsolation.get(); }

 private:
  int mArgumentCount = 1;
  char* mArguments[2];
  std::unique_ptr<Gpu> mGpu;  // goes after the application that runs on its display
  std::unique_ptr<QGuiApplication> mGui;
  std::unique_ptr<IsolatedReader> mIsolation;
};

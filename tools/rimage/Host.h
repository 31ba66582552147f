// The host that the tool is to the module.
#pragma once

#include <memory>

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

 private:
  int mArgumentCount = 1;
  char* mArguments[2];
  std::unique_ptr<QGuiApplication> mGui;
};

// Replacement of OpenGL entry points by recording ones, in a whole test program.
//
// Every function of GLEntryPoints.inc exists in the test program under its own name, so that the module, the
// host's libraries and Qt reach it here first, whether they link to it or ask for its address. It carries the
// call out on the driver, or on a replacement that a test has set.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

/// Returns the driver's function, or null when there is none. Calls to it are neither recorded nor carried
/// out by a driver shim.
void* DriverEntryPoint(const char* name);

template <class Function>
Function* DriverEntryPoint(const char* name) {
  return reinterpret_cast<Function*>(DriverEntryPoint(name));
}

/// Reports an error of the driver: it goes to the captures, or fails the test.
void ReportDriverError(std::string message);
/// Fails the test, or tells the user where there is no test.
void FailWith(const std::string& message);

/// Returns what identifies the context that is current on this thread, or null.
void* CurrentContextHandle();

/// Lets `name`, which must be in the list of entry points, be carried out by `function` in place of the
/// driver; null gives it back to the driver. The signature must be the entry point's.
void ReplaceEntryPoint(std::string_view name, void* function);

/// Replaces an entry point for as long as it lives.
class EntryPointReplacement {
 public:
  template <class Function>
  EntryPointReplacement(std::string_view name, Function* function) : mName(name) {
    ReplaceEntryPoint(mName, reinterpret_cast<void*>(function));
  }
  ~EntryPointReplacement() { ReplaceEntryPoint(mName, nullptr); }
  EntryPointReplacement(const EntryPointReplacement&) = delete;
  EntryPointReplacement& operator=(const EntryPointReplacement&) = delete;

 private:
  std::string mName;
};

/// Notes the calls of the thread that made it, until it goes. Recorders nest; the innermost one notes.
class GLRecorder {
 public:
  GLRecorder();
  ~GLRecorder();
  GLRecorder(const GLRecorder&) = delete;
  GLRecorder& operator=(const GLRecorder&) = delete;

  /// Every call in order as text, enumerants by name, as in `glBindTexture(GL_TEXTURE_2D, 7)` or
  /// `glIsTexture(7) = 1`.
  const std::vector<std::string>& Calls() const { return mCalls; }
  /// The calls one a line; with names, only the calls of those functions.
  std::string Text(const std::vector<std::string_view>& names = {}) const;
  /// How often a function was called.
  int Count(std::string_view name) const;
  void Clear() { mCalls.clear(); }

  // For the interposer.
  void Add(std::string call) { mCalls.push_back(std::move(call)); }
  static GLRecorder* Current();

 private:
  std::vector<std::string> mCalls;
  GLRecorder* mOuter;
};

/// Returns the OpenGL objects that are alive, all contexts and threads together, one `kind: count` a line,
/// kinds by name (Texture, Framebuffer, Renderbuffer, Buffer, Program, Shader, List, ...). Empty when there
/// are none.
std::string LiveGLObjects();
/// Starts counting anew, after objects that went with their context.
void ForgetLiveGLObjects();

/// Lets every attempt to make a context current fail, on all threads, as long as it lives.
class MakeCurrentFailure {
 public:
  MakeCurrentFailure();
  ~MakeCurrentFailure();
  MakeCurrentFailure(const MakeCurrentFailure&) = delete;
  MakeCurrentFailure& operator=(const MakeCurrentFailure&) = delete;
};

/// Watches the making of contexts and off-screen surfaces on all threads, and draws each one out a little, so
/// that two that may meet do. One watch at a time.
class CreationWatch {
 public:
  CreationWatch();
  ~CreationWatch();
  CreationWatch(const CreationWatch&) = delete;
  CreationWatch& operator=(const CreationWatch&) = delete;

  /// How many contexts and surfaces have been made.
  int Count() const;
  /// The most that were being made at the same time.
  int MostAtOnce() const;
};

/// Takes the error messages of the driver as long as it lives; without one they fail the test. Captures nest.
class GLErrorCapture {
 public:
  GLErrorCapture();
  ~GLErrorCapture();
  GLErrorCapture(const GLErrorCapture&) = delete;
  GLErrorCapture& operator=(const GLErrorCapture&) = delete;

  const std::vector<std::string>& Messages() const { return mMessages; }
  void Add(std::string message) { mMessages.push_back(std::move(message)); }

 private:
  std::vector<std::string> mMessages;
  GLErrorCapture* mOuter;
};

}  // namespace test

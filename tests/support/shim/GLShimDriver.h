// What the parts of the driver shim share.
#pragma once

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "support/GLInterposer.h"

/// The driver's own function; calls to it are neither recorded nor carried out by the shim.
#define DRIVER(name) test::DriverEntryPoint<decltype(::name)>(#name)

namespace test::shim {

/// An entry point and the function that carries it out.
struct ShimFunction {
  std::string_view name;
  void* function;
};

template <class Function>
ShimFunction Carry(std::string_view name, Function* function) {
  return {name, reinterpret_cast<void*>(function)};
}

/// A kind of driver: what it advertises, its own functions, and its part in those that all kinds share. One
/// object serves the whole process; what belongs to a context is kept by `ContextState`.
class ShimDriver {
 public:
  ShimDriver() = default;
  ShimDriver(const ShimDriver&) = delete;
  ShimDriver& operator=(const ShimDriver&) = delete;
  virtual ~ShimDriver() = default;

  virtual std::span<const char* const> Advertised() const { return {}; }
  virtual std::span<const ShimFunction> Functions() const { return {}; }

  /// Takes an enable of its own; false for one of the driver's.
  virtual bool SetEnabled(GLenum, bool) { return false; }
  virtual std::optional<bool> IsEnabled(GLenum) { return std::nullopt; }
  /// Returns the values of a name of its own, or nothing.
  virtual std::vector<double> GetValues(GLenum) { return {}; }
  /// Puts its attributes of the groups in `mask` aside and brings them back.
  virtual void PushAttributes(GLbitfield) {}
  virtual void PopAttributes(GLbitfield) {}
  /// Called before a primitive is drawn, so that what is enabled is in place.
  virtual void BeforeDraw() {}
  /// Called with the driver's calls on display lists, before the driver.
  virtual void NewList(GLuint, GLenum) {}
  virtual void EndList() {}
  virtual void CallList(GLuint) {}
  virtual void DeleteLists(GLuint, GLsizei) {}
  virtual void ForgetContext(void*) {}
};

std::unique_ptr<ShimDriver> MakeNVProgramDriver();
std::unique_ptr<ShimDriver> MakeCombinerDriver();
std::unique_ptr<ShimDriver> MakeColorMatrixDriver();
std::unique_ptr<ShimDriver> MakeATIShaderDriver();

/// Raises an OpenGL error: the next glGetError returns it, and it is reported like one of the driver's.
void RaiseError(GLenum error, std::string_view where);

/// Reports something that the shim does not carry out, and ends the program.
[[noreturn]] void Refuse(std::string_view what);

/// Returns what identifies the current context.
void* CurrentContext();

/// The names of the driver's programs (of GL_ARB_fragment_program) that carry out the shim's.
class ArbProgram {
 public:
  /// Makes a program in the current context; a text that the driver does not take ends the test program,
  /// because the shim wrote it.
  explicit ArbProgram(const std::string& text);
  /// Binds and enables it.
  void Use() const;
  static void Stop();
  void SetLocal(GLuint index, const float* value) const;
  void Delete() const;

 private:
  GLuint mName = 0;
};

}  // namespace test::shim

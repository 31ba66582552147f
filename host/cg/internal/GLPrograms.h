// Programs in OpenGL.
#pragma once

#include <GL/gl.h>

#include <QPointer>
#include <array>
#include <map>
#include <string>
#include <utility>

#include "Cg/cg.h"
#include "cg/internal/Runtime.h"

class QOpenGLContext;
class QOpenGLContextGroup;
class QOpenGLFunctions_2_0;

namespace cg {

/// Compiles programs, links them in pairs when the two are first used together, and puts them in use. Every
/// function needs a current context; failures set the error.
class GLPrograms {
 public:
  static GLPrograms& Get();

  void Load(CGprogramRecord& program);
  /// Whether the current context, or one that shares with it, has the program.
  bool HasCurrent(const CGprogramRecord& program) const;
  void Bind(CGprogramRecord& program);
  void Enable(CGprofile profile, bool isEnabled);
  /// Hands a parameter's value on, if the programs in use have it.
  void Send(const CGparameterRecord& parameter);
  /// Deletes what the program has in OpenGL, if the current context has it, and takes it out of use.
  void Forget(const CGprogramRecord& program);

 private:
  using Pair =
      std::pair<const CGprogramRecord*, const CGprogramRecord*>;  // vertex and fragment, null for none

  /// What is bound and enabled in one OpenGL context.
  struct Bindings {
    std::array<CGprogramRecord*, 2> bound{};
    std::array<bool, 2> isEnabled{};
    GLuint inUse = 0;   // our program, or 0
    GLuint before = 0;  // the program in use before ours
  };

  Bindings& Current();
  void Update(Bindings& bindings);
  void UpdateOrStop(Bindings& bindings);
  void Use(Bindings& bindings, GLuint program);
  GLuint Link(const Pair& pair);
  static bool FinishLinking(QOpenGLFunctions_2_0& gl, GLuint program, const Pair& pair);
  static void SendValues(GLuint program, const CGprogramRecord* stage);

  std::map<QOpenGLContext*, Bindings> mBindings;
  std::map<Pair, GLuint> mLinked;  // 0 for pairs that cannot be linked
  std::map<const CGprogramRecord*, QPointer<QOpenGLContextGroup>> mGroups;  // where programs are loaded
};

}  // namespace cg

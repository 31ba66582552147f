// The calls by which a node loads NVIDIA fragment programs and sends their parameters.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/GLInterposer.h"
#include "support/shim/NVProgramInterpreter.h"

namespace test {

struct NVLoad {
  GLenum target;
  GLuint name;
  GLsizei length;
  std::string text;
};

/// Takes the loads of programs in the driver's place, as long as it lives. One at a time.
class NVLoads {
 public:
  NVLoads() : mReplacement("glLoadProgramNV", Load) { sLoads.clear(); }

  const std::vector<NVLoad>& Get() const { return sLoads; }

 private:
  static void Load(GLenum target, GLuint name, GLsizei length, const GLubyte* text) {
    sLoads.push_back({target, name, length,
                      std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length))});
  }
  static inline std::vector<NVLoad> sLoads;
  EntryPointReplacement mReplacement;
};

struct NVUpload {
  GLuint program;
  std::string name;
  std::array<float, 4> value;
};

/// Takes the parameters of programs in the driver's place, as long as it lives. One at a time.
class NVUploads {
 public:
  NVUploads() : mReplacement("glProgramNamedParameter4fNV", Send) { Clear(); }

  void Clear() { sUploads.clear(); }
  const std::vector<NVUpload>& Get() const { return sUploads; }
  const NVUpload& operator[](std::size_t index) const { return sUploads.at(index); }

  /// Returns what was sent, in the order in which the program declares its parameters; those that were not
  /// sent are zero.
  std::vector<shim::NVVector> ParametersOf(const shim::NVProgram& program) const {
    std::vector<shim::NVVector> values(program.parameters.size());
    for (const NVUpload& upload : sUploads) {
      const int index = program.FindParameter(upload.name);
      EXPECT_GE(index, 0) << upload.name;
      if (index >= 0) values[static_cast<std::size_t>(index)] = upload.value;
    }
    return values;
  }

 private:
  static void Send(GLuint program, GLsizei length, const GLubyte* name, GLfloat x, GLfloat y, GLfloat z,
                   GLfloat w) {
    sUploads.push_back({program,
                        std::string(reinterpret_cast<const char*>(name), static_cast<std::size_t>(length)),
                        {x, y, z, w}});
  }
  static inline std::vector<NVUpload> sUploads;
  EntryPointReplacement mReplacement;
};

}  // namespace test

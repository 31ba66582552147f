// Ownership of NVIDIA fragment programs.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "rgl/QOpenGLExtension_NV_fragment_program.h"
#include "rgl/QOpenGLExtension_NV_vertex_program.h"

/// The first line of a fragment program, which goes before its instructions.
inline constexpr std::string_view kFpNVProgramHeader = "!!FP1.0\n";

/// Look up entry points in the current context, each only when the one before was found; return whether all
/// were.
bool RFpResolveNVPrograms(QOpenGLExtension_NV_vertex_program& functions);
bool RFpResolveNVParameters(QOpenGLExtension_NV_fragment_program& functions);

/// Sends a program's parameter, whose name has two characters.
void RFpSendNVParameter(const QOpenGLExtension_NV_fragment_program& functions, GLuint program,
                        const char* name, const std::array<float, 4>& value);

/// Programs loaded from their instructions, in order; released with their functions on whatever context is
/// current then. A program that the driver refuses leaves its name without effect.
class RFpNVPrograms {
 public:
  /// `functions` is borrowed and must outlive the object; null functions make no programs.
  RFpNVPrograms(const QOpenGLExtension_NV_vertex_program& functions,
                std::span<const std::string_view> instructions);
  ~RFpNVPrograms();
  RFpNVPrograms(const RFpNVPrograms&) = delete;
  RFpNVPrograms& operator=(const RFpNVPrograms&) = delete;

  /// Returns the name of program `index`, or 0 when there is none.
  GLuint GetName(std::size_t index) const { return index < mNames.size() ? mNames[index] : 0; }

 private:
  const QOpenGLExtension_NV_vertex_program& mFunctions;
  std::vector<GLuint> mNames;
};

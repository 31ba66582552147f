#include "fp/RFpNVPrograms.h"

#include <string>
#include <vector>

#include "fp/RFpEntryPoints.h"

bool RFpResolveNVPrograms(QOpenGLExtension_NV_vertex_program& functions) {
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  return entryPoints.ResolveTo("glLoadProgramNV", functions.glLoadProgramNV) &&
         entryPoints.ResolveTo("glGenProgramsNV", functions.glGenProgramsNV) &&
         entryPoints.ResolveTo("glDeleteProgramsNV", functions.glDeleteProgramsNV) &&
         entryPoints.ResolveTo("glBindProgramNV", functions.glBindProgramNV);
}

bool RFpResolveNVParameters(QOpenGLExtension_NV_fragment_program& functions) {
  return RFpEntryPoints::Get().ResolveTo("glProgramNamedParameter4fNV",
                                         functions.glProgramNamedParameter4fNV);
}

void RFpSendNVParameter(const QOpenGLExtension_NV_fragment_program& functions, GLuint program,
                        const char* name, const std::array<float, 4>& value) {
  constexpr GLsizei kNameLength = 2;
  functions.glProgramNamedParameter4fNV(program, kNameLength, reinterpret_cast<const GLubyte*>(name),
                                        value[0], value[1], value[2], value[3]);
}

RFpNVPrograms::RFpNVPrograms(const QOpenGLExtension_NV_vertex_program& functions,
                             std::span<const std::string_view> instructions)
    : mFunctions(functions) {
  if (!functions.glBindProgramNV) return;
  // Before there are programs: where memory lacks, nobody would delete them.
  std::vector<std::string> texts;
  texts.reserve(instructions.size());
  for (const std::string_view program : instructions)
    texts.push_back(std::string(kFpNVProgramHeader).append(program));
  mNames.resize(texts.size());
  functions.glGenProgramsNV(static_cast<GLsizei>(mNames.size()), mNames.data());
  for (std::size_t i = 0; i < mNames.size(); ++i) {
    const std::string& text = texts[i];
    // Errors before the load are somebody else's, those of the load show when the program is drawn with.
    glGetError();
    functions.glLoadProgramNV(GL_FRAGMENT_PROGRAM_NV, mNames[i], static_cast<GLsizei>(text.size()),
                              reinterpret_cast<const GLubyte*>(text.data()));
    glGetError();
  }
}

RFpNVPrograms::~RFpNVPrograms() {
  if (!mNames.empty()) mFunctions.glDeleteProgramsNV(static_cast<GLsizei>(mNames.size()), mNames.data());
}

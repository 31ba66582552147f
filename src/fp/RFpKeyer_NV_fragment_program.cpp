#include "fp/RFpKeyer_NV_fragment_program.h"

#include "fp/RFpNVPrograms.h"

namespace {

// By mode, output and inversion, the last of them fastest.
constexpr std::array<std::string_view, kFpKeyerPrograms> kPrograms = {
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;TEX R1, f[TEX0], TEX0, 2D;DP3 R0, R1, p1;"
    "ADD_SAT R0, R0, p1.wwww;MAD R1, R0, p2, R1;ADD R2, p3, -R1;MAD_SAT R0, R0, p0.zzzz, p0.wwww;"
    "ADD R3, p3.wwww, -R0;MAD R2, R3, R2, R1;MAD o[COLR], -R0, R2, R1;MOV o[COLR].w(), R3;END",
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;TEX R1, f[TEX0], TEX0, 2D;DP3 R0, R1, p1;"
    "ADD_SAT R0, R0, p1.wwww;MAD_SAT R0, R0, p0.zzzz, p0.wwww;MAD R1, R0, p3, R1;"
    "ADDC o[COLR], p3.wwww, -R0;MOV_SAT o[COLR].xyz (GT), R1;END",
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;TEX R1, f[TEX0], TEX0, 2D;DP3 R0, R1, p1;"
    "ADD_SAT R0, R0, p1.wwww;MAD_SAT R0, R0, p0.zzzz, p0.wwww;ADD o[COLR], p3.wwww, -R0;END",
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;TEX R1, f[TEX0], TEX0, 2D;DP3 R0, R1, p1;"
    "ADD_SAT R0, R0, p1.wwww;MAD_SAT o[COLR], R0, p0.zzzz, p0.wwww;END",
    "DECLARE p0;DECLARE p1;TEX R1, f[TEX0], TEX0, 2D;MOV R1.w(), 1;DP4 R0, R1, p1;MUL R0, R0, R0;"
    "MUL_SAT R0, p0.xxxx, R0;MUL o[COLR], R1, R0;END",
    "DECLARE p0;DECLARE p1;TEX R1, f[TEX0], TEX0, 2D;MOV R1.w(), 1;DP4 R0, R1, p1;MUL R0, R0, R0;"
    "MUL_SAT R0, p0.xxxx, R0;MAD R0, R0, -1, 1;MUL o[COLR], R1, R0;END",
    "DECLARE p0;DECLARE p1;TEX R1, f[TEX0], TEX0, 2D;MOV R1.w(), 1;DP4 R0, R1, p1;MUL R0, R0, R0;"
    "MUL_SAT o[COLR], p0.xxxx, R0;END",
    "DECLARE p0;DECLARE p1;TEX R1, f[TEX0], TEX0, 2D;MOV R1.w(), 1;DP4 R0, R1, p1;MUL R0, R0, R0;"
    "MUL_SAT R0, p0.xxxx, R0;MAD o[COLR], R0, -1, 1;END",
    "DECLARE p0;TEX R0, f[TEX0], TEX0, 2D;TEX R1, f[TEX1], TEX1, 2D;SUB R1, R0, R1;DP3 R1, R1, R1;"
    "MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MUL R0, R0, R1;MOV R0.w(), R1.w();MOV o[COLR], R0;END",
    "DECLARE p0;DECLARE p1;TEX R0, f[TEX0], TEX0, 2D;TEX R1, f[TEX1], TEX1, 2D;SUB R1, R0, R1;"
    "DP3 R1, R1, R1;MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MAD R1, R1, -1, 1;MUL R0, R0, R1;"
    "MOV R0.w(), R1.w();MOV o[COLR], R0;END",
    "DECLARE p0;DECLARE p1;TEX R0, f[TEX0], TEX0, 2D;TEX R1, f[TEX1], TEX1, 2D;SUB R1, R0, R1;"
    "DP3 R1, R1, R1;MAD_SAT o[COLR], R1, p0.xxxx, p0.yyyy;END",
    "DECLARE p0;DECLARE p1;TEX R0, f[TEX0], TEX0, 2D;TEX R1, f[TEX1], TEX1, 2D;SUB R1, R0, R1;"
    "DP3 R1, R1, R1;MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MAD o[COLR], R1, -1, 1;END",
};

constexpr std::array<std::size_t, kFpKeyerPrograms> kLengths = {273, 228, 179, 158, 147, 165,
                                                                132, 150, 187, 216, 153, 171};

consteval bool LengthsAreRight() {
  for (std::size_t i = 0; i < kPrograms.size(); ++i) {
    if (kFpNVProgramHeader.size() + kPrograms[i].size() != kLengths[i]) return false;
  }
  return true;
}
static_assert(LengthsAreRight());

constexpr std::array<const char*, 4> kNames = {"p0", "p1", "p2", "p3"};

}  // namespace

RFpKeyer_NV_fragment_program::RFpKeyer_NV_fragment_program() {
  const bool programs = RFpResolveNVPrograms(*this);
  const bool parameters = RFpResolveNVParameters(*this);
  if (programs && parameters) mPrograms = std::make_unique<RFpNVPrograms>(*this, kPrograms);
}

RFpKeyer_NV_fragment_program::~RFpKeyer_NV_fragment_program() = default;

int RFpKeyer_NV_fragment_program::GetRequirementFlags(int stage) const {
  return RFpKeyer_default::GetRequirementFlags(stage) | kFormRectangleToBuffer | kFormQuadToBuffer;
}

int RFpKeyer_NV_fragment_program::Bind(RFpContext*, int, int form) {
  Derive();
  if (!(form & kFormTextureMask)) return 1;
  const auto index = RFpGetKeyerProgram(GetSettings());
  if (!mPrograms || !index) return 0;
  const GLuint program = mPrograms->GetName(*index);
  glBindProgramNV(GL_FRAGMENT_PROGRAM_NV, program);
  const RFpKeyerUniforms sent = RFpGetKeyerUniforms(GetSettings(), GetParameters());
  for (std::size_t i = 0; i < sent.count; ++i) RFpSendNVParameter(*this, program, kNames[i], sent.values[i]);
  glEnable(GL_FRAGMENT_PROGRAM_NV);
  return 1;
}

void RFpKeyer_NV_fragment_program::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_FRAGMENT_PROGRAM_NV);
}

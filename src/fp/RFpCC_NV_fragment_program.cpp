#include "fp/RFpCC_NV_fragment_program.h"

#include "fp/RFpNVPrograms.h"

namespace {

constexpr std::size_t kOneMatrix = 0;
constexpr std::size_t kThreeZones = 1;

constexpr std::string_view kPrograms[] = {
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;DECLARE p4;TEX R0, f[TEX0], TEX0, 2D;MAX R0, R0, p4;MUL R1, "
    "R0.xxxx, p0;MAD R1, R0.yyyy, p1, R1;MAD R1, R0.zzzz, p2, R1;MAD o[COLR], R0.wwww, p3, R1;END",
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;DECLARE p4;DECLARE p5;DECLARE p6;DECLARE p7;DECLARE "
    "p8;DECLARE p9;DECLARE pa;DECLARE pb;DECLARE pc;DECLARE pd;TEX R0, f[TEX0], TEX0, 2D;MAX R0, R0, pc;DP3 "
    "R2, R0, pd;SUB_SAT R1, { 1, 1, 1, 1 }, R2;MAD R0, R0, -1, 1;DP3 R2, R0, pd;SUB_SAT R3, { 1, 1, 1, 1 }, "
    "R2;SUB R2, { 1, 1, 1, 1} , R3;SUB R2, R2, R1;MAD R0, R0, -1, 1;MUL R1, R1.xxxx, R0;MUL R2, R2.xxxx, "
    "R0;MUL R3, R3.xxxx, R0;MUL R4, R1.xxxx, p0;MAD R4, R1.yyyy, p1, R4;MAD R4, R1.zzzz, p2, R4;MAD R4, "
    "R1.wwww, p3, R4;MAD R4, R2.xxxx, p4, R4;MAD R4, R2.yyyy, p5, R4;MAD R4, R2.zzzz, p6, R4;MAD R4, "
    "R2.wwww, p7, R4;MAD R4, R3.xxxx, p8, R4;MAD R4, R3.yyyy, p9, R4;MAD R4, R3.zzzz, pa, R4;MAD o[COLR], "
    "R3.wwww, pb, R4;END"};
static_assert(kFpNVProgramHeader.size() + kPrograms[kOneMatrix].size() == 204);
static_assert(kFpNVProgramHeader.size() + kPrograms[kThreeZones].size() == 725);

// The parameters in the order of the matrices' columns.
constexpr const char* kMatrixNames[] = {"p0", "p1", "p2", "p3"};
constexpr const char* kZoneNames[3][4] = {
    {"p0", "p1", "p2", "p3"}, {"p4", "p5", "p6", "p7"}, {"p8", "p9", "pa", "pb"}};

}  // namespace

RFpCC_NV_fragment_program::RFpCC_NV_fragment_program() {
  const bool programs = RFpResolveNVPrograms(*this);
  const bool parameters = RFpResolveNVParameters(*this);
  if (programs && parameters) mPrograms = std::make_unique<RFpNVPrograms>(*this, kPrograms);
}

RFpCC_NV_fragment_program::~RFpCC_NV_fragment_program() = default;

int RFpCC_NV_fragment_program::GetRequirementFlags(int stage) const {
  return RFpCC_default::GetRequirementFlags(stage) | kFormRectangleToBuffer | kFormQuadToBuffer;
}

int RFpCC_NV_fragment_program::Bind(RFpContext* context, int stage, int form) {
  if (!(form & kFormTextureMask)) return RFpCC_default::Bind(context, stage, form);
  Derive();
  if (!mPrograms) return 0;
  const GLuint program = mPrograms->GetName(UsesZones() ? kThreeZones : kOneMatrix);
  glBindProgramNV(GL_FRAGMENT_PROGRAM_NV, program);
  if (UsesZones())
    SendZones(program);
  else
    SendOneMatrix(program);
  glEnable(GL_FRAGMENT_PROGRAM_NV);
  return 1;
}

void RFpCC_NV_fragment_program::SendMatrix(unsigned program, const char* const* names,
                                           const RFpColorMatrix& matrix) const {
  for (const auto& column : matrix.columns) RFpSendNVParameter(*this, program, *names++, column);
}

void RFpCC_NV_fragment_program::SendOneMatrix(unsigned program) const {
  SendMatrix(program, kMatrixNames, GetMatrix());
  RFpSendNVParameter(*this, program, "p4", {0, 0, 0, GetAlphaFloor()});
}

void RFpCC_NV_fragment_program::SendZones(unsigned program) const {
  for (int zone = 0; zone < 3; ++zone) SendMatrix(program, kZoneNames[zone], GetZoneMatrix(zone));
  RFpSendNVParameter(*this, program, "pc", {0, 0, 0, GetAlphaFloor()});
  RFpSendNVParameter(*this, program, "pd", RFpLuminanceOverMidPoint(GetSettings().midPoint));
}

void RFpCC_NV_fragment_program::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_FRAGMENT_PROGRAM_NV);
}

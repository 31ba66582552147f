// Tests of the parser and the interpreter of fragment programs.
#include "support/shim/NVProgram.h"

#include <gtest/gtest.h>

#include <string>

#include "support/shim/NVProgramInterpreter.h"

namespace test::shim {
namespace {

NVProgram Parse(const std::string& instructions) {
  NVParseError error{};
  auto program = ParseNVProgram("!!FP1.0\n" + instructions, error);
  EXPECT_TRUE(program) << instructions << ": " << error.message << " at " << error.position;
  return program.value_or(NVProgram());
}

NVVector Execute(const std::string& instructions, const std::vector<NVVector>& parameters = {}) {
  NVFragment fragment;
  fragment.parameters = parameters;
  fragment.inputs[0] = {0.25F, 0.75F, 0, 1};
  fragment.sample = [](int unit, NVVector at) {
    return NVVector{at[0], at[1], static_cast<float>(unit), 0.5F};
  };
  fragment.color = {9, 9, 9, 9};
  return RunNVProgram(Parse(instructions), fragment);
}

constexpr NVVector kA = {1, -2, 3, 0.5F};
constexpr NVVector kB = {0.25F, 4, -1, 2};

struct ComputeRow {
  const char* text;
  NVVector expected;
};

class Computes : public testing::TestWithParam<ComputeRow> {};

TEST_P(Computes, ByItsDefinition) {
  const NVVector result =
      Execute("DECLARE a;DECLARE b;MOV R0, a;MOV R1, b;" + std::string(GetParam().text) + ";END", {kA, kB});
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(result[i], GetParam().expected[i], 1e-5) << i;
}

INSTANTIATE_TEST_SUITE_P(
    Instructions, Computes,
    testing::Values(
        ComputeRow{"ADD o[COLR], R0, R1", {1.25F, 2, 2, 2.5F}},
        ComputeRow{"SUB o[COLR], R0, R1", {0.75F, -6, 4, -1.5F}},
        ComputeRow{"MUL o[COLR], R0, R1", {0.25F, -8, -3, 1}},
        ComputeRow{"MAD o[COLR], R0, R1, R0", {1.25F, -10, 0, 1.5F}},
        ComputeRow{"DP3 o[COLR], R0, R1", {-10.75F, -10.75F, -10.75F, -10.75F}},
        ComputeRow{"DP4 o[COLR], R0, R1", {-9.75F, -9.75F, -9.75F, -9.75F}},
        ComputeRow{"MAX o[COLR], R0, R1", {1, 4, 3, 2}},
        ComputeRow{"MIN o[COLR], R0, R1", {0.25F, -2, -1, 0.5F}},
        ComputeRow{"ADD_SAT o[COLR], R0, R1", {1, 1, 1, 1}},
        ComputeRow{"MOV_SAT o[COLR], R0", {1, 0, 1, 0.5F}},
        ComputeRow{"MOV o[COLR], -R0", {-1, 2, -3, -0.5F}}, ComputeRow{"MOV o[COLR], |R0|", {1, 2, 3, 0.5F}},
        ComputeRow{"MOV o[COLR], -|R0.yyxx|", {-2, -2, -1, -1}},
        ComputeRow{"MOV o[COLR], R0.wzyx", {0.5F, 3, -2, 1}},
        ComputeRow{"MOV o[COLR], R0.y", {-2, -2, -2, -2}},
        ComputeRow{"MAD o[COLR], R0, -1, 1", {0, 3, -2, 0.5F}},
        ComputeRow{"SUB o[COLR], { 1, 1, 1, 1} , R0", {0, 3, -2, 0.5F}},
        ComputeRow{"MOV o[COLR], {2, 3}", {2, 3, 0, 1}},
        ComputeRow{"LRP o[COLR], 0.25, R0, R1", {0.4375F, 2.5F, 0, 1.625F}},
        ComputeRow{"RCP o[COLR], R0.w", {2, 2, 2, 2}}, ComputeRow{"SGE o[COLR], R0, R1", {1, 0, 1, 0}},
        ComputeRow{"SLT o[COLR], R0, R1", {0, 1, 0, 1}}, ComputeRow{"FLR o[COLR], R0", {1, -2, 3, 0}},
        ComputeRow{"FRC o[COLR], R0", {0, 0, 0, 0.5F}}, ComputeRow{"EX2 o[COLR], R0.z", {8, 8, 8, 8}},
        ComputeRow{"MOVR o[COLR], R0", kA}, ComputeRow{"MOVX H63, R0;MOV o[COLR], H63", kA},
        ComputeRow{"TEX o[COLR], f[TEX0], TEX3, 2D", {0.25F, 0.75F, 3, 0.5F}},
        // Masks keep the other components; brackets without a rule mean always.
        ComputeRow{"MOV o[COLR].xz, R0", {1, 9, 3, 9}}, ComputeRow{"MOV o[COLR].w(), R1.w()", {9, 9, 9, 2}},
        // Codes start as "equal" and are set component by component.
        ComputeRow{"MOV o[COLR](EQ), R0", kA}, ComputeRow{"MOV o[COLR] (GT), R0", {9, 9, 9, 9}},
        ComputeRow{"MOVC R2, R0;MOV o[COLR] (GT), R1", {0.25F, 9, -1, 2}},
        ComputeRow{"MOVC R2, R0;MOV o[COLR] (LT), R1", {9, 4, 9, 9}},
        ComputeRow{"MOVC R2, R0;MOV o[COLR] (GE.w), R1", kB},
        ComputeRow{"MOVC R2.x, R0;MOV o[COLR] (NE), R1", {0.25F, 9, 9, 9}},
        ComputeRow{"MOVC R2, R0;MOV o[COLR] (LE), R1", {9, 4, 9, 9}},
        ComputeRow{"MOV o[COLR] (FL), R0", {9, 9, 9, 9}},
        // The clamp comes before the code.
        ComputeRow{"MOVC_SAT R2, R0;MOV o[COLR] (EQ), R1", {9, 4, 9, 9}},
        // Temporaries start at zero.
        ComputeRow{"MOV o[COLR], R31", {0, 0, 0, 0}}));

struct RefusedRow {
  const char* text;
  std::size_t position;
};

class Refused : public testing::TestWithParam<RefusedRow> {};

TEST_P(Refused, WithThePositionOfTheFault) {
  NVParseError error{};
  EXPECT_FALSE(ParseNVProgram(GetParam().text, error)) << GetParam().text;
  EXPECT_EQ(error.position, GetParam().position) << error.message;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Refused,
    testing::Values(RefusedRow{"", 0}, RefusedRow{"!!FP2.0\nEND", 0}, RefusedRow{"!!FP1.0\n", 8},
                    RefusedRow{"!!FP1.0\nNOP;END", 11}, RefusedRow{"!!FP1.0\nMOVQ R0, R1;END", 12},
                    RefusedRow{"!!FP1.0\nMOV R32, R0;END", 15}, RefusedRow{"!!FP1.0\nMOV R0, q;END", 17},
                    RefusedRow{"!!FP1.0\nMOV R0, R1 END", 19}, RefusedRow{"!!FP1.0\nMOV R0.yx, R1;END", 17},
                    RefusedRow{"!!FP1.0\nMOV R0, R1.xy;END", 21}, RefusedRow{"!!FP1.0\nEND;", 11},
                    RefusedRow{"!!FP1.0\nMOV R0, f[TEX8];END", 23},
                    RefusedRow{"!!FP1.0\nTEX R0, f[TEX0], TEX8, 2D;END", 29},
                    RefusedRow{"!!FP1.0\nDECLARE a;DECLARE a;END", 27},
                    RefusedRow{"!!FP1.0\nDECLARE a;DECLARE b;MUL R0, a, b;END", 40},
                    RefusedRow{"!!FP1.0\nMUL R0, f[TEX0], f[TEX1];END", 32},
                    RefusedRow{"!!FP1.0\nMOV R0 (XX), R1;END", 18}, RefusedRow{"!!FP1.0\nADD R0, R1;END", 18},
                    RefusedRow{"!!FP1.0\nMOV o[COLX], R0;END", 19}));

TEST(NVProgram, TheSameParameterMayBeReadTwice) {
  EXPECT_EQ(Parse("DECLARE a;MUL R0, a, a.yyyy;END").instructions.size(), 1U);
  EXPECT_EQ(Parse("DECLARE a;DECLARE b;END").FindParameter("b"), 1);
  EXPECT_EQ(Parse("DECLARE a;END").FindParameter("c"), -1);
}

}  // namespace
}  // namespace test::shim

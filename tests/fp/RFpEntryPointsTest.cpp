// Tests of the look-up of extensions and of the choice of the blend node's variant.
#include "fp/RFpEntryPoints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fp/RFpBlend_default.h"
#include "support/FakeEntryPoints.h"

namespace test {
namespace {

using testing::ElementsAre;

const std::vector<std::string> kATINames = {
    "glBindFragmentShaderATI", "glBeginFragmentShaderATI",      "glPassTexCoordATI",
    "glColorFragmentOp1ATI",   "glAlphaFragmentOp1ATI",         "glColorFragmentOp2ATI",
    "glAlphaFragmentOp2ATI",   "glColorFragmentOp3ATI",         "glAlphaFragmentOp3ATI",
    "glSampleMapATI",          "glEndFragmentShaderATI",        "glDeleteFragmentShaderATI",
    "glGenFragmentShadersATI", "glSetFragmentShaderConstantATI"};

struct FamilyRow {
  const char* name;
  kFpFamily family;
  std::string extension;
  std::vector<std::string> probes;
};

class Family : public testing::TestWithParam<FamilyRow> {};

TEST_P(Family, NeedsTheExtensionAndAllItsProbesInOrder) {
  const FamilyRow& row = GetParam();
  const FakeEntryPoints driver({row.extension});
  EXPECT_TRUE(RFpIsAvailable(row.family));
  std::vector<std::string> asked = {row.extension + '?'};
  asked.insert(asked.end(), row.probes.begin(), row.probes.end());
  EXPECT_EQ(driver.asked, asked);
}

TEST_P(Family, IsNotThereWithoutTheExtensionWhateverResolves) {
  const FakeEntryPoints driver({"GL_something_else"});
  EXPECT_FALSE(RFpIsAvailable(GetParam().family));
  EXPECT_THAT(driver.asked, ElementsAre(GetParam().extension + '?'));
}

TEST_P(Family, StopsAtTheFirstProbeThatIsMissing) {
  const FamilyRow& row = GetParam();
  for (std::size_t i = 0; i < row.probes.size(); ++i) {
    FakeEntryPoints driver({row.extension});
    driver.missing = {row.probes[i]};
    EXPECT_FALSE(RFpIsAvailable(row.family));
    EXPECT_EQ(driver.asked.size(), i + 2);
    EXPECT_EQ(driver.asked.back(), row.probes[i]);
  }
}

TEST_P(Family, IsNotThereWithoutAContext) { EXPECT_FALSE(RFpIsAvailable(GetParam().family)); }

INSTANTIATE_TEST_SUITE_P(Families, Family,
                         testing::Values(FamilyRow{"NVFragmentProgram",
                                                   kFpFamilyNVFragmentProgram,
                                                   "GL_NV_fragment_program",
                                                   {"glProgramNamedParameter4fNV"}},
                                         FamilyRow{"NVRegisterCombiners2",
                                                   kFpFamilyNVRegisterCombiners2,
                                                   "GL_NV_register_combiners2",
                                                   {"glGetCombinerStageParameterfvNV",
                                                    "glCombinerStageParameterfvNV"}},
                                         FamilyRow{"ATIFragmentShader", kFpFamilyATIFragmentShader,
                                                   "GL_ATI_fragment_shader", kATINames}),
                         [](const auto& row) { return row.param.name; });

TEST(RFpEntryPoints, TheColourMatrixComesWithEitherExtension) {
  EXPECT_FALSE(RFpHasColorMatrix()) << "no context";
  FakeEntryPoints driver;
  EXPECT_FALSE(RFpHasColorMatrix());
  driver.extensions = {"GL_ARB_imaging"};
  EXPECT_TRUE(RFpHasColorMatrix());
  driver.extensions = {"GL_SGI_color_matrix"};
  EXPECT_TRUE(RFpHasColorMatrix());
}

TEST(RFpEntryPoints, ResolveToStoresTheAddressOrNull) {
  FakeEntryPoints driver;
  void (*function)() = nullptr;
  EXPECT_TRUE(driver.ResolveTo("glAnything", function));
  EXPECT_NE(function, nullptr);
  driver.missing = {"glAnything"};
  EXPECT_FALSE(driver.ResolveTo("glAnything", function));
  EXPECT_EQ(function, nullptr);
}

TEST(RFpEntryPoints, TheDriversComeBack) {
  const RFpEntryPoints* const driver = &RFpEntryPoints::Get();
  {
    const FakeEntryPoints fake;
    EXPECT_EQ(&RFpEntryPoints::Get(), &fake);
  }
  EXPECT_EQ(&RFpEntryPoints::Get(), driver);
  EXPECT_FALSE(driver->Advertises("GL_ARB_multitexture"));
  EXPECT_EQ(driver->Resolve("glActiveTexture"), nullptr);
}

TEST(CreateBlendNode, AsksForNoExtensionAndMakesTheDefault) {
  const FakeEntryPoints driver({"GL_NV_register_combiners2", "GL_NV_fragment_program"});
  const std::unique_ptr<RFpBlend> node(CreateBlendNode());
  ASSERT_NE(node, nullptr);
  const RFpNode& made = *node;
  EXPECT_EQ(typeid(made), typeid(RFpBlend_default));
  EXPECT_TRUE(driver.asked.empty());
}

}  // namespace
}  // namespace test

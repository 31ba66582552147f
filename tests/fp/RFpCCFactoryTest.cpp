// Tests of the choice among the variants of the colour correction, by what a made-up driver is asked. The
// first answer holds for the whole process, so each case is a process of its own.
#include <gtest/gtest.h>

#include "fp/RFpCC_ATI_fragment_shader.h"
#include "fp/RFpCC_NV_fragment_program.h"
#include "fp/RFpCC_NV_register_combiners2.h"
#include "fp/RFpCC_SGI_color_matrix.h"
#include "support/FactoryChoice.h"

namespace test {
namespace {

template <class Node>
[[noreturn]] void Choose(const FakeEntryPoints& driver, const Probes& probes) {
  ExpectChoice<Node>(CreateCCNode, driver, probes);
}

const Probes kPrograms = {"GL_NV_fragment_program?", "glProgramNamedParameter4fNV"};
const Probes kNoPrograms = {"GL_NV_fragment_program?"};

TEST(RFpCCFactoryDeathTest, FragmentProgramsComeFirst) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_NV_fragment_program", "GL_NV_register_combiners2",
                                "GL_ATI_fragment_shader", "GL_SGI_color_matrix"});
        Choose<RFpCC_NV_fragment_program>(
            driver, kPrograms + Probes{"glLoadProgramNV", "glGenProgramsNV", "glDeleteProgramsNV",
                                       "glBindProgramNV", "glProgramNamedParameter4fNV"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, AnExtensionWithoutItsFunctionDoesNotCount) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_NV_fragment_program"});
        driver.missing = {"glProgramNamedParameter4fNV"};
        Choose<RFpCC_default>(driver, kPrograms + Probes{"GL_NV_register_combiners2?"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, ThenTheColourMatrixOfImaging) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_ARB_imaging"});
        Choose<RFpCC_SGI_color_matrix>(
            driver, kNoPrograms + Probes{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, ShadersBeforeTheColourMatrix) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_ATI_fragment_shader", "GL_SGI_color_matrix"});
        Choose<RFpCC_ATI_fragment_shader>(
            driver, kNoPrograms + Probes{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?",
                                         "glBindFragmentShaderATI"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, TheProcessorIsTheLastResort) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver;
        Choose<RFpCC_default>(driver,
                              kNoPrograms + Probes{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace test

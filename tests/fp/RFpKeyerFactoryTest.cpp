// Tests of the choice among the variants of the keyer, by what a made-up driver is asked.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "fp/RFpKeyer_ATI_fragment_shader.h"
#include "fp/RFpKeyer_NV_fragment_program.h"
#include "fp/RFpKeyer_NV_register_combiners2.h"
#include "support/FactoryChoice.h"

namespace test {
namespace {

template <class Node>
[[noreturn]] void Choose(const FakeEntryPoints& driver, const Probes& probes) {
  ExpectChoice<Node>(CreateKeyerNode, driver, probes);
}

const Probes kNoPrograms = {"GL_NV_fragment_program?"};
const Probes kNoCombiners = {"GL_NV_register_combiners2?"};

TEST(RFpKeyerFactoryDeathTest, FragmentProgramsComeFirst) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver(
            {"GL_NV_fragment_program", "GL_NV_register_combiners2", "GL_ATI_fragment_shader"});
        Choose<RFpKeyer_NV_fragment_program>(
            driver,
            {"GL_NV_fragment_program?", "glProgramNamedParameter4fNV", "glLoadProgramNV", "glGenProgramsNV",
             "glDeleteProgramsNV", "glBindProgramNV", "glProgramNamedParameter4fNV"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpKeyerFactoryDeathTest, ThenRegisterCombiners) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_NV_register_combiners2", "GL_ATI_fragment_shader"});
        Choose<RFpKeyer_NV_register_combiners2>(
            driver, kNoPrograms + kNoCombiners +
                        Probes{"glGetCombinerStageParameterfvNV", "glCombinerStageParameterfvNV"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpKeyerFactoryDeathTest, ThenShaders) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_ATI_fragment_shader", "GL_SGI_color_matrix"});
        Choose<RFpKeyer_ATI_fragment_shader>(
            driver,
            kNoPrograms + kNoCombiners + Probes{"GL_ATI_fragment_shader?", "glBindFragmentShaderATI"});
      },
      testing::ExitedWithCode(0), "");
}

const std::set<std::string> kMissing = {"glProgramNamedParameter4fNV", "glCombinerStageParameterfvNV",
                                        "glSampleMapATI"};

TEST(RFpKeyerFactoryDeathTest, AnExtensionWithoutItsFunctionDoesNotCount) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver(
            {"GL_NV_fragment_program", "GL_NV_register_combiners2", "GL_ATI_fragment_shader"});
        driver.missing = kMissing;
        Choose<RFpKeyer_default>(driver, {"GL_NV_fragment_program?", "glProgramNamedParameter4fNV",
                                          "GL_NV_register_combiners2?", "glGetCombinerStageParameterfvNV",
                                          "glCombinerStageParameterfvNV", "GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

// It has no use for a colour matrix, and does not ask for one.
TEST(RFpKeyerFactoryDeathTest, TheProcessorIsTheLastResort) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_SGI_color_matrix", "GL_ARB_imaging"});
        Choose<RFpKeyer_default>(driver, kNoPrograms + kNoCombiners + Probes{"GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace test

// Tests of the choice among the variants of the colour correction, by what a made-up driver is asked. The
// first answer holds for the whole process, so each case is a process of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "fp/RFpCC_ATI_fragment_shader.h"
#include "fp/RFpCC_NV_fragment_program.h"
#include "fp/RFpCC_NV_register_combiners2.h"
#include "fp/RFpCC_SGI_color_matrix.h"
#include "support/FakeEntryPoints.h"

namespace test {
namespace {

using testing::ElementsAre;
using Log = std::vector<std::string>;

// Ends the process with success when the node is of that class and the driver was asked that.
template <class Node>
[[noreturn]] void Choose(const FakeEntryPoints& driver, const Log& probes) {
  const std::unique_ptr<RFpCC> node(CreateCCNode());
  const Log asked(driver.asked.begin(), driver.asked.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                   probes.size(), driver.asked.size())));
  if (typeid(*node) != typeid(Node)) std::fprintf(stderr, "made %s\n", typeid(*node).name());
  if (asked != probes) std::fprintf(stderr, "asked %s\n", testing::PrintToString(driver.asked).c_str());
  // The answers are kept, whatever the driver has now.
  FakeEntryPoints nothing;
  const std::unique_ptr<RFpCC> second(CreateCCNode());
  const bool kept = typeid(*second) == typeid(Node);
  for (const std::string& name : nothing.asked) {
    if (name.ends_with('?')) std::fprintf(stderr, "asked again: %s\n", name.c_str());
  }
  std::_Exit(typeid(*node) == typeid(Node) && asked == probes && kept ? 0 : 1);
}

const Log kPrograms = {"GL_NV_fragment_program?", "glProgramNamedParameter4fNV"};
const Log kNoPrograms = {"GL_NV_fragment_program?"};

Log operator+(Log a, const Log& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

const Log kCombiners = {"GL_NV_register_combiners2?", "glGetCombinerStageParameterfvNV",
                        "glCombinerStageParameterfvNV"};

TEST(RFpCCFactoryDeathTest, FragmentProgramsComeFirst) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_NV_fragment_program", "GL_NV_register_combiners2",
                                "GL_ATI_fragment_shader", "GL_SGI_color_matrix"});
        Choose<RFpCC_NV_fragment_program>(
            driver, kPrograms + Log{"glLoadProgramNV", "glGenProgramsNV", "glDeleteProgramsNV",
                                    "glBindProgramNV", "glProgramNamedParameter4fNV"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, AnExtensionWithoutItsFunctionDoesNotCount) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_NV_fragment_program"});
        driver.missing = {"glProgramNamedParameter4fNV"};
        Choose<RFpCC_default>(driver, kPrograms + Log{"GL_NV_register_combiners2?"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, ThenTheColourMatrixOfImaging) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_ARB_imaging"});
        Choose<RFpCC_SGI_color_matrix>(
            driver, kNoPrograms + Log{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, ShadersBeforeTheColourMatrix) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver({"GL_ATI_fragment_shader", "GL_SGI_color_matrix"});
        Choose<RFpCC_ATI_fragment_shader>(
            driver, kNoPrograms + Log{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?",
                                      "glBindFragmentShaderATI"});
      },
      testing::ExitedWithCode(0), "");
}

TEST(RFpCCFactoryDeathTest, TheProcessorIsTheLastResort) {
  EXPECT_EXIT(
      {
        FakeEntryPoints driver;
        Choose<RFpCC_default>(driver,
                              kNoPrograms + Log{"GL_NV_register_combiners2?", "GL_ATI_fragment_shader?"});
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace test

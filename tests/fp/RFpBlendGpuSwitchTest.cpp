// Tests of the blend factory as it is built with the GPU path switched on: this test compiles it that way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fp/RFpBlend_NV_register_combiners2.h"
#include "support/FakeEntryPoints.h"
#include "support/GLTest.h"

namespace test {
namespace {

using RFpBlendGpuSwitchTest = GLTest;

// Makes a node where the driver has the extension, then one where it has not.
int WithThenWithout() {
  const GLErrorCapture capture;  // of the query for the number of combiners
  FakeEntryPoints driver({"GL_NV_register_combiners2"});
  driver.missing = {"glCombinerParameteriNV"};
  const std::unique_ptr<RFpBlend> first(CreateBlendNode());
  const RFpNode& made = *first;
  const bool combiners = typeid(made) == typeid(RFpBlend_NV_register_combiners2);
  driver.extensions.clear();
  driver.asked.clear();
  const std::unique_ptr<RFpBlend> second(CreateBlendNode());
  const RFpNode& madeSecond = *second;
  const bool again = typeid(madeSecond) == typeid(RFpBlend_NV_register_combiners2);
  const bool askedAgain = std::count(driver.asked.begin(), driver.asked.end(), "GL_NV_register_combiners2?");
  return combiners && again && !askedAgain ? 0 : 1;
}

int WithoutThenWith() {
  FakeEntryPoints driver;
  const std::unique_ptr<RFpBlend> first(CreateBlendNode());
  driver.extensions = {"GL_NV_register_combiners2"};
  const std::unique_ptr<RFpBlend> second(CreateBlendNode());
  const RFpNode& made = *second;
  return driver.asked == std::vector<std::string>{"GL_NV_register_combiners2?"} &&
                 typeid(made) == typeid(RFpBlend_default)
             ? 0
             : 1;
}

// The factory asks once a process, so each answer has a process of its own.
TEST_F(RFpBlendGpuSwitchTest, TheFirstAnswerHoldsForTheProcess) {
  EXPECT_EXIT(std::_Exit(WithThenWithout()), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(std::_Exit(WithoutThenWith()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace test

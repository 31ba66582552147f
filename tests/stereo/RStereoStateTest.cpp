// What a stereo compositor starts with.
#include "stereo/RStereoState.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(RStereoState, StartsWithoutAModeAndWithoutABuffer) {
  const RStereoState state;
  EXPECT_EQ(state.isAlive, 1);
  EXPECT_FALSE(state.isCgReady);
  EXPECT_EQ(state.mode, 6U) << "which is none of the modes, so that the first picture sets its own up";
  EXPECT_EQ(state.policy, 0U);
  EXPECT_EQ(state.framebuffer, nullptr);
  EXPECT_EQ(state.context, nullptr);
  EXPECT_EQ(state.vertexProgram, nullptr);
  EXPECT_EQ(state.fragmentProgram, nullptr);
  for (const CGparameter parameter :
       {state.leftImage, state.rightImage, state.xBase, state.yBase, state.screenWidth, state.screenHeight})
    EXPECT_EQ(parameter, nullptr);
}

TEST(RStereoState, KeepsItsFieldsInOrder) {
  const RStereoState state;
  const std::vector<const void*> fields = {
      &state.isAlive,       &state.isCgReady,       &state.mode,          &state.policy,
      &state.framebuffer,   &state.context,         &state.vertexProfile, &state.fragmentProfile,
      &state.vertexProgram, &state.fragmentProgram, &state.leftImage,     &state.rightImage,
      &state.xBase,         &state.yBase,           &state.screenWidth,   &state.screenHeight};
  EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

}  // namespace

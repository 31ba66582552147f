#include "rbaselib/RgeRGBVector.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(RgeRGBVector, StartsBlack) {
  const RgeRGBVector colour;
  EXPECT_EQ(colour.r, 0.0);
  EXPECT_EQ(colour.g, 0.0);
  EXPECT_EQ(colour.b, 0.0);
}

TEST(RgeRGBVector, IndexesRedGreenBlue) {
  RgeRGBVector colour(0.1, 0.2, 0.3);
  const RgeRGBVector& constant = colour;
  EXPECT_EQ(constant[0], 0.1);
  EXPECT_EQ(constant[1], 0.2);
  EXPECT_EQ(constant[2], 0.3);
  colour[0] = 1;
  colour[1] = 2;
  colour[2] = 3;
  EXPECT_EQ(colour, RgeRGBVector(1, 2, 3));
}

TEST(RgeRGBVector, EveryOtherIndexIsBlue) {
  RgeRGBVector colour(0.1, 0.2, 0.3);
  const RgeRGBVector& constant = colour;
  EXPECT_EQ(constant[3], 0.3);
  EXPECT_EQ(constant[-1], 0.3);
  colour[7] = 0.5;
  EXPECT_EQ(colour.b, 0.5);
}

TEST(RgeRGBVector, ComparesComponentByComponent) {
  EXPECT_EQ(RgeRGBVector(1, 2, 3), RgeRGBVector(1, 2, 3));
  EXPECT_NE(RgeRGBVector(1, 2, 3), RgeRGBVector(0, 2, 3));
  EXPECT_NE(RgeRGBVector(1, 2, 3), RgeRGBVector(1, 0, 3));
  EXPECT_NE(RgeRGBVector(1, 2, 3), RgeRGBVector(1, 2, 0));
  EXPECT_NE(RgeRGBVector(std::nan(""), 0, 0), RgeRGBVector(std::nan(""), 0, 0));
}

TEST(RgeRGBVector, HoldsThreeDoublesInARow) {
  static_assert(sizeof(RgeRGBVector) == 3 * sizeof(double));
  RgeRGBVector colour(1, 2, 3);
  EXPECT_EQ(&colour[1], &colour.r + 1);
  EXPECT_EQ(&colour[2], &colour.r + 2);
}

}  // namespace

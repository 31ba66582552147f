// Tests of the conversion between frames and fields.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <tuple>

#include "support/ImageProbe.h"

namespace {

using test::ImagePtr;
using test::MakeImage;
using test::MakeNoiseImage;
using test::NoisePixels;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

constexpr int kWidth = 5;
constexpr int kRowBytes = 3 * kWidth;

ProbePtr MakeTyped(kImageType type, int height) {
  ProbePtr image = MakeNoiseImage(kImageFormatRGB, kWidth, height, static_cast<std::uint32_t>(height));
  image->mImageType = type;
  return image;
}

// --- The table.

// source, target, interleave, interpolation
using Combination = std::tuple<int, int, int, int>;

constexpr Combination kMarked[] = {{0, 0, 0, 0}, {0, 0, 1, 1}, {0, 0, 2, 1}, {0, 0, 3, 0}, {0, 1, 0, 1},
                                   {0, 1, 1, 0}, {0, 1, 2, 0}, {1, 0, 0, 1}, {1, 1, 1, 0}, {1, 1, 2, 0}};

bool IsMarked(const Combination& combination) {
  return std::find(std::begin(kMarked), std::end(kMarked), combination) != std::end(kMarked);
}

TEST(RImageFieldsTest, TableMarksTheSupportedConversions) {
  const ProbeImage image;
  for (int source = 0; source < 2; ++source) {
    for (int target = 0; target < 2; ++target) {
      for (int interleave = 0; interleave < 4; ++interleave) {
        for (int interpolation = 0; interpolation < 3; ++interpolation) {
          EXPECT_EQ(RImage::mConvertionSupported[source][target][interleave][interpolation],
                    IsMarked({source, target, interleave, interpolation}) ? 1 : 0)
              << source << target << interleave << interpolation;
        }
      }
    }
  }
}

TEST(RImageFieldsTest, TableIsFilledOnce) {
  ProbeImage image;
  RImage::mConvertionSupported[0][0][0][0] = 0;
  image.SetCapabilities();
  const ProbeImage another;
  EXPECT_EQ(RImage::mConvertionSupported[0][0][0][0], 0);
  RImage::mConvertionSupported[0][0][0][0] = 1;
}

// --- All combinations at the heights that differ.

// The rows of the result as row numbers of the source; an average is a pair. No value: the conversion is
// refused.
using Rows = std::vector<std::pair<int, int>>;

std::optional<Rows> Model(const Combination& combination, int height) {
  const auto& [source, target, interleave, interpolation] = combination;
  if (!IsMarked(combination)) return std::nullopt;
  Rows rows;
  const bool copies =
      interpolation == 0 && source == target && (source == 0 ? interleave == 0 : interleave != 0);
  if (copies) {
    for (int row = 0; row < height; ++row) rows.emplace_back(row, row);
    return rows;
  }
  if (interleave == 0 && source == 0) return std::nullopt;
  int targetHeight = height;
  if (source == 0 && target == 1) targetHeight = height / 2;
  if (source == 1 && target == 0) targetHeight = height * 2;
  // PAL frames have their fields the other way round.
  const int first = interleave == 1 || interleave == 2 ? (interleave == 2) ^ (height == 576) : 0;
  for (int row = first; row < height; row += source == 0 ? 2 : 1) {
    const int partner = interleave == 3 ? std::min(row + 1, height - 1) : row;
    rows.emplace_back(row, partner);
    if (target == 0) rows.emplace_back(row, partner);
  }
  const Rows::value_type none(-1, -1);
  rows.resize(static_cast<std::size_t>(targetHeight), none);
  return rows;
}

Pixels Render(const Rows& rows, const Pixels& source) {
  Pixels result;
  for (const auto& [first, second] : rows) {
    for (int i = 0; i < kRowBytes; ++i) {
      const auto at = [&](int row) {
        return row < 0 ? 0 : source[static_cast<std::size_t>(row * kRowBytes + i)];
      };
      result.push_back(static_cast<unsigned char>((at(first) + at(second)) / 2));
    }
  }
  return result;
}

class RImageFieldConversionTest : public testing::TestWithParam<std::tuple<int, int, int, int, int>> {};

std::string ConversionName(const testing::TestParamInfo<RImageFieldConversionTest::ParamType>& testCase) {
  const auto& [source, target, interleave, interpolation, height] = testCase.param;
  return std::string(source ? "Field" : "Frame") + (target ? "ToField" : "ToFrame") + "Interleave" +
         std::to_string(interleave) + "Interpolation" + std::to_string(interpolation) + "Of" +
         std::to_string(height);
}

INSTANTIATE_TEST_SUITE_P(, RImageFieldConversionTest,
                         testing::Combine(testing::Range(0, 2), testing::Range(0, 2), testing::Range(0, 4),
                                          testing::Range(0, 3), testing::Values(480, 576, 243, 1)),
                         ConversionName);

TEST_P(RImageFieldConversionTest, GivesTheModelsRowsOrIsRefused) {
  const auto& [source, target, interleave, interpolation, height] = GetParam();
  const ProbePtr image = MakeTyped(static_cast<kImageType>(source), height);
  const std::optional<Rows> rows = Model({source, target, interleave, interpolation}, height);
  const ImagePtr clone(image->CloneFromType(static_cast<kImageType>(target),
                                            static_cast<kInterleaveType>(interleave),
                                            static_cast<kInterpolationType>(interpolation)));
  ASSERT_EQ(clone != nullptr, rows.has_value());
  if (!clone) return;
  EXPECT_EQ(clone->GetHeight(), static_cast<int>(rows->size()));
  EXPECT_EQ(clone->GetWidth(), kWidth);
  EXPECT_EQ(clone->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(PixelsOf(*clone), Render(*rows, PixelsOf(*image)));
}

TEST_P(RImageFieldConversionTest, DescribesTheResult) {
  const auto& [source, target, interleave, interpolation, height] = GetParam();
  const ProbePtr image = MakeTyped(static_cast<kImageType>(source), height);
  image->mPadWidth = 3;
  const ImagePtr clone(image->CloneFromType(static_cast<kImageType>(target),
                                            static_cast<kInterleaveType>(interleave),
                                            static_cast<kInterpolationType>(interpolation)));
  if (!clone) return;
  // A plain copy is a `Clone`, which always describes a frame.
  const bool copy = source == target && interpolation == 0 && interleave != 3;
  EXPECT_EQ(clone->GetImageType(), copy ? 0 : target);
  EXPECT_EQ(clone->GetInterleaveType(), copy ? 0 : interleave);
  EXPECT_EQ(clone->GetInterpolationType(), copy ? 0 : interpolation);
  EXPECT_EQ(clone->GetPadWidth(), 0);
  EXPECT_EQ(clone->GetDepth(), 1);
}

// --- Known rows.

TEST(RImageFieldsTest, FieldOneOfAFrameIsItsEvenMemoryRows) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 480);
  const ImagePtr field(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone));
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->GetHeight(), 240);
  EXPECT_EQ(std::memcmp(field->GetImageBits() + kRowBytes, image->GetImageBits() + 2 * kRowBytes, kRowBytes),
            0);
}

TEST(RImageFieldsTest, PalFramesOf576RowsHaveTheirFieldsSwapped) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 576);
  const ImagePtr one(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone));
  const ImagePtr two(image->CloneFromType(kImageTypeField, kInterleaveFieldTwo, kInterpolationNone));
  EXPECT_EQ(std::memcmp(one->GetImageBits(), image->GetImageBits() + kRowBytes, kRowBytes), 0);
  EXPECT_EQ(std::memcmp(two->GetImageBits(), image->GetImageBits(), kRowBytes), 0);
}

TEST(RImageFieldsTest, FrameToFieldWithoutInterleaveIsMarkedButRefused) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 8);
  EXPECT_EQ(RImage::mConvertionSupported[0][1][0][1], 1);
  EXPECT_EQ(image->CloneFromType(kImageTypeField, kInterleaveNone, kInterpolationDouble), nullptr);
}

TEST(RImageFieldsTest, FrameFromAFieldDoublesEveryRow) {
  const ProbePtr field = MakeTyped(kImageTypeField, 240);
  const ImagePtr frame(field->CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationDouble));
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->GetHeight(), 480);
  for (int row = 0; row < 480; ++row) {
    EXPECT_EQ(std::memcmp(frame->GetImageBits() + row * kRowBytes,
                          field->GetImageBits() + row / 2 * kRowBytes, kRowBytes),
              0);
  }
}

TEST(RImageFieldsTest, OddLastRowAveragesWithItself) {
  const ProbePtr image = MakeImage(kImageFormatRGB, 1, 3, {10, 20, 30, 21, 31, 41, 7, 8, 9});
  const ImagePtr average(image->CloneFromType(kImageTypeFrame, kInterleaveAverage, kInterpolationNone));
  ASSERT_NE(average, nullptr);
  EXPECT_EQ(PixelsOf(*average), (Pixels{15, 25, 35, 15, 25, 35, 7, 8, 9}));
}

TEST(RImageFieldsTest, AveragingTwiceChangesNothingMore) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 48);
  const ImagePtr once(image->CloneFromType(kImageTypeFrame, kInterleaveAverage, kInterpolationNone));
  const ImagePtr twice(once->CloneFromType(kImageTypeFrame, kInterleaveAverage, kInterpolationNone));
  ASSERT_NE(twice, nullptr);
  EXPECT_EQ(PixelsOf(*twice), PixelsOf(*once));
}

TEST(RImageFieldsTest, BothFieldsTogetherAreTheFrame) {
  for (const int height : {480, 576}) {
    const ProbePtr image = MakeTyped(kImageTypeFrame, height);
    const ImagePtr one(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone));
    const ImagePtr two(image->CloneFromType(kImageTypeField, kInterleaveFieldTwo, kInterpolationNone));
    Pixels woven;
    for (int row = 0; row < height; ++row) {
      RImage& field = (row % 2 == 0) == (height != 576) ? *one : *two;
      const unsigned char* from = field.GetImageBits() + row / 2 * kRowBytes;
      woven.insert(woven.end(), from, from + kRowBytes);
    }
    EXPECT_EQ(woven, PixelsOf(*image)) << height;
  }
}

// --- Refusals.

TEST(RImageFieldsTest, NumbersOutsideTheEnumerationsAreRefused) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 4);
  for (const int value : {-1, 2, 3, 4, 100, INT_MIN, INT_MAX}) {
    EXPECT_EQ(image->CloneFromType(static_cast<kImageType>(value), kInterleaveFieldOne, kInterpolationNone),
              nullptr);
  }
  for (const int value : {-1, 4, 100, INT_MIN, INT_MAX}) {
    EXPECT_EQ(image->CloneFromType(kImageTypeField, static_cast<kInterleaveType>(value), kInterpolationNone),
              nullptr);
    EXPECT_FALSE(image->GetImageFields(image.get(), kImageTypeField, static_cast<kInterleaveType>(value)));
  }
  for (const int value : {-1, 3, 100, INT_MIN, INT_MAX}) {
    EXPECT_EQ(
        image->CloneFromType(kImageTypeField, kInterleaveFieldOne, static_cast<kInterpolationType>(value)),
        nullptr);
  }
  image->mImageType = static_cast<kImageType>(7);
  EXPECT_EQ(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone), nullptr);
}

TEST(RImageFieldsTest, LayersAreRefused) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 4);
  const ProbePtr target = MakeTyped(kImageTypeField, 2);
  image->SetDepth(2);
  EXPECT_EQ(image->CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationNone), nullptr);
  EXPECT_FALSE(image->GetImageFields(target.get(), kImageTypeField, kInterleaveFieldOne));
}

TEST(RImageFieldsTest, SecondInterpolationFailsEvenWhenAHostMarksIt) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 4);
  RImage::mConvertionSupported[0][1][1][2] = 1;
  EXPECT_EQ(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationOther), nullptr);
  RImage::mConvertionSupported[0][1][1][2] = 0;
}

TEST(RImageFieldsTest, CombinationsThatAHostMarksFollowTheHeights) {
  // Field to frame by averaging: interpolation 1, but the height stays.
  const ProbePtr field = MakeTyped(kImageTypeField, 4);
  RImage::mConvertionSupported[1][0][3][1] = 1;
  const ImagePtr frame(field->CloneFromType(kImageTypeFrame, kInterleaveAverage, kInterpolationDouble));
  RImage::mConvertionSupported[1][0][3][1] = 0;
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->GetHeight(), 4);
}

TEST(RImageFieldsTest, DoubledHeightsBeyondTheRangeAreRefused) {
  const ProbePtr field = MakeImage(kImageFormatEmpty, 1, INT_MAX / 2 + 1);
  field->mImageType = kImageTypeField;
  EXPECT_EQ(field->CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationDouble), nullptr);
}

TEST(RImageFieldsTest, EmptyFramesHaveEmptyFields) {
  for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {0, 0}}) {
    const ProbePtr image = MakeImage(kImageFormatRGB, width, height);
    const ImagePtr field(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone));
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->GetHeight(), height / 2);
  }
}

TEST(RImageFieldsTest, FrameWithoutStorageIsRefused) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 4);
  image->Clear();
  EXPECT_EQ(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone), nullptr);
}

TEST(RImageFieldsTest, GetImageFieldsNeedsADestination) {
  const ProbePtr image = MakeTyped(kImageTypeFrame, 4);
  EXPECT_FALSE(image->GetImageFields(nullptr, kImageTypeField, kInterleaveFieldOne));
  const ProbePtr without = MakeTyped(kImageTypeField, 2);
  without->Clear();
  EXPECT_FALSE(image->GetImageFields(without.get(), kImageTypeField, kInterleaveFieldOne));
}

// --- The row loops by themselves: nothing is written outside the destination.

struct Loop {
  int sourceRows;
  int destinationRows;
};

class RImageFieldLoopTest : public testing::TestWithParam<std::tuple<int, int>> {
 protected:
  static constexpr int kRow = 3;
  int SourceRows() const { return std::get<0>(GetParam()); }
  int DestinationRows() const { return std::get<1>(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(, RImageFieldLoopTest, testing::Combine(testing::Range(0, 6), testing::Range(0, 7)),
                         [](const auto& testCase) {
                           return std::to_string(std::get<0>(testCase.param)) + "RowsInto" +
                                  std::to_string(std::get<1>(testCase.param));
                         });

TEST_P(RImageFieldLoopTest, ExtractFieldStaysInside) {
  for (const kImageType sourceType : {kImageTypeFrame, kImageTypeField}) {
    for (const kImageType type : {kImageTypeFrame, kImageTypeField}) {
      ProbeImage image;
      image.mImageType = sourceType;
      Pixels source = NoisePixels(static_cast<std::size_t>(kRow * SourceRows()) + 1);
      Pixels destination(static_cast<std::size_t>(kRow * DestinationRows()) + 20, 0x44);
      image.ExtractField(destination.data(), type, source.data(), source.data() + kRow * SourceRows(), kRow,
                         destination.data() + kRow * DestinationRows());
      Pixels expected;
      for (int row = 0; row < SourceRows(); row += sourceType == kImageTypeFrame ? 2 : 1) {
        for (int copy = 0; copy < (type == kImageTypeFrame ? 2 : 1); ++copy) {
          expected.insert(expected.end(), &source[static_cast<std::size_t>(kRow * row)],
                          &source[static_cast<std::size_t>(kRow * row)] + kRow);
        }
      }
      const auto room = static_cast<std::size_t>(kRow * DestinationRows());
      const Pixels all = expected;
      if (expected.size() > room) expected.resize(room);
      expected.resize(destination.size(), 0x44);
      EXPECT_EQ(destination, expected);

      Pixels open(all.size() + 20, 0x44);
      image.ExtractField(open.data(), type, source.data(), source.data() + kRow * SourceRows(), kRow);
      EXPECT_EQ(Pixels(open.begin(), open.end() - 20), all) << "with room for all";
      EXPECT_EQ(Pixels(open.end() - 20, open.end()), Pixels(20, 0x44));
    }
  }
}

TEST_P(RImageFieldLoopTest, ExtractAverageStaysInside) {
  ProbeImage image;
  Pixels source = NoisePixels(static_cast<std::size_t>(kRow * SourceRows()) + 1);
  Pixels destination(static_cast<std::size_t>(kRow * DestinationRows()) + 20, 0x44);
  image.ExtractAverage(destination.data(), source.data(), source.data() + kRow * SourceRows(), kRow,
                       destination.data() + kRow * DestinationRows());
  Pixels expected;
  for (int row = 0; row < SourceRows(); row += 2) {
    const int partner = std::min(row + 1, SourceRows() - 1);
    for (int copy = 0; copy < 2; ++copy) {
      for (int i = 0; i < kRow; ++i) {
        expected.push_back(static_cast<unsigned char>((source[static_cast<std::size_t>(kRow * row + i)] +
                                                       source[static_cast<std::size_t>(kRow * partner + i)]) /
                                                      2));
      }
    }
  }
  const auto room = static_cast<std::size_t>(kRow * DestinationRows());
  const Pixels all = expected;
  if (expected.size() > room) expected.resize(room);
  expected.resize(destination.size(), 0x44);
  EXPECT_EQ(destination, expected);

  Pixels open(all.size() + 20, 0x44);
  image.ExtractAverage(open.data(), source.data(), source.data() + kRow * SourceRows(), kRow);
  EXPECT_EQ(Pixels(open.begin(), open.end() - 20), all) << "with room for all";
  EXPECT_EQ(Pixels(open.end() - 20, open.end()), Pixels(20, 0x44));
}

TEST(RImageFieldsTest, RowsWithoutBytesEndAtOnce) {
  ProbeImage image;
  unsigned char bytes[8] = {};
  image.ExtractField(bytes, kImageTypeFrame, bytes, bytes + 4, 0, bytes + 8);
  image.ExtractAverage(bytes, bytes, bytes + 4, -1, bytes + 8);
  image.ExtractField(bytes, kImageTypeFrame, bytes, bytes + 4, 0);
  image.ExtractAverage(bytes, bytes, bytes + 4, -1);
  EXPECT_EQ(Pixels(bytes, bytes + 8), Pixels(8, 0));
}

}  // namespace

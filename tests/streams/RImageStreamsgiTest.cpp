#include "streams/RImageStreamsgi.h"

#include <gtest/gtest.h>

#include "streams/SgiFormat.h"
#include "support/RunLengthEncoders.h"
#include "support/SgiBuilder.h"
#include "support/StreamReading.h"

namespace {

using test::Bytes;
using test::GreyPixels;
using test::PixelsOf;
using test::SgiBuilder;

RDestroyPtr<RImage> Read(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamsgi>(bytes, ".sgi"); }
RDestroyPtr<RImage> Read(const SgiBuilder& file) { return Read(file.Build()); }
Bytes PixelsOfFile(const SgiBuilder& file) { return PixelsOf(Read(file).get()); }

Bytes White(std::size_t pixels) { return Bytes(4 * pixels, 255); }

// --- Verbatim files

TEST(SgiVerbatim, GreyGoesToRedGreenAndBlue) {
  const auto image = Read(SgiBuilder::Verbatim(2, 2, 1, {1, 2, 3, 4}));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 2);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(PixelsOf(image.get()), GreyPixels({1, 2, 3, 4}));
}

TEST(SgiVerbatim, ThreeChannelsAreOpaque) {
  const Bytes samples = {10, 11, 20, 21, 30, 31};
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Verbatim(2, 1, 3, samples)), (Bytes{10, 20, 30, 255, 11, 21, 31, 255}));
}

TEST(SgiVerbatim, TheFourthChannelIsAlpha) {
  const Bytes samples = {10, 11, 20, 21, 30, 31, 40, 0};
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Verbatim(2, 1, 4, samples)), (Bytes{10, 20, 30, 40, 11, 21, 31, 0}));
}

TEST(SgiVerbatim, TheFirstStoredRowIsImageRowZero) {
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Verbatim(1, 3, 1, {7, 8, 9})), GreyPixels({7, 8, 9}));
}

TEST(SgiVerbatim, ChannelsFollowOneAnotherRowByRow) {
  const Bytes samples = {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24};  // 2 x 2 of red, green, blue
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Verbatim(2, 2, 3, samples)),
            (Bytes{1, 11, 21, 255, 2, 12, 22, 255, 3, 13, 23, 255, 4, 14, 24, 255}));
}

TEST(SgiVerbatim, SixteenBitSamplesKeepTheHighByte) {
  auto file = SgiBuilder::Verbatim(2, 2, 1, {1, 255, 2, 128, 3, 0, 4, 127});
  file.bpc = 2;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2, 3, 4}));
}

TEST(SgiVerbatim, OddSampleSizesPlaceRowsByTheStoredSizeAndReadTwoBytes) {
  auto file = SgiBuilder::Verbatim(2, 2, 1, {1, 91, 2, 92, 93, 94, 3, 95, 4, 96, 97, 98});
  file.bpc = 3;  // row 1 starts at 1 x 3 x 2
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2, 3, 4}));
  file.bpc = 0;  // every row starts at 0
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2, 1, 2}));
}

TEST(SgiVerbatim, ATruncatedFileLoadsAndRepeatsTheRowBefore) {
  const auto file = SgiBuilder::Verbatim(3, 3, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  const Bytes bytes = file.Build();
  EXPECT_EQ(PixelsOf(Read(test::First(bytes, bytes.size() - 4)).get()),
            GreyPixels({1, 2, 3, 4, 5, 3, 4, 5, 3}));
  EXPECT_EQ(
      PixelsOf(Read(test::First(bytes, bytes.size() - 7)).get()),
      test::Join({GreyPixels({1, 2}), White(1), GreyPixels({1, 2}), White(1), GreyPixels({1, 2}), White(1)}));
}

TEST(SgiVerbatim, HalfASampleOfSixteenBitsGivesItsHighByte) {
  auto file = SgiBuilder::Verbatim(3, 1, 1, {9, 0, 8});
  file.bpc = 2;
  EXPECT_EQ(PixelsOfFile(file), test::Join({GreyPixels({9, 8}), White(1)}));
}

TEST(SgiVerbatim, ImagesWithoutPixelsLoad) {
  const auto narrow = Read(SgiBuilder::Verbatim(0, 5, 3, {}));
  ASSERT_TRUE(narrow);
  EXPECT_EQ(narrow->GetHeight(), 5);
  EXPECT_TRUE(Read(SgiBuilder::Verbatim(5, 0, 4, {})));
}

// --- What the header decides

struct HeaderCase {
  const char* name;
  std::uint16_t magic, dimension, zsize;
  bool loads;
};

class SgiHeader : public testing::TestWithParam<HeaderCase> {};

TEST_P(SgiHeader, DecidesWhetherTheFileLoads) {
  auto file = SgiBuilder::Verbatim(2, 2, GetParam().zsize, Bytes(16, 5));
  file.magic = GetParam().magic;
  file.dimension = GetParam().dimension;
  EXPECT_EQ(Read(file) != nullptr, GetParam().loads);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, SgiHeader,
    testing::Values(
        HeaderCase{"Grey", 474, 3, 1, true}, HeaderCase{"Rgb", 474, 3, 3, true},
        HeaderCase{"Rgba", 474, 3, 4, true}, HeaderCase{"NoChannels", 474, 3, 0, false},
        HeaderCase{"TwoChannels", 474, 3, 2, false}, HeaderCase{"FiveChannels", 474, 3, 5, false},
        HeaderCase{"ManyChannels", 474, 3, 0x0103, false}, HeaderCase{"MaxChannels", 474, 3, 65535, false},
        HeaderCase{"OtherMagic", 475, 3, 3, false}, HeaderCase{"SwappedMagic", 0xDA01, 3, 3, false},
        HeaderCase{"DimensionTwo", 474, 2, 1, true}, HeaderCase{"DimensionOne", 474, 1, 1, true},
        HeaderCase{"DimensionZero", 474, 0, 1, true}, HeaderCase{"DimensionHuge", 474, 65535, 3, true},
        HeaderCase{"DimensionTwoOfThree", 474, 2, 3, true},
        HeaderCase{"ChannelsAreTestedAsStoredInDimensionTwo", 474, 2, 2, false},
        HeaderCase{"ChannelsAreTestedAsStoredInDimensionOne", 474, 1, 0, false}),
    [](const auto& row) { return row.param.name; });

TEST(SgiDimension, TwoMeansOneChannelWhateverIsStored) {
  auto file = SgiBuilder::Verbatim(2, 1, 3, {1, 2, 3, 4, 5, 6});
  file.dimension = 2;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2}));
}

TEST(SgiDimension, OneAndLessMeanOneRowWhateverIsStored) {
  for (const std::uint16_t dimension : {std::uint16_t{0}, std::uint16_t{1}}) {
    auto file = SgiBuilder::Verbatim(2, 9, 4, {1, 2, 3, 4, 5, 6});
    file.dimension = dimension;
    const auto image = Read(file);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->GetHeight(), 1);
    EXPECT_EQ(PixelsOf(image.get()), GreyPixels({1, 2}));
  }
}

TEST(SgiDimension, AboveThreeChangesNothing) {
  auto file = SgiBuilder::Verbatim(1, 2, 3, {1, 2, 3, 4, 5, 6});
  file.dimension = 4;
  EXPECT_EQ(PixelsOfFile(file), (Bytes{1, 3, 5, 255, 2, 4, 6, 255}));
}

TEST(SgiDimension, OneOfARunLengthCodedFileMakesATableOfOneEntry) {
  auto file = SgiBuilder::Rle(2, 5, 3, {{0x82, 6, 7, 0}});
  file.dimension = 1;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({6, 7}));
}

class SgiShortFile : public testing::TestWithParam<std::size_t> {};

TEST_P(SgiShortFile, WithoutAWholeHeaderIsRefused) {
  const Bytes bytes = SgiBuilder::Verbatim(1, 1, 1, {9}).Build();
  EXPECT_FALSE(Read(test::First(bytes, GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Size, SgiShortFile, testing::Values(0, 1, 2, 3, 4, 11, 12, 20, 511));

TEST(SgiShortFiles, TheHeaderAloneLoadsAsWhite) {
  const Bytes bytes = SgiBuilder::Verbatim(1, 2, 3, {}).Build();
  EXPECT_EQ(bytes.size(), 512u);
  EXPECT_EQ(PixelsOf(Read(bytes).get()), White(2));
}

// --- Run-length coded rows

TEST(SgiRle, LiteralsAndRunsFillARow) {
  // 2 literals, a run of 3, a literal of 1
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(6, 1, 1, {{0x82, 1, 2, 0x03, 9, 0x81, 4, 0}})),
            GreyPixels({1, 2, 9, 9, 9, 4}));
}

TEST(SgiRle, TheStartTableIsChannelMajor) {
  const std::vector<Bytes> rows = {{1, 10}, {1, 11}, {1, 20}, {1, 21}, {1, 30}, {1, 31}, {1, 40}, {1, 41}};
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(1, 2, 4, rows)), (Bytes{10, 20, 30, 40, 11, 21, 31, 41}));
}

TEST(SgiRle, RowsMayLieInAnyOrderAndShareData) {
  auto file = SgiBuilder::Rle(2, 3, 1, {{2, 5}, {2, 6}, {2, 7}});
  std::swap(file.rowStart[0], file.rowStart[2]);
  file.rowStart[1] = file.rowStart[0];
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({7, 7, 7, 7, 5, 5}));
}

TEST(SgiRle, TheLengthTableIsNotRead) {
  auto file = SgiBuilder::Rle(2, 2, 1, {{2, 5}, {2, 6}});
  file.rowLength.assign({0, 0xFFFFFFFF});
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({5, 5, 6, 6}));
}

TEST(SgiRle, SixteenBitRowsCountInTheLowByteAndKeepTheHighByte) {
  // Units of two bytes: 2 literals, a run of 2; the high bytes of the control units and the low bytes of the
  // samples are ignored.
  auto file = SgiBuilder::Rle(4, 1, 1, {{0x7F, 0x82, 1, 99, 2, 98, 0xFF, 0x02, 3, 97, 0, 0}});
  file.bpc = 2;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2, 3, 3}));
  file.bpc = 7;  // anything but 1 is two bytes a sample
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({1, 2, 3, 3}));
}

TEST(SgiRle, AZeroControlByteLeavesTheRestOfTheRowAsTheRowBefore) {
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(3, 2, 1, {{3, 7}, {1, 8, 0, 2, 9}})),
            GreyPixels({7, 7, 7, 8, 7, 7}));
}

TEST(SgiRle, AZeroControlByteInTheFirstRowLeavesWhite) {
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(3, 1, 1, {{0x81, 8, 0}})), test::Join({GreyPixels({8}), White(2)}));
}

TEST(SgiRle, AShortAlphaRowKeepsTheAlphaOfTheRowBefore) {
  const std::vector<Bytes> rows = {{2, 1}, {2, 1}, {2, 2}, {2, 2}, {2, 3}, {2, 3}, {0x82, 60, 61}, {0}};
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(2, 2, 4, rows)),
            (Bytes{1, 2, 3, 60, 1, 2, 3, 61, 1, 2, 3, 60, 1, 2, 3, 61}));
}

TEST(SgiRle, RunsPastTheRowAreClipped) {
  // A run of 127 and a literal of 3 in rows of 2: the pixels of the next row must stay its own.
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(2, 3, 1, {{127, 7}, {0x83, 1, 2, 3}, {2, 9}})),
            GreyPixels({7, 7, 1, 2, 9, 9}));
}

TEST(SgiRle, DataThatEndWithinARowLeaveTheRest) {
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(4, 2, 1, {{4, 5}, {0x84, 1, 2}})),
            GreyPixels({5, 5, 5, 5, 1, 2, 5, 5}));
  EXPECT_EQ(PixelsOfFile(SgiBuilder::Rle(4, 2, 1, {{4, 5}, {2, 1, 2}})),
            GreyPixels({5, 5, 5, 5, 1, 1, 5, 5}));
}

struct OffsetCase {
  const char* name;
  std::uint32_t offset;
};

class SgiOffset : public testing::TestWithParam<OffsetCase> {};

TEST_P(SgiOffset, OutsideTheDataLeavesTheRow) {
  auto file = SgiBuilder::Rle(2, 3, 1, {{2, 5}, {2, 6}, {2, 7}});
  file.rowStart[1] = GetParam().offset;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({5, 5, 5, 5, 7, 7}));
}

// The start table of three entries ends at 524, the file at 542.
INSTANTIATE_TEST_SUITE_P(Offsets, SgiOffset,
                         testing::Values(OffsetCase{"Zero", 0}, OffsetCase{"InTheHeader", 511},
                                         OffsetCase{"AtTheTable", 512}, OffsetCase{"InTheTable", 523},
                                         OffsetCase{"AtTheEnd", 542}, OffsetCase{"PastTheEnd", 543},
                                         OffsetCase{"FarPastTheEnd", 0x7FFFFFFF},
                                         OffsetCase{"Largest", 0xFFFFFFFF}),
                         [](const auto& row) { return row.param.name; });

TEST(SgiOffsets, MayPointIntoTheLengthTable) {
  auto file = SgiBuilder::Rle(2, 1, 1, {{2, 5}});
  file.rowStart[0] = 516;
  file.rowLength[0] = 0x02080000;
  EXPECT_EQ(PixelsOfFile(file), GreyPixels({8, 8}));
}

TEST(SgiTable, ThatIsCutShortCountsAsZero) {
  auto file = SgiBuilder::Rle(2, 3, 1, {{2, 5}, {2, 6}, {2, 7}});
  const Bytes bytes = file.Build();
  EXPECT_EQ(PixelsOf(Read(test::First(bytes, 512 + 6)).get()), White(6));
  EXPECT_EQ(PixelsOf(Read(test::First(bytes, 512)).get()), White(6));
}

class SgiStorageAboveOne : public testing::TestWithParam<int> {};

TEST_P(SgiStorageAboveOne, IsOpaqueWhite) {
  auto file = SgiBuilder::Rle(2, 2, 3, {{2, 1}, {2, 2}, {2, 3}, {2, 4}, {2, 5}, {2, 6}});
  file.storage = static_cast<std::uint8_t>(GetParam());
  EXPECT_EQ(PixelsOfFile(file), White(4));
  file.zsize = 1;
  EXPECT_EQ(PixelsOfFile(file), White(4));
}

INSTANTIATE_TEST_SUITE_P(Storage, SgiStorageAboveOne, testing::Values(2, 3, 128, 255));

// --- Claims

TEST(SgiClaim, OfMoreThan65536BytesAFileByteIsRefused) {
  auto file = SgiBuilder::Verbatim(4096, 2048, 3, {});  // 512 x 65,536 bytes
  file.storage = 2;
  EXPECT_TRUE(Read(file));
  file.xsize = 397;
  file.ysize = 21130;  // 8 bytes more
  EXPECT_FALSE(Read(file));
  file.xsize = file.ysize = 65535;
  EXPECT_FALSE(Read(file));
}

// --- The stream

TEST(RImageStreamsgi, HasTheClassInformation) {
  RImageStreamsgi stream;
  EXPECT_STREQ(stream.GetClassIdName(), "RImageStreamsgi");
  EXPECT_TRUE(stream.Is(RImageStream::ClassId));
  EXPECT_TRUE(stream.Is(RStream::ClassId));
  EXPECT_FALSE(stream.Is(RImage::ClassId));
}

TEST(RImageStreamsgi, HasNoWriter) {
  RImageStreamsgi stream;
  RDestroyPtr<RImage> image(RImageCreate());
  stream.SetImage(image.get());
  const test::TemporaryFolder folder;
  stream.SetFileName(folder.Path("out.sgi").c_str());
  EXPECT_FALSE(stream.StreamCreate(nullptr));
  EXPECT_FALSE(std::filesystem::exists(folder.Path("out.sgi")));
}

TEST(RImageStreamsgi, FailsWithoutAFile) {
  const test::TemporaryFolder folder;
  EXPECT_FALSE(test::ReadWith<RImageStreamsgi>(folder.Path("missing.sgi")));
  EXPECT_FALSE(test::ReadWith<RImageStreamsgi>(folder.Path("")));
  RImageStreamsgi unnamed;
  EXPECT_FALSE(unnamed.StreamOpen(nullptr));
  RDestroyPtr<RImage>(unnamed.GetImage(false));
}

TEST(RImageStreamsgi, FillsTheImageThatIsAttached) {
  RDestroyPtr<RImage> image(RImageCreate());
  ASSERT_TRUE(image->Init(kImageFormatRGB, 7, 7, 3, 0, true, kImageTypeField, kInterleaveFieldTwo,
                          kInterpolationDouble, RImage::kIncarnationRaw));
  const test::TemporaryFolder folder;
  RImageStreamsgi stream;
  stream.SetFileName(folder.Write("a.sgi", SgiBuilder::Verbatim(1, 1, 1, {42}).Build()).c_str());
  stream.SetImage(image.get());
  ASSERT_TRUE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), image.get());
  EXPECT_EQ(PixelsOf(image.get()), GreyPixels({42}));
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(image->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(image->GetPadWidth(), 0);
}

TEST(RImageStreamsgi, FailsForAnImageOfNoLayers) {
  RDestroyPtr<RImage> image(RImageCreate());
  image->SetDepth(0);
  const test::TemporaryFolder folder;
  RImageStreamsgi stream;
  stream.SetFileName(folder.Write("a.sgi", SgiBuilder::Verbatim(1, 1, 1, {42}).Build()).c_str());
  stream.SetImage(image.get());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
}

TEST(RImageStreamsgi, LeavesAnEmptyImageAttachedAfterAFailure) {
  const test::TemporaryFolder folder;
  RImageStreamsgi stream;
  stream.SetFileName(folder.Write("a.sgi", {1, 2, 3}).c_str());
  ASSERT_FALSE(stream.StreamOpen(nullptr));
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetWidth(), 0);
}

// --- The record and its rows

TEST(SgiImageHeader, FetchRowTellsBadArguments) {
  const Bytes bytes = SgiBuilder::Verbatim(2, 2, 3, Bytes(12, 1)).Build();
  SgiImageHeader file;
  ASSERT_TRUE(file.Read(bytes));
  const Bytes before(2, 66);
  Bytes row(2, 77);
  EXPECT_EQ(file.FetchRow(row, before, -1, 0), -1);
  EXPECT_EQ(file.FetchRow(row, before, 2, 0), -1);
  EXPECT_EQ(file.FetchRow(row, before, 0, -1), -1);
  EXPECT_EQ(file.FetchRow(row, before, 0, 3), -1);
  EXPECT_EQ(file.FetchRow({}, before, 0, 0), -1);
  EXPECT_EQ(file.FetchRow(row, {}, 0, 0), -1);
  EXPECT_EQ(row, Bytes(2, 77));
  EXPECT_EQ(file.FetchRow(row, before, 1, 2), 0);
  EXPECT_EQ(row, Bytes(2, 1));
}

TEST(SgiImageHeader, FetchRowTellsWhetherTheRunsFilledTheRow) {
  const Bytes bytes = SgiBuilder::Rle(2, 4, 1, {{2, 5}, {3, 6}, {0}, {1, 7}}).Build();
  SgiImageHeader file;
  ASSERT_TRUE(file.Read(bytes));
  const Bytes before = {66, 67};
  Bytes row(2, 77);
  EXPECT_EQ(file.FetchRow(row, before, 0, 0), 1);
  EXPECT_EQ(file.FetchRow(row, before, 1, 0), 0);
  EXPECT_EQ(row, (Bytes{6, 6}));
  EXPECT_EQ(file.FetchRow(row, before, 2, 0), 0);
  EXPECT_EQ(row, (Bytes{66, 67}));
  EXPECT_EQ(file.FetchRow(row, before, 3, 0), 0);
  EXPECT_EQ(row, (Bytes{7, 67}));
}

TEST(SgiImageHeader, KnowsTheDataBase) {
  SgiImageHeader file;
  const Bytes verbatim = SgiBuilder::Verbatim(2, 2, 3, Bytes(12, 1)).Build();
  ASSERT_TRUE(file.Read(verbatim));
  EXPECT_EQ(file.dataBase, 512u);
  EXPECT_EQ(file.data.size(), 12u);
  const Bytes rle = SgiBuilder::Rle(2, 2, 1, {{2, 5}, {2, 6}}).Build();
  ASSERT_TRUE(file.Read(rle));
  EXPECT_EQ(file.dataBase, 512u + 4 * 2);
  EXPECT_EQ(file.rowStart.size(), 8u);
}

TEST(SgiDecodeRow, OfNoPixelsIsComplete) {
  RRowWriter out;
  EXPECT_TRUE(SgiDecodeRow<1>(RByteReader({}), out));
}

// --- Whole pictures against an encoder

struct RoundTripCase {
  const char* name;
  unsigned width, channels;
  bool wide;
};

class SgiRoundTrip : public testing::TestWithParam<RoundTripCase> {};

TEST_P(SgiRoundTrip, GivesTheSamplesBack) {
  const auto [name, width, channels, wide] = GetParam();
  constexpr unsigned kHeight = 40;
  const Bytes samples = test::RunnySamples(std::size_t{width} * kHeight * channels, width);
  std::vector<Bytes> rows;
  for (std::size_t i = 0; i < samples.size(); i += width)
    rows.push_back(test::EncodeSgiRow({&samples[i], width}, wide));
  auto file = SgiBuilder::Rle(width, kHeight, channels, rows);
  file.bpc = wide ? 2 : 1;
  const Bytes pixels = PixelsOfFile(file);
  ASSERT_EQ(pixels.size(), std::size_t{4} * width * kHeight);
  const std::size_t plane = std::size_t{width} * kHeight;
  for (std::size_t i = 0; i < plane; ++i) {
    for (unsigned z = 0; z < channels; ++z)
      ASSERT_EQ(pixels[4 * i + z], samples[z * plane + i]) << i << ' ' << z;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, SgiRoundTrip,
    testing::Values(RoundTripCase{"OnePixelWide", 1, 3, false}, RoundTripCase{"Narrow", 31, 3, false},
                    RoundTripCase{"OneBlock", 128, 4, false}, RoundTripCase{"Wide", 1000, 4, false},
                    RoundTripCase{"Grey", 257, 1, false}, RoundTripCase{"NarrowWords", 7, 3, true},
                    RoundTripCase{"WideWords", 700, 4, true}),
    [](const auto& row) { return row.param.name; });

}  // namespace

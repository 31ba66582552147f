#include "streams/RImageStreamiff.h"

#include <gtest/gtest.h>

#include "support/IlbmBuilder.h"
#include "support/Random.h"
#include "support/RunLengthEncoders.h"
#include "support/StreamReading.h"

namespace {

using test::Bytes;
using test::IffChunk;
using test::IlbmBmhd;
using test::IlbmBuilder;
using test::PixelsOf;

RDestroyPtr<RImage> Read(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamiff>(bytes, ".iff"); }
RDestroyPtr<RImage> Read(const IlbmBuilder& file) { return Read(file.Build()); }
Bytes PixelsOfFile(const IlbmBuilder& file) { return PixelsOf(Read(file).get()); }

// Colour i is (i, 100 + i, 200 + i), so that pixels show their numbers.
Bytes Colours(unsigned count) {
  Bytes colours;
  for (unsigned i = 0; i < count; ++i) {
    for (const unsigned base : {0U, 100U, 200U}) colours.push_back(static_cast<unsigned char>(base + i));
  }
  return colours;
}

Bytes Pixels(const std::vector<int>& numbers) {
  Bytes pixels;
  for (const int i : numbers) {
    for (const int base : {0, 100, 200}) pixels.push_back(static_cast<unsigned char>(base + i));
    pixels.push_back(255);
  }
  return pixels;
}

// --- Pictures

TEST(IlbmPicture, IsRgbaWithTheFirstRowLast) {
  const auto image = Read(IlbmBuilder::Make({8, 2, 1}, Colours(2), {0xFF, 0, 0x01, 0}));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 8);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(PixelsOf(image.get()), Pixels({0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1}));
}

TEST(IlbmPicture, ARowOfTenPixelsHasTwoBytes) {
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({10, 1, 1}, Colours(2), {0b10110001, 0b01111111})),
            Pixels({1, 0, 1, 1, 0, 0, 0, 1, 0, 1}));
}

TEST(IlbmPicture, BitsOfAPixelComeFromThePlanesInOrder) {
  // Plane 0 has bit 0. Three planes of 16 pixels, of which three are in the picture.
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({3, 1, 3}, Colours(8), {0x80, 0, 0xC0, 0, 0xE0, 0})),
            Pixels({7, 6, 4}));
}

class IlbmDepth : public testing::TestWithParam<int> {};

TEST_P(IlbmDepth, GivesEveryNumber) {
  const int depth = GetParam();
  constexpr unsigned kWidth = 1030;  // over several blocks of columns, with an odd end
  test::Random random(static_cast<unsigned>(depth));
  std::vector<int> numbers(kWidth);
  for (int& number : numbers) number = static_cast<int>(random.Below(1U << depth));
  const std::size_t bytesPerRow = IlbmHeader{.width = kWidth}.BytesPerRow();
  Bytes row(bytesPerRow * std::size_t(depth) + 1);  // the scan does not reach an empty body
  for (std::size_t x = 0; x < kWidth; ++x) {
    for (std::size_t p = 0; p < std::size_t(depth); ++p) {
      if (numbers[x] >> p & 1) row[p * bytesPerRow + x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
    }
  }
  const auto planes = static_cast<std::uint8_t>(depth);
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({kWidth, 1, planes}, Colours(256), row)), Pixels(numbers));
}

INSTANTIATE_TEST_SUITE_P(Planes, IlbmDepth, testing::Range(0, 9));

struct RowSizeCase {
  std::uint16_t width, bytes;
};

class IlbmRowSize : public testing::TestWithParam<RowSizeCase> {};

TEST_P(IlbmRowSize, IsWholeWords) {
  EXPECT_EQ(IlbmHeader{.width = GetParam().width}.BytesPerRow(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Widths, IlbmRowSize,
                         testing::Values(RowSizeCase{0, 0}, RowSizeCase{1, 2}, RowSizeCase{8, 2},
                                         RowSizeCase{10, 2}, RowSizeCase{16, 2}, RowSizeCase{17, 4},
                                         RowSizeCase{320, 40}, RowSizeCase{65535, 8192}));

TEST(IlbmPicture, WithoutPixelsLoads) {
  EXPECT_TRUE(Read(IlbmBuilder::Make({0, 3, 1}, Colours(2), {0})));
  EXPECT_TRUE(Read(IlbmBuilder::Make({3, 0, 1}, Colours(2), {0})));
}

TEST(IlbmPicture, AMaskPlaneIsNotLookedFor) {
  IlbmBmhd header = {8, 2, 1};
  header.masking = 1;
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make(header, Colours(2), {0x80, 0, 0x40, 0})),
            Pixels({0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}));
}

// --- The colour map

TEST(IlbmColours, ThatTheFileDoesNotHaveAreBlack) {
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({2, 1, 1}, {7, 8, 9, 10}, {0x40, 0})),
            (Bytes{7, 8, 9, 255, 10, 0, 0, 255}));
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({1, 1, 1}, {}, {0x80, 0})), (Bytes{0, 0, 0, 255}));
}

TEST(IlbmColours, ThirtyTwoLoad) {
  EXPECT_EQ(
      PixelsOfFile(IlbmBuilder::Make({1, 1, 5}, Colours(32), {0x80, 0, 0x80, 0, 0x80, 0, 0x80, 0, 0x80, 0})),
      Pixels({31}));
}

TEST(IlbmColours, OfASecondMapReplaceTheFirstOnes) {
  auto file = IlbmBuilder::Make({2, 1, 1}, {1, 2, 3, 4, 5, 6}, {0x40, 0});
  file.chunks.insert(file.chunks.begin() + 2, {"CMAP", {9, 9, 9}});
  EXPECT_EQ(PixelsOfFile(file), (Bytes{9, 9, 9, 255, 4, 5, 6, 255}));
}

TEST(IlbmColours, DoNotStayForTheNextFile) {
  const test::TemporaryFolder folder;
  const std::string first =
      folder.Write("1.iff", IlbmBuilder::Make({1, 1, 1}, {1, 1, 1, 2, 2, 2}, {0x80, 0}).Build());
  const std::string second =
      folder.Write("2.iff", IlbmBuilder::Make({1, 1, 1}, {1, 1, 1}, {0x80, 0}).Build());
  RImageStreamiff stream;
  stream.SetFileName(first.c_str());
  ASSERT_TRUE(stream.StreamOpen(nullptr));
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{2, 2, 2, 255}));
  stream.SetFileName(second.c_str());
  ASSERT_TRUE(stream.StreamOpen(nullptr));
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{0, 0, 0, 255}));
}

TEST(IlbmColours, AMapOfMoreThan768BytesIsPassedByItsSizeLessFour) {
  // 800 bytes: 768 colours, then 796 bytes are passed.
  Bytes map = Colours(256);
  map.resize(768 + 796);
  auto file = IlbmBuilder::Make({1, 1, 1}, map, {0x80, 0});
  file.chunks[1].size = 800;
  EXPECT_EQ(PixelsOfFile(file), Pixels({1}));
  file.chunks[1].data.resize(800);  // where a reader that passes what it did not read would look for BODY
  EXPECT_FALSE(Read(file));
  file.chunks[1].data.resize(768 + 795);
  EXPECT_FALSE(Read(file));
}

TEST(IlbmColours, AMapOfExactly768BytesEndsThere) {
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({1, 1, 1}, Colours(256), {0x80, 0})), Pixels({1}));
}

// --- Chunks

IlbmBuilder Small() { return IlbmBuilder::Make({8, 1, 1}, Colours(2), {0x0F, 0}); }
const Bytes kSmallPixels = Pixels({0, 0, 0, 0, 1, 1, 1, 1});

TEST(IlbmChunks, OfOtherKindsAreSkipped) {
  auto file = Small();
  file.chunks.insert(file.chunks.begin(), {"ANNO", Bytes(13, 'x')});
  file.chunks.insert(file.chunks.begin() + 2, {"CAMG", Bytes(4, 0)});
  file.chunks.insert(file.chunks.begin() + 4, {"CRNG", {}});
  EXPECT_EQ(PixelsOfFile(file), kSmallPixels);
}

// The modes of the display, hold-and-modify (0x800) and half-brite (0x80) among them, give the planes a
// meaning that is not followed: planes are colour numbers always, and a number without a colour is black.
TEST(IlbmChunks, TheModeOfTheDisplayDoesNotCount) {
  const Bytes body = {0xE0, 0, 0x60, 0, 0, 0, 0, 0, 0x40, 0, 0x20, 0};  // the numbers 1, 19 and 35
  auto file = IlbmBuilder::Make({3, 1, 6}, Colours(20), body);
  Bytes expected = Pixels({1, 19});
  expected.insert(expected.end(), {0, 0, 0, 255});
  for (const unsigned char mode : Bytes{0x00, 0x08}) {
    file.chunks.insert(file.chunks.begin() + 2, {"CAMG", {0, 0, mode, 0x80}});
    EXPECT_EQ(PixelsOfFile(file), expected);
    file.chunks.erase(file.chunks.begin() + 2);
  }
}

TEST(IlbmChunks, PadBytesAreNotSkipped) {
  auto file = Small();
  file.chunks.insert(file.chunks.begin(), {"ANNO", Bytes(4, 'x')});
  file.chunks[0].size = 3;  // the fourth byte pads
  EXPECT_FALSE(Read(file));
}

TEST(IlbmChunks, TheHeaderIsTwentyBytesWhateverItsSizeSays) {
  auto file = Small();
  file.chunks[0].size = 2;
  EXPECT_EQ(PixelsOfFile(file), kSmallPixels);
  file.chunks[0].size = std::nullopt;
  file.chunks[0].data.resize(22);
  EXPECT_FALSE(Read(file));
}

TEST(IlbmChunks, ALaterHeaderCounts) {
  auto file = Small();
  file.chunks.insert(file.chunks.begin() + 2, IlbmBmhd{4, 1, 1}.Chunk());
  EXPECT_EQ(PixelsOfFile(file), Pixels({0, 0, 0, 0}));
}

TEST(IlbmChunks, TheBodysSizeDoesNotCount) {
  for (const std::uint32_t size : {0U, 1U, 0xFFFFFFFFU}) {
    auto file = Small();
    file.chunks[2].size = size;
    EXPECT_EQ(PixelsOfFile(file), kSmallPixels) << size;
  }
}

TEST(IlbmChunks, WhatFollowsTheBodyDoesNotCount) {
  auto file = Small();
  file.chunks.push_back({"ZZZZ", Bytes(7), 0xFFFFFFFF});
  EXPECT_EQ(PixelsOfFile(file), kSmallPixels);
}

struct ChunkCase {
  const char* name;
  void (*spoil)(IlbmBuilder&);
};

TEST(IlbmCompression, ZeroAndOneReadABodyThatSuitsBoth) {
  for (const std::uint8_t compression : {std::uint8_t{0}, std::uint8_t{1}}) {
    auto file = Small();
    file.chunks[0] = IlbmBmhd{8, 1, 1, 0, compression}.Chunk();
    file.chunks[2].data = {1, 0x0F, 0};
    EXPECT_TRUE(Read(file)) << int{compression};
  }
}

class IlbmRefusal : public testing::TestWithParam<ChunkCase> {};

TEST_P(IlbmRefusal, FailsAndAttachesNothing) {
  auto file = Small();
  GetParam().spoil(file);
  const test::TemporaryFolder folder;
  RImageStreamiff stream;
  stream.SetFileName(folder.Write("a.iff", file.Build()).c_str());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), nullptr);
}

// A row for a reader of plain rows, and for one of ByteRun1.
const Bytes kAnyBody = {1, 0x0F, 0};

const ChunkCase kRefusals[] = {
    {"OtherForm", [](IlbmBuilder& f) { f.form = "LIST"; }},
    {"OtherType", [](IlbmBuilder& f) { f.type = "PBM "; }},
    {"NoHeader", [](IlbmBuilder& f) { f.chunks.erase(f.chunks.begin()); }},
    {"NoColours", [](IlbmBuilder& f) { f.chunks.erase(f.chunks.begin() + 1); }},
    {"NoBody", [](IlbmBuilder& f) { f.chunks.pop_back(); }},
    {"NoChunks", [](IlbmBuilder& f) { f.chunks.clear(); }},
    {"ColoursBeforeTheHeader", [](IlbmBuilder& f) { std::swap(f.chunks[0], f.chunks[1]); }},
    {"BodyBeforeTheColours", [](IlbmBuilder& f) { std::swap(f.chunks[1], f.chunks[2]); }},
    {"HeaderCutShort", [](IlbmBuilder& f) { f.chunks.resize(1), f.chunks[0].data.resize(19); }},
    {"ColoursCutShort", [](IlbmBuilder& f) { f.chunks.resize(2), f.chunks[1].size = 7; }},
    {"LargeMapCutShort", [](IlbmBuilder& f) { f.chunks.resize(2), f.chunks[1].size = 769; }},
    {"BodyCutShort", [](IlbmBuilder& f) { f.chunks[2].data.pop_back(); }},
    {"ChunkHeaderCutShort",
     [](IlbmBuilder& f) {
       f.chunks[2] = {"BOD", {}}, f.size = 100;
     }},
    {"ChunkPastTheEnd",
     [](IlbmBuilder& f) {
       f.chunks.insert(f.chunks.begin(), {"ANNO", {}, 4000});
     }},
    {"ChunkOfFFFFFFF8",
     [](IlbmBuilder& f) {
       f.chunks.insert(f.chunks.begin(), {"ANNO", {}, 0xFFFFFFF8});
     }},
    {"ChunkOfFFFFFFFF",
     [](IlbmBuilder& f) {
       f.chunks.insert(f.chunks.begin(), {"ANNO", {}, 0xFFFFFFFF});
     }},
    {"ColoursOfFFFFFFFF", [](IlbmBuilder& f) { f.chunks[1].size = 0xFFFFFFFF; }},
    {"FormOfZero", [](IlbmBuilder& f) { f.size = 0; }},
    {"FormOfTwelve", [](IlbmBuilder& f) { f.size = 12; }},
    // Chunks of 28 and 14 bytes come before BODY: the scan gives up when it has passed the form's size
    // less 12.
    {"FormThatEndsAtTheBody", [](IlbmBuilder& f) { f.size = 42 + 12; }},
    {"EmptyBody",
     [](IlbmBuilder& f) {
       f.chunks[0] = IlbmBmhd{8, 1, 0}.Chunk(), f.chunks[2].data.clear();
     }},
    {"CompressionTwo",
     [](IlbmBuilder& f) {
       f.chunks[0] = IlbmBmhd{8, 1, 1, 0, 2}.Chunk(), f.chunks[2].data = kAnyBody;
     }},
    {"Compression255",
     [](IlbmBuilder& f) {
       f.chunks[0] = IlbmBmhd{8, 1, 1, 0, 255}.Chunk(), f.chunks[2].data = kAnyBody;
     }},
    {"NinePlanes",
     [](IlbmBuilder& f) {
       f.chunks[0] = IlbmBmhd{8, 1, 9}.Chunk(), f.chunks[2].data.resize(100);
     }},
    {"Rows1025",
     [](IlbmBuilder& f) {
       f.chunks[0] = IlbmBmhd{8, 1025, 1}.Chunk(), f.chunks[2].data.resize(5000);
     }},
};

INSTANTIATE_TEST_SUITE_P(Files, IlbmRefusal, testing::ValuesIn(kRefusals),
                         [](const auto& row) { return row.param.name; });

TEST(IlbmForm, OneByteLargerThanTheChunksBeforeTheBodyLoads) {
  auto file = Small();
  file.size = 42 + 12 + 1;
  EXPECT_EQ(PixelsOfFile(file), kSmallPixels);
  file.size = 0xFFFFFFFF;
  EXPECT_EQ(PixelsOfFile(file), kSmallPixels);
}

TEST(IlbmForm, CutShortFails) {
  const Bytes bytes = Small().Build();
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_FALSE(Read(test::First(bytes, size))) << size;
}

TEST(IlbmLimits, EightPlanesAnd1024RowsLoad) {
  const auto image = Read(IlbmBuilder::Make({8, 1024, 8}, Colours(2), Bytes(1024 * 16)));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetHeight(), 1024);
}

TEST(IlbmLimits, ClaimsOfMoreThan65536BytesAFileByteAreRefused) {
  // Without planes a body needs no bytes: the file has 69 and may claim 1104 x 1024 pixels.
  auto file = IlbmBuilder::Make({1104, 1024, 0}, Bytes(12), {0});
  ASSERT_EQ(file.Build().size(), 69U);
  EXPECT_TRUE(Read(file));
  file.chunks[0] = IlbmBmhd{1105, 1024, 0}.Chunk();
  EXPECT_FALSE(Read(file));
}

// --- ByteRun1

IlbmBuilder Packed(std::uint16_t width, std::uint16_t height, Bytes body) {
  return IlbmBuilder::Make({width, height, 1, 0, 1}, Colours(2), std::move(body));
}

TEST(IlbmByteRun1, MixesLiteralsAndRuns) {
  // 1 literal, a run of 2, a literal
  EXPECT_EQ(PixelsOfFile(Packed(32, 1, {0, 0x80, 255, 0xFF, 0, 0x01})),
            Pixels({1, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1,
                    1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 1}));
}

TEST(IlbmByteRun1, ControlByte128IsARunOf129) {
  Bytes row(130);
  RRowWriter out(row);
  const Bytes packed = {128, 5, 0, 7};
  RByteReader in(packed);
  EXPECT_TRUE(IlbmDecodeRow(in, out));
  EXPECT_EQ(row, test::Join({Bytes(129, 5), {7}}));
}

TEST(IlbmByteRun1, TheLongestLiteralHas128Bytes) {
  Bytes packed(1, 127);
  for (int i = 0; i < 128; ++i) packed.push_back(static_cast<unsigned char>(i));
  Bytes row(128);
  RRowWriter out(row);
  RByteReader in(packed);
  EXPECT_TRUE(IlbmDecodeRow(in, out));
  EXPECT_EQ(row, Bytes(packed.begin() + 1, packed.end()));
}

TEST(IlbmByteRun1, ARowTakesAllItsPlanes) {
  EXPECT_EQ(PixelsOfFile(IlbmBuilder::Make({1, 2, 2, 0, 1}, Colours(4), {253, 0x80, 253, 0x00})),
            Pixels({0, 3}));
}

TEST(IlbmByteRun1, RunsPastTheRowAreDropped) {
  // A run of 129 and a literal of 3 in rows of 2 bytes: the next row starts with its own control byte.
  EXPECT_EQ(PixelsOfFile(Packed(1, 3, {128, 0x80, 2, 0x00, 0x80, 0x80, 255, 0x80})), Pixels({1, 0, 1}));
}

TEST(IlbmByteRun1, DataThatEndWithinARowFail) {
  EXPECT_TRUE(Read(Packed(32, 1, {255, 1, 1, 2, 3})));
  EXPECT_FALSE(Read(Packed(32, 1, {255, 1, 1, 2})));
  EXPECT_FALSE(Read(Packed(32, 1, {255, 1, 1})));
  EXPECT_FALSE(Read(Packed(32, 1, {255, 1})));
  EXPECT_FALSE(Read(Packed(32, 1, {255})));
  EXPECT_FALSE(Read(Packed(32, 1, {})));
}

class IlbmRoundTrip : public testing::TestWithParam<std::uint16_t> {};

TEST_P(IlbmRoundTrip, PackedRowsGiveThePictureOfPlainOnes) {
  constexpr std::uint16_t kHeight = 20;
  const std::uint16_t width = GetParam();  // of which 8 planes have as many bytes
  Bytes plain;
  Bytes packed;
  for (unsigned y = 0; y < kHeight; ++y) {
    const Bytes row = test::RunnySamples(width, y);
    plain = test::Join({plain, row});
    packed = test::Join({packed, test::EncodeByteRun1(row)});
  }
  const Bytes pixels = PixelsOfFile(IlbmBuilder::Make({width, kHeight, 8, 0, 1}, Colours(256), packed));
  EXPECT_FALSE(pixels.empty());
  EXPECT_EQ(pixels, PixelsOfFile(IlbmBuilder::Make({width, kHeight, 8, 0, 0}, Colours(256), plain)));
}

INSTANTIATE_TEST_SUITE_P(Widths, IlbmRoundTrip, testing::Values(16, 144, 1040, 3008));

// --- The stream

TEST(RImageStreamiff, HasTheClassInformation) {
  RImageStreamiff stream;
  EXPECT_STREQ(stream.GetClassIdName(), "RImageStreamiff");
  EXPECT_TRUE(stream.Is(RImageStream::ClassId));
  EXPECT_FALSE(stream.Is(RImage::ClassId));
}

TEST(RImageStreamiff, FailsWithoutAFile) {
  RImageStreamiff stream;
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  stream.SetFileName("/nowhere/a.iff");
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), nullptr);
}

TEST(RImageStreamiff, FailsForAnImageOfNoLayers) {
  RDestroyPtr<RImage> image(RImageCreate());
  image->SetDepth(0);
  const test::TemporaryFolder folder;
  RImageStreamiff stream;
  stream.SetFileName(folder.Write("a.iff", Small().Build()).c_str());
  stream.SetImage(image.get());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
}

TEST(RImageStreamiff, TheReadersPartsFailOnAStreamThatIsNotOpen) {
  RImageStreamiff stream;
  EXPECT_FALSE(stream.read_ilbm(100));
  EXPECT_FALSE(stream.read_ilbm(0));
  EXPECT_FALSE(stream.read_body(100));
}

TEST(RImageStreamiff, FreePlanesClearsEveryRow) {
  RImageStreamiff stream;
  RPrivateBitMap planes;
  planes.row[0].reset(new unsigned char[10]);
  planes.row[1023].reset(new unsigned char[10]);
  stream.free_planes(&planes);
  for (const auto& row : planes.row) EXPECT_EQ(row, nullptr);
  stream.free_planes(nullptr);
}

TEST(RImageStreamiff, TheWriterIsEmpty) {
  const test::TemporaryFolder folder;
  RImageStreamiff stream;
  RPrivateBitMap planes;
  const std::string path = folder.Path("out.iff");
  EXPECT_EQ(stream.Write(path.c_str(), nullptr, &planes, 1, 2, 3, 4), 1);
  EXPECT_EQ(stream.pack_bitmap(nullptr, &planes), 0);
  EXPECT_EQ(stream.pack_row(nullptr, nullptr, 5), 0);
  stream.SetFileName(path.c_str());
  EXPECT_FALSE(stream.StreamCreate(nullptr));
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace

// Files that were made to break their reader. Each is read in a process of its own, whose processor time and
// memory are limited, and again in this one for the sanitizers to look at.
#include <gtest/gtest.h>

#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "support/ChildCost.h"
#include "support/IlbmBuilder.h"
#include "support/PicBuilder.h"
#include "support/Random.h"
#include "support/RunLengthEncoders.h"
#include "support/SgiBuilder.h"
#include "support/StreamReading.h"

namespace {

using test::Bytes;
using test::IlbmBmhd;
using test::IlbmBuilder;
using test::PicBuilder;
using test::SgiBuilder;

using Reader = RDestroyPtr<RImage> (*)(const Bytes& bytes);

RDestroyPtr<RImage> Sgi(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamsgi>(bytes, ".sgi"); }
RDestroyPtr<RImage> Pic(const Bytes& bytes) { return test::ReadBytesWith<RImageStreampict>(bytes, ".pic"); }
RDestroyPtr<RImage> Iff(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamiff>(bytes, ".iff"); }
RDestroyPtr<RImage> Yuv(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamyuv>(bytes, ".yuv"); }

struct Attack {
  const char* name;
  Reader read;
  Bytes bytes;
  bool loads;
};

Bytes SgiFile(unsigned width, unsigned height, std::uint8_t storage) {
  auto file = SgiBuilder::Verbatim(width, height, 4, {});
  file.storage = storage;
  return file.Build();
}

// A run-length coded file with a table of `entries` equal offsets.
Bytes SgiTable(unsigned width, unsigned height, std::size_t entries, std::uint32_t offset, Bytes body = {}) {
  auto file = SgiBuilder::Verbatim(width, height, 4, std::move(body));
  file.storage = 1;
  file.rowStart.assign(entries, offset);
  return file.Build();
}

Bytes SgiRow(unsigned width, Bytes row) { return SgiBuilder::Rle(width, 1, 1, {std::move(row)}).Build(); }

Bytes PicFile(unsigned width, unsigned height, std::vector<test::PicPacket> packets, Bytes body) {
  return PicBuilder::Make(width, height, std::move(packets), std::move(body)).Build();
}

std::vector<test::PicPacket> Packets(std::size_t count, std::uint8_t type, std::uint8_t channel) {
  return std::vector<test::PicPacket>(count, {type, channel});
}

Bytes PicEndlessPackets() {
  auto file = PicBuilder::Make(1, 1, Packets(20, 2, 0xF0), {});
  file.endless = true;
  return file.Build();
}

Bytes IffFile(const IlbmBmhd& header, Bytes body) {
  return IlbmBuilder::Make(header, Bytes(12), std::move(body)).Build();
}

// A good file but for a chunk of that size before the body.
Bytes IffChunk(const char* id, std::uint32_t size) {
  auto file = IlbmBuilder::Make({8, 1, 1}, Bytes(6), {1, 1});
  file.chunks.insert(file.chunks.begin() + 1, {id, Bytes(8), size});
  return file.Build();
}

Bytes IffForm(std::uint32_t size) {
  auto file = IlbmBuilder::Make({8, 1, 1}, Bytes(6), {1, 1});
  file.size = size;
  return file.Build();
}

// Headers that promise more than the file can hold; those that load claim as much as is credible.
const std::vector<Attack> kClaims = {
    {"SgiHugeIn20Bytes", Sgi, test::First(SgiFile(65535, 65535, 0), 20), false},
    {"SgiHugeRleIn20Bytes", Sgi, test::First(SgiFile(65535, 65535, 1), 20), false},
    {"SgiHugeIn200Bytes", Sgi, test::First(SgiFile(65535, 65535, 1), 200), false},
    {"SgiHuge", Sgi, SgiFile(65535, 65535, 1), false},
    {"SgiLargest", Sgi, SgiFile(4096, 2048, 1), true},
    {"SgiTallest", Sgi, SgiFile(1, 65535, 1), true},
    {"SgiWidest", Sgi, SgiFile(65535, 1, 0), true},
    {"PicHuge", Pic, PicFile(65535, 65535, Packets(1, 2, 0xF0), {}), false},
    {"PicHugeWithoutPackets", Pic, PicFile(65535, 65535, {}, {}), false},
    {"PicLargest", Pic, PicFile(4096, 432, Packets(1, 2, 0xF0), {}), true},
    {"PicTallest", Pic, PicFile(1, 65535, Packets(1, 2, 0xF0), Bytes(90, 1)), true},
    {"PicWidest", Pic, PicFile(65535, 1, Packets(1, 1, 0xF0), Bytes(90, 255)), true},
    {"IffHuge", Iff, IffFile({65535, 65535, 8, 0, 1}, Bytes(100)), false},
    {"IffWidestAndTallest", Iff, IffFile({65535, 1024, 8, 0, 1}, Bytes(100, 129)), false},
    {"IffLargestWithoutPlanes", Iff, IffFile({1700, 1024, 0, 0, 0}, Bytes(40)), true},
    {"IffLargestOfAShortBody", Iff, IffFile({1700, 1024, 8, 0, 1}, Bytes(40, 129)), false},
    {"IffNinePlanes", Iff, IffFile({8, 1, 9, 0, 0}, Bytes(40)), false},
    {"Iff255Planes", Iff, IffFile({8, 1, 255, 0, 1}, Bytes(40, 129)), false},
    {"Iff1025Rows", Iff, IffFile({8, 1025, 1, 0, 1}, Bytes(90, 129)), false},
    {"YuvOfNothing", Yuv, {}, false},
    {"YuvOfOneByte", Yuv, {1}, false},
};

// Runs longer than their row, across rows, and cut short.
const std::vector<Attack> kRuns = {
    {"SgiRunPastTheRow", Sgi, SgiRow(1, {127, 1}), true},
    {"SgiLiteralPastTheRow", Sgi, SgiRow(1, test::Join({{255}, Bytes(127, 1)})), true},
    {"SgiLiteralPastTheFile", Sgi, SgiRow(100, {255, 1, 2, 3}), true},
    {"SgiRunWithoutValue", Sgi, SgiRow(100, {127}), true},
    {"SgiZeroCounts", Sgi, SgiRow(9, Bytes(90)), true},
    {"PicRunPastTheBuffer", Pic, PicFile(1, 2, Packets(1, 2, 0xF0), {128, 255, 255, 1, 2, 3, 4}), true},
    {"PicPixelsPastTheBuffer", Pic, PicFile(1, 2, Packets(1, 2, 0xF0), Bytes(90, 127)), true},
    {"PicPureRunsPastTheScanline", Pic, PicFile(100, 2, Packets(1, 1, 0xF0), Bytes(90, 99)), true},
    {"PicPureRunsInANarrowPicture", Pic, PicFile(3, 9, Packets(1, 1, 0xF0), Bytes(90, 255)), true},
    {"PicZeroPureCounts", Pic, PicFile(9, 9, Packets(1, 1, 0xF0), Bytes(90)), true},
    {"PicZeroPureCountsWithoutChannels", Pic, PicFile(9, 9, Packets(1, 1, 0), Bytes(90)), true},
    {"PicZeroLongCounts", Pic, PicFile(9, 9, Packets(1, 2, 0), {128, 0, 0, 128, 0, 0, 128, 0}), true},
    {"IffRunPastTheRow", Iff, IffFile({1, 2, 1, 0, 1}, {128, 1, 128, 1}), true},
    {"IffLiteralPastTheRow", Iff, IffFile({1, 1, 1, 0, 1}, test::Join({{127}, Bytes(128, 1)})), true},
    {"IffLiteralPastTheFile", Iff, IffFile({1, 1, 1, 0, 1}, {127, 1, 2, 3}), false},
    {"IffRunWithoutValue", Iff, IffFile({1, 1, 1, 0, 1}, {129}), false},
};

// Tables, offsets, lists and sizes that lead out of the file or never end.
const std::vector<Attack> kReferences = {
    {"SgiOffsetsOfOnes", Sgi, SgiTable(2, 8, 32, 0xFFFFFFFF), true},
    {"SgiOffsetsOfZeros", Sgi, SgiTable(2, 8, 32, 0), true},
    {"SgiOffsetsIntoTheTable", Sgi, SgiTable(2, 8, 32, 520), true},
    {"SgiOffsetsToTheLastByte", Sgi, SgiTable(2, 8, 32, 640, {127}), true},
    {"SgiOffsetsToTheEnd", Sgi, SgiTable(2, 8, 32, 640), true},
    {"SgiTablePastTheEnd", Sgi, SgiTable(300, 300, 5, 530), true},
    {"SgiOneRowForAll", Sgi, SgiTable(127, 500, 2000, 8512, {127, 9}), true},
    {"PicEndlessPackets", Pic, PicEndlessPackets(), true},
    {"PicPacketsOfOneChannel", Pic, PicFile(9, 9, Packets(20, 2, 0x80), Bytes(10, 136)), true},
    {"PicPacketsOfUnknownCodes", Pic, PicFile(1, 65535, Packets(20, 7, 0xF0), {}), true},
    {"PicPacketsWithoutChannels", Pic, PicFile(1, 65535, Packets(20, 0, 0x0F), {}), true},
    {"IffChunkOfFFFFFFF8", Iff, IffChunk("ANNO", 0xFFFFFFF8), false},
    {"IffChunkOfFFFFFFFF", Iff, IffChunk("ANNO", 0xFFFFFFFF), false},
    {"IffColoursOfFFFFFFF8", Iff, IffChunk("CMAP", 0xFFFFFFF8), false},
    {"IffColoursOfFFFFFFFF", Iff, IffChunk("CMAP", 0xFFFFFFFF), false},
    {"IffHeaderOfFFFFFFFF", Iff, IffChunk("BMHD", 0xFFFFFFFF), false},
    {"IffFormOfFFFFFFFF", Iff, IffForm(0xFFFFFFFF), true},
    {"IffFormOfZero", Iff, IffForm(0), false},
};

class HostileFilesTest : public testing::TestWithParam<Attack> {};

TEST_P(HostileFilesTest, EndsInTheStatedResult) {
  EXPECT_EQ(GetParam().read(GetParam().bytes) != nullptr, GetParam().loads);
}

TEST_P(HostileFilesTest, CostsLittle) {
  const test::ChildCost cost = test::RunInChild([] { return GetParam().read(GetParam().bytes) != nullptr; });
  EXPECT_TRUE(cost.ended);
  EXPECT_EQ(cost.result, GetParam().loads);
  const int limit = GetParam().bytes.size() <= 200 ? 50 : 200;
  EXPECT_LT(cost.milliseconds, test::IsInstrumented() ? 40 * limit : limit);
  EXPECT_LT(cost.residentKilobytes, (test::IsInstrumented() ? 256 : 64) * 1024);
}

std::string NameOf(const testing::TestParamInfo<Attack>& row) { return row.param.name; }
INSTANTIATE_TEST_SUITE_P(Claims, HostileFilesTest, testing::ValuesIn(kClaims), NameOf);
INSTANTIATE_TEST_SUITE_P(Runs, HostileFilesTest, testing::ValuesIn(kRuns), NameOf);
INSTANTIATE_TEST_SUITE_P(References, HostileFilesTest, testing::ValuesIn(kReferences), NameOf);

// --- Work that grows faster than the file

struct Load {
  const char* name;
  Reader read;
  Bytes bytes;
};

class HeavyFilesTest : public testing::TestWithParam<Load> {};

// Files of up to 200 KB that want every byte of them looked at for every row.
TEST_P(HeavyFilesTest, TakeNoLongerThanTheirPictures) {
  const test::ChildCost cost = test::RunInChild([] { return GetParam().read(GetParam().bytes) != nullptr; });
  EXPECT_TRUE(cost.result);
  EXPECT_LT(cost.milliseconds, test::IsInstrumented() ? 20000 : 1000);
}

INSTANTIATE_TEST_SUITE_P(
    Files, HeavyFilesTest,
    testing::Values(
        Load{"PicUnknownPacketsOnEveryRow", Pic, PicFile(1, 65535, Packets(50000, 7, 0xF0), {})},
        Load{"PicPacketsAtTheEndOnEveryRow", Pic, PicFile(1, 65535, Packets(50000, 2, 0xF0), {})},
        Load{"PicPacketsOnEveryRowOfNoPixels", Pic, PicFile(0, 65535, Packets(50000, 0, 0xF0), {})},
        Load{"PicPureZerosOnEveryRow", Pic, PicFile(1, 65535, Packets(1, 1, 0x80), Bytes(200000))},
        Load{"PicLongRunsInManyPackets", Pic,
             PicFile(1000, 1000, Packets(10000, 2, 0xF0), Bytes(100000, 128))},
        Load{"SgiSinglePixelsInEveryRow", Sgi, SgiTable(1000, 1000, 4000, 16512, Bytes(2000, 1))},
        Load{"IffManyChunks", Iff,
             [] {
               auto file = IlbmBuilder::Make({8, 1, 1}, Bytes(6), {1, 1});
               file.chunks.insert(file.chunks.begin(), 20000, {"ANNO", {}});
               return file.Build();
             }()}),
    [](const auto& row) { return row.param.name; });

// --- Damage to good files

struct Good {
  const char* name;
  Reader read;
  Bytes bytes;
};

class DamagedFilesTest : public testing::TestWithParam<Good> {};

// Sets up to four bytes to numbers that are hard on readers, or cuts the file.
Bytes Damage(Bytes bytes, test::Random& random) {
  constexpr unsigned char kValues[] = {0, 1, 2, 127, 128, 129, 254, 255};
  for (unsigned i = 0; i < 1 + random.Below(4); ++i) {
    unsigned char& byte = bytes[random.Below(static_cast<unsigned>(bytes.size()))];
    byte = random.Below(3) == 0 ? random.Byte() : kValues[random.Below(8)];
  }
  if (random.Below(4) == 0) bytes.resize(random.Below(static_cast<unsigned>(bytes.size())));
  return bytes;
}

TEST_P(DamagedFilesTest, AreReadOrRefusedWithoutHarm) {
  test::Random random(1);
  int loaded = 0;
  testing::internal::CaptureStderr();  // warnings of versions
  for (int i = 0; i < 1500; ++i) {
    const auto image = GetParam().read(Damage(GetParam().bytes, random));
    if (image && image->GetImageBits()) loaded += test::PixelsOf(image.get()).size() > 0;
  }
  (void)testing::internal::GetCapturedStderr();
  EXPECT_GT(loaded, 100);
}

Bytes GoodSgi(bool wide) {
  std::vector<Bytes> rows;
  for (unsigned i = 0; i < 40; ++i) rows.push_back(test::EncodeSgiRow(test::RunnySamples(50, i), wide));
  auto file = SgiBuilder::Rle(50, 10, 4, rows);
  file.bpc = wide ? 2 : 1;
  return file.Build();
}

Bytes GoodPic(std::uint8_t type) {
  Bytes body;
  for (unsigned i = 0; i < 10; ++i) {
    const Bytes row = test::RunnySamples(150, i);
    const Bytes alpha = test::EncodePicMixed(test::RunnySamples(50, i), 1);
    body = test::Join({body, type == 1 ? test::EncodePicPure(row, 3) : test::EncodePicMixed(row, 3), alpha});
  }
  return PicFile(50, 10, {{type, 0xE0}, {2, 0x10}}, body);
}

Bytes GoodIff() {
  Bytes body;
  for (unsigned i = 0; i < 10; ++i)
    body = test::Join({body, test::EncodeByteRun1(test::RunnySamples(50, i))});
  return IlbmBuilder::Make({80, 10, 5, 0, 1}, Bytes(96, 7), body).Build();
}

INSTANTIATE_TEST_SUITE_P(
    Files, DamagedFilesTest,
    testing::Values(Good{"Sgi", Sgi, GoodSgi(false)}, Good{"SgiWide", Sgi, GoodSgi(true)},
                    Good{"SgiVerbatim", Sgi, SgiBuilder::Verbatim(20, 10, 3, Bytes(600, 5)).Build()},
                    Good{"PicPure", Pic, GoodPic(1)}, Good{"PicMixed", Pic, GoodPic(2)},
                    Good{"Iff", Iff, GoodIff()}),
    [](const auto& row) { return row.param.name; });

}  // namespace

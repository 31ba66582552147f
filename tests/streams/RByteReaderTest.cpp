#include "streams/RByteReader.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

namespace {

constexpr std::array<unsigned char, 8> kBytes{0x01, 0x02, 0x03, 0x84, 0x85, 0x06, 0x07, 0x08};

TEST(RByteReaderTest, StartsAtTheFirstByte) {
  const RByteReader reader(kBytes);
  EXPECT_EQ(reader.Size(), 8U);
  EXPECT_EQ(reader.Position(), 0U);
  EXPECT_EQ(reader.Remaining(), 8U);
}

TEST(RByteReaderTest, ByteOrderIsInTheName) {
  std::uint8_t byte = 0;
  std::uint16_t word = 0;
  std::uint32_t quad = 0;
  std::uint64_t eight = 0;
  RByteReader big(kBytes);
  ASSERT_TRUE(big.Big(byte) && big.Big(word) && big.Big(quad));
  EXPECT_EQ(byte, 0x01);
  EXPECT_EQ(word, 0x0203);
  EXPECT_EQ(quad, 0x84850607U);
  EXPECT_EQ(big.Position(), 7U);
  RByteReader little(kBytes);
  ASSERT_TRUE(little.Little(byte) && little.Little(word) && little.Little(quad));
  EXPECT_EQ(byte, 0x01);
  EXPECT_EQ(word, 0x0302);
  EXPECT_EQ(quad, 0x07068584U);
  RByteReader whole(kBytes);
  ASSERT_TRUE(whole.Big(eight));
  EXPECT_EQ(eight, 0x0102038485060708U);
  ASSERT_TRUE(whole.Seek(0) && whole.Little(eight));
  EXPECT_EQ(eight, 0x0807068584030201U);
}

TEST(RByteReaderTest, SignedNumbersKeepTheirSign) {
  std::int8_t byte = 0;
  std::int16_t word = 0;
  RByteReader reader(kBytes);
  ASSERT_TRUE(reader.Seek(3) && reader.Big(byte));
  EXPECT_EQ(byte, -124);
  ASSERT_TRUE(reader.Seek(3) && reader.Big(word));
  EXPECT_EQ(word, -31611);
  ASSERT_TRUE(reader.Seek(3) && reader.Little(word));
  EXPECT_EQ(word, -31356);
}

TEST(RByteReaderTest, FloatsAreReadByTheirBits) {
  constexpr std::array<unsigned char, 8> kFloats{0x3F, 0x80, 0, 0, 0, 0, 0x20, 0xC0};
  RByteReader reader(kFloats);
  float number = 0;
  ASSERT_TRUE(reader.Big(number));
  EXPECT_EQ(number, 1.0F);
  ASSERT_TRUE(reader.Little(number));
  EXPECT_EQ(number, -2.5F);
}

TEST(RByteReaderTest, ReadThatDoesNotFitChangesNothing) {
  RByteReader reader(kBytes);
  ASSERT_TRUE(reader.Seek(7));
  std::uint16_t word = 0xABCD;
  EXPECT_FALSE(reader.Big(word));
  EXPECT_FALSE(reader.Little(word));
  EXPECT_EQ(word, 0xABCD);
  std::array<unsigned char, 2> bytes{1, 2};
  EXPECT_FALSE(reader.Bytes(bytes.data(), bytes.size()));
  EXPECT_EQ(bytes, (std::array<unsigned char, 2>{1, 2}));
  std::span<const unsigned char> view(bytes);
  EXPECT_FALSE(reader.View(2, view));
  EXPECT_EQ(view.data(), bytes.data());
  EXPECT_FALSE(reader.Skip(2));
  EXPECT_FALSE(reader.Seek(9));
  EXPECT_EQ(reader.Position(), 7U);
}

TEST(RByteReaderTest, SizesOfAnyWidthAreRefusedNotWrapped) {
  RByteReader reader(kBytes);
  ASSERT_TRUE(reader.Skip(3));
  std::span<const unsigned char> view;
  EXPECT_FALSE(reader.View(std::numeric_limits<std::size_t>::max(), view));
  EXPECT_FALSE(reader.View(std::numeric_limits<std::size_t>::max() - 2, view));
  EXPECT_FALSE(reader.Skip(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_FALSE(reader.Skip(std::numeric_limits<std::uint64_t>::max() - 2));
  EXPECT_FALSE(reader.Seek(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(reader.Position(), 3U);
}

TEST(RByteReaderTest, BytesAreCopiedAndViewsAreLent) {
  RByteReader reader(kBytes);
  std::array<unsigned char, 3> copy{};
  ASSERT_TRUE(reader.Bytes(copy.data(), copy.size()));
  EXPECT_EQ(copy, (std::array<unsigned char, 3>{1, 2, 3}));
  std::span<const unsigned char> view;
  ASSERT_TRUE(reader.View(5, view));
  EXPECT_EQ(view.data(), kBytes.data() + 3);
  EXPECT_EQ(view.size(), 5U);
  EXPECT_EQ(reader.Remaining(), 0U);
}

TEST(RByteReaderTest, ViewUpToTakesWhatIsLeft) {
  RByteReader reader(kBytes);
  EXPECT_EQ(reader.ViewUpTo(6).size(), 6U);
  const auto rest = reader.ViewUpTo(6);
  EXPECT_EQ(rest.size(), 2U);
  EXPECT_EQ(rest[0], 0x07);
  EXPECT_TRUE(reader.ViewUpTo(1).empty());
}

TEST(RByteReaderTest, SeekAndSkipReachTheEndButNotBeyond) {
  RByteReader reader(kBytes);
  EXPECT_TRUE(reader.Seek(8));
  EXPECT_EQ(reader.Remaining(), 0U);
  EXPECT_TRUE(reader.Skip(0));
  EXPECT_FALSE(reader.Skip(1));
  EXPECT_TRUE(reader.Seek(0));
  EXPECT_TRUE(reader.Skip(8));
}

TEST(RByteReaderTest, EmptyInputHoldsNothing) {
  RByteReader reader({});
  std::uint8_t byte = 9;
  EXPECT_FALSE(reader.Big(byte));
  EXPECT_EQ(byte, 9);
  EXPECT_TRUE(reader.Bytes(nullptr, 0));
  EXPECT_TRUE(reader.Seek(0));
}

}  // namespace

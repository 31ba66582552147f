// The limit of memory holds before the module's own decoders take any.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

using Bytes = std::vector<unsigned char>;

void Big(Bytes& bytes, std::initializer_list<unsigned> values) {
  for (const unsigned value : values)
    bytes.insert(bytes.end(),
                 {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value & 255)});
}

void Text(Bytes& bytes, std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

// All pictures are 8000 x 8000, but for the height that ILBM takes: 256 MB of pixels, in files that are large
// enough to be believed.
constexpr std::size_t kFiller = 8192;

Bytes Sgi() {
  Bytes bytes;
  Big(bytes, {474, 0x0001, 3, 8000, 8000, 3});
  bytes.resize(512 + kFiller);
  return bytes;
}

Bytes Pic() {
  Bytes bytes;
  Big(bytes, {0x5380, 0xF634});
  bytes.resize(88);
  Text(bytes, "PICT");
  Big(bytes, {8000, 8000, 0x3F80, 0, 3, 0});
  bytes.insert(bytes.end(), {0, 8, 2, 0xE0});
  bytes.resize(bytes.size() + kFiller);
  return bytes;
}

// The header stands behind another chunk.
Bytes Ilbm() {
  Bytes bytes;
  Text(bytes, "FORM");
  Big(bytes, {0, 4 + 14 + 28 + 8 + 3 + 8 + kFiller});
  Text(bytes, "ILBMANNO");
  Big(bytes, {0, 6});
  Text(bytes, "a note");
  Text(bytes, "BMHD");
  Big(bytes, {0, 20, 60000, 1024, 0, 0, 0x0800, 0x0100, 0, 0, 0, 0});
  Text(bytes, "CMAP");
  Big(bytes, {0, 3});
  bytes.resize(bytes.size() + 3);
  Text(bytes, "BODY");
  Big(bytes, {0, kFiller});
  bytes.resize(bytes.size() + kFiller, 0x81);
  return bytes;
}

Bytes Tga() {
  Bytes bytes = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40, 0x1F, 0x40, 0x1F, 32, 8};
  bytes.resize(18 + kFiller);
  return bytes;
}

// The height has a minus sign: the top row comes first.
Bytes Bmp() {
  Bytes bytes = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0};
  bytes.insert(bytes.end(), {40, 0, 0, 0, 0x40, 0x1F, 0, 0, 0xC0, 0xE0, 0xFF, 0xFF, 1, 0, 24, 0});
  bytes.resize(54 + kFiller);
  return bytes;
}

struct Large {
  const char* name;
  Bytes bytes;
  const char* size;
};

class LargePicture : public testing::TestWithParam<Large> {};

TEST_P(LargePicture, IsRefusedBeforeItTakesMemory) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Write(GetParam().name, GetParam().bytes);
  // The decoder of TGA believes a header only when all pixels are there; they take no room on the disk.
  if (path.ends_with(".tga")) std::filesystem::resize_file(path, 18 + 8000 * 8000 * 4);
  const std::string small = folder.Write("none.xyz", {1});
  const long least = RunTool({"info", small}).peakKib;
  const auto result = RunTool({"info", path, "--max-memory", "200"});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, StartsWith("rimage: " + path + ": " + GetParam().size + " pixels take "));
  EXPECT_THAT(result.errors, HasSubstr(" MiB, more than the limit of 200 MiB (--max-memory raises it)"));
  EXPECT_LT(result.peakKib - least, 50'000) << "it took memory for the pixels";
}

INSTANTIATE_TEST_SUITE_P(
    All, LargePicture,
    testing::Values(Large{"a.sgi", Sgi(), "8000 x 8000"}, Large{"a.rgb", Sgi(), "8000 x 8000"},
                    Large{"a.rgba", Sgi(), "8000 x 8000"}, Large{"a.pic", Pic(), "8000 x 8000"},
                    Large{"a.iff", Ilbm(), "60000 x 1024"}, Large{"a.tga", Tga(), "8000 x 8000"},
                    Large{"a.bmp", Bmp(), "8000 x 8000"}),
    [](const auto& row) { return std::string(row.param.name + 2); });

// The same files are read, or refused for what they are, where the limit allows it.
TEST(LargePictures, TheLimitIsTheOnlyReason) {
  const test::TemporaryFolder folder;
  for (const auto& [name, bytes] : {std::pair{"a.sgi", Sgi()}, std::pair{"a.pic", Pic()}}) {
    const auto result = RunTool({"info", folder.Write(name, bytes), "--max-memory", "300"});
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_GT(result.peakKib, 240'000) << "the pixels take this much";
  }
}

// A frame of 720 x 576 pixels takes 1.6 MiB, one of 486 lines 1.3.
TEST(LargePictures, FramesOfVideoAreMeasuredByTheirFiles) {
  const test::TemporaryFolder folder;
  for (const auto& [bytes, message] :
       {std::pair{699840, "720 x 486 pixels take 1 MiB"}, std::pair{829440, "720 x 576 pixels take 2 MiB"}}) {
    const std::string path = folder.Write("a.yuv", Bytes(static_cast<std::size_t>(bytes)));
    EXPECT_THAT(RunTool({"info", path, "--max-memory", "1"}).errors, HasSubstr(message));
    EXPECT_EQ(RunTool({"info", path, "--max-memory", "2"}).code, 0);
  }
}

TEST(LargePictures, DamagedHeadersAreTheReadersConcern) {
  const test::TemporaryFolder folder;
  for (const char* name : {"a.sgi", "a.pic", "a.iff", "a.tga", "a.yuv"}) {
    const auto result = RunTool({"info", folder.Write(name, {1, 2, 3, 4, 5}), "--max-memory", "1"});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errors, HasSubstr("file is damaged or of a kind that is not read")) << name;
  }
}

}  // namespace

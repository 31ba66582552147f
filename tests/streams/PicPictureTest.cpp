#include "streams/PicPicture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "support/MemoryFile.h"
#include "support/PicBuilder.h"
#include "support/RunLengthEncoders.h"
#include "support/TestData.h"

namespace {

using test::Bytes;
using test::PicBuilder;
using testing::ElementsAre;
using testing::ElementsAreArray;

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

FilePtr OpenBytes(const Bytes& bytes) {
  FilePtr file(std::tmpfile(), std::fclose);
  // fwrite takes no null pointer, not even for no bytes.
  if (!bytes.empty()) {
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file.get()), bytes.size());
  }
  std::rewind(file.get());
  return file;
}

enum Channel { kRed, kGreen, kBlue, kAlpha };

// A picture with zeroed buffers, and scanlines read into them from bytes.
class Scanlines {
 public:
  Scanlines(unsigned width, std::vector<test::PicPacket> packets, const Bytes& body)
      : mFile(OpenBytes(body)), mPicture(pictureAllocate()) {
    mPicture->width = static_cast<std::uint16_t>(width);
    for (unsigned char*& buffer : mPicture->buffer)
      buffer = static_cast<unsigned char*>(std::calloc(2, width));
    for (const test::PicPacket& packet : packets) {
      mPackets.push_back({packet.size, packet.type, packet.channel, nullptr});
    }
    for (std::size_t i = 0; i + 1 < mPackets.size(); ++i) mPackets[i].next = &mPackets[i + 1];
  }
  ~Scanlines() { pictureDispose(&mPicture); }
  Scanlines(const Scanlines&) = delete;
  Scanlines& operator=(const Scanlines&) = delete;

  RPrivatePicture& Picture() { return *mPicture; }
  long Position() { return std::ftell(mFile.get()); }

  void Read() {
    for (int i = 0; i < 4; ++i) mPicture->write[i] = mPicture->buffer[i];
    ReadOn();
  }
  void ReadOn() { EXPECT_TRUE(pictureReadScanline(mFile.get(), mPicture, mPackets.data())); }
  /// All of a channel's buffer: twice the width.
  Bytes Row(Channel channel) const {
    const unsigned char* buffer = mPicture->buffer[channel];
    return {buffer, buffer + std::size_t{2} * mPicture->width};
  }

 private:
  FilePtr mFile;
  RPrivatePicture* mPicture;
  std::vector<channelPacket> mPackets;
};

// --- Records

TEST(PicPicture, AllocateGivesAZeroedRecordWithRatioOne) {
  RPrivatePicture* picture = pictureAllocate();
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 0);
  EXPECT_EQ(picture->height, 0);
  EXPECT_EQ(picture->ratio, 1.0F);
  EXPECT_EQ(picture->fields, 0);
  EXPECT_THAT(picture->buffer, testing::Each(nullptr));
  EXPECT_THAT(picture->write, testing::Each(nullptr));
  EXPECT_TRUE(pictureDispose(&picture));
  EXPECT_EQ(picture, nullptr);
}

TEST(PicPicture, DisposeFreesTheBuffersThatAreSet) {
  RPrivatePicture* picture = pictureAllocate();
  picture->buffer[1] = static_cast<unsigned char*>(std::malloc(10));
  picture->buffer[3] = static_cast<unsigned char*>(std::malloc(10));
  EXPECT_TRUE(pictureDispose(&picture));
  EXPECT_TRUE(pictureDispose(&picture));  // null by now
  EXPECT_TRUE(pictureDispose(nullptr));
}

TEST(PicPicture, DisposingNoPacketsIsFine) {
  channelPacket* packets = nullptr;
  channelPacketDispose(&packets);
  channelPacketDispose(nullptr);
}

// --- The header

TEST(PicHeaderRead, GivesIdVersionAndComment) {
  PicBuilder file;
  file.version = 1.5F;
  file.id = 0x12345678;
  char comment[80];
  std::memset(comment, 'x', sizeof comment);
  float version = 0;
  EXPECT_EQ(headerReadBinary(OpenBytes(file.Build()).get(), &version, comment), 0x12345678);
  EXPECT_EQ(version, 1.5F);
  EXPECT_STREQ(comment, "made by a test");
  EXPECT_EQ(comment[79], 0);
}

TEST(PicHeaderRead, GivesUnterminatedCommentsWhole) {
  PicBuilder file;
  file.comment.assign(80, 'c');
  char comment[81] = {};
  comment[80] = '!';
  EXPECT_EQ(headerReadBinary(OpenBytes(file.Build()).get(), nullptr, comment), 0x50494354);
  EXPECT_EQ(std::string(comment, 80), file.comment);
  EXPECT_EQ(comment[80], '!');
}

TEST(PicHeaderRead, CopiesNothingBehindTheEndOfTheComment) {
  PicBuilder file;
  file.comment = std::string("a\0b", 3);
  char comment[80];
  std::memset(comment, 'x', sizeof comment);
  EXPECT_NE(headerReadBinary(OpenBytes(file.Build()).get(), nullptr, comment), 0);
  EXPECT_EQ(std::string(comment, 80), "a" + std::string(79, '\0'));
}

TEST(PicHeaderRead, LeavesTheStreamBehindTheId) {
  const FilePtr file = OpenBytes(PicBuilder().Build());
  EXPECT_EQ(headerReadBinary(file.get(), nullptr, nullptr), 0x50494354);
  EXPECT_EQ(std::ftell(file.get()), 92);
}

TEST(PicHeaderRead, IsZeroForAnotherMagicNumber) {
  PicBuilder file;
  file.magic = 0x34F68053;
  float version = -1;
  char comment[80] = "untouched";
  EXPECT_EQ(headerReadBinary(OpenBytes(file.Build()).get(), &version, comment), 0);
  EXPECT_EQ(version, -1);
  EXPECT_STREQ(comment, "untouched");
}

TEST(PicHeaderRead, IsZeroForAShortFile) {
  const Bytes bytes = PicBuilder().Build();
  for (const std::size_t size : {0U, 3U, 4U, 8U, 87U, 88U, 91U}) {
    EXPECT_EQ(headerReadBinary(OpenBytes(test::First(bytes, size)).get(), nullptr, nullptr), 0) << size;
  }
  EXPECT_EQ(headerReadBinary(nullptr, nullptr, nullptr), 0);
}

struct VersionCase {
  const char* name;
  float version;
  const char* warning;
};

class PicVersion : public testing::TestWithParam<VersionCase> {};

TEST_P(PicVersion, WarnsOfLaterOnesOnStandardError) {
  PicBuilder file;
  file.version = GetParam().version;
  testing::internal::CaptureStderr();
  EXPECT_EQ(headerReadBinary(OpenBytes(file.Build()).get(), nullptr, nullptr), 0x50494354);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam().warning);
}

INSTANTIATE_TEST_SUITE_P(
    Versions, PicVersion,
    testing::Values(VersionCase{"Old", 1.0F, ""}, VersionCase{"Release", 2.6F, ""},
                    VersionCase{"NotANumber", NAN, ""},
                    VersionCase{"Later", 2.7F,
                                "Warning, file version 2.7 is later than Prox release version 2.6\n"
                                "Attempt to read: An error may occur...\n"},
                    VersionCase{"MuchLater", 3.71F,
                                "Warning, file version 3.71 is later than Prox release version 2.6\n"
                                "Attempt to read: An error may occur...\n"}),
    [](const auto& row) { return row.param.name; });

TEST(PicVersions, OfAFileWithAnotherMagicNumberDoNotCount) {
  PicBuilder file;
  file.version = 9;
  file.magic = 1;
  testing::internal::CaptureStderr();
  EXPECT_EQ(headerReadBinary(OpenBytes(file.Build()).get(), nullptr, nullptr), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// --- Opening

class PicOpen : public testing::Test {
 protected:
  ~PicOpen() override {
    channelPacketDispose(&mPackets);
    pictureDispose(&mPicture);
  }
  FilePtr Open(const std::string& name) {
    channelPacketDispose(&mPackets);
    return {pictureReadFileHeader(name.c_str(), mPicture, &mPackets), std::fclose};
  }
  FilePtr OpenBytes(const Bytes& bytes) { return Open(mFolder.Write("a.pic", bytes)); }

  test::TemporaryFolder mFolder;
  RPrivatePicture* mPicture = pictureAllocate();
  channelPacket* mPackets = nullptr;
};

TEST_F(PicOpen, ReadsEverythingBeforeTheFirstScanline) {
  auto file = PicBuilder::Make(0x1234, 0x0506, {{2, 0xE0, 8}, {0x71, 0x10, 16}}, {77});
  file.ratio = 0.5F;
  file.fields = 0x0203;
  file.padding = 0xFFFF;
  const FilePtr stream = OpenBytes(file.Build());
  ASSERT_TRUE(stream);
  EXPECT_EQ(mPicture->width, 0x1234);
  EXPECT_EQ(mPicture->height, 0x0506);
  EXPECT_EQ(mPicture->ratio, 0.5F);
  EXPECT_EQ(mPicture->fields, 0x0203);
  EXPECT_THAT(mPicture->buffer, testing::Each(nullptr));
  ASSERT_TRUE(mPackets && mPackets->next);
  EXPECT_EQ(mPackets->size, 8);
  EXPECT_EQ(mPackets->type, 2);
  EXPECT_EQ(mPackets->channel, 0xE0);
  EXPECT_EQ(mPackets->next->size, 16);
  EXPECT_EQ(mPackets->next->type, 0x71);
  EXPECT_EQ(mPackets->next->channel, 0x10);
  EXPECT_EQ(mPackets->next->next, nullptr);
  EXPECT_EQ(std::fgetc(stream.get()), 77);
}

struct NameCase {
  const char* name;
  const char* given;
  const char* opened;
};

class PicName : public PicOpen, public testing::WithParamInterface<NameCase> {};

TEST_P(PicName, DecidesWhichFileIsOpened) {
  mFolder.Write(GetParam().opened, PicBuilder::Make(7, 1, {{0, 0xE0}}, {}).Build());
  EXPECT_TRUE(Open(mFolder.Path(GetParam().given)));
  EXPECT_EQ(mPicture->width, 7);
}

INSTANTIATE_TEST_SUITE_P(Names, PicName,
                         testing::Values(NameCase{"WithoutSuffix", "shot", "shot.pic"},
                                         NameCase{"WithSuffix", "shot.pic", "shot.pic"},
                                         NameCase{"SuffixInOtherCase", "shot.Pic", "shot.Pic.pic"},
                                         NameCase{"SuffixInCapitals", "a.PIC", "a.PIC.pic"},
                                         NameCase{"OneLetter", "x", "x.pic"},
                                         NameCase{"OtherSuffix", "a.picture", "a.picture.pic"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(PicOpen, OfAFileInTheCurrentFolderNamedByItsSuffixAloneAddsIt) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(mFolder.Path(""));
  mFolder.Write(".pic.pic", PicBuilder::Make(9, 1, {{0, 0xE0}}, {}).Build());
  const FilePtr four = Open(".pic");
  std::filesystem::current_path(before);
  EXPECT_TRUE(four);
}

TEST_F(PicOpen, TakesNamesOfAnyLength) {
  std::string folder = mFolder.Path("");
  for (int i = 0; i < 3; ++i) {
    folder += std::string(200, static_cast<char>('a' + i)) + '/';
    std::filesystem::create_directory(folder);
  }
  test::WriteFile(folder + "shot.pic", PicBuilder::Make(7, 1, {{0, 0xE0}}, {}).Build());
  EXPECT_TRUE(Open(folder + "shot"));
}

TEST_F(PicOpen, IsNullForWhatIsNoPicture) {
  PicBuilder file = PicBuilder::Make(1, 1, {{0, 0xE0}}, {1, 2, 3});
  EXPECT_FALSE(Open(mFolder.Path("missing.pic")));
  EXPECT_FALSE(OpenBytes({}));
  file.magic = 0;
  EXPECT_FALSE(OpenBytes(file.Build()));
  file.magic = PicBuilder().magic;
  file.id = 0x50494355;
  EXPECT_FALSE(OpenBytes(file.Build()));
  file.id = PicBuilder().id;
  EXPECT_TRUE(OpenBytes(file.Build()));
}

TEST_F(PicOpen, IsNullWithoutArguments) {
  const std::string path = mFolder.Write("a.pic", PicBuilder::Make(1, 1, {{0, 0xE0}}, {}).Build());
  EXPECT_EQ(pictureReadFileHeader(nullptr, mPicture, &mPackets), nullptr);
  EXPECT_EQ(pictureReadFileHeader(path.c_str(), nullptr, &mPackets), nullptr);
  EXPECT_EQ(pictureReadFileHeader(path.c_str(), mPicture, nullptr), nullptr);
}

TEST_F(PicOpen, AnOpenFileNeedsAllArguments) {
  const test::MemoryFile bytes(PicBuilder::Make(1, 1, {{0, 0xE0}}, {}).Build(), ".pic");
  std::FILE* file = std::fopen(bytes.Path(), "rb");
  ASSERT_NE(file, nullptr);
  RPrivatePicture* picture = pictureAllocate();
  channelPacket* packets = nullptr;
  EXPECT_FALSE(pictureReadOpenFileHeader(nullptr, picture, &packets));
  EXPECT_FALSE(pictureReadOpenFileHeader(file, nullptr, &packets));
  EXPECT_FALSE(pictureReadOpenFileHeader(file, picture, nullptr));
  EXPECT_TRUE(pictureReadOpenFileHeader(file, picture, &packets));
  EXPECT_EQ(picture->width, 1);
  ASSERT_NE(packets, nullptr);
  EXPECT_EQ(packets->channel, 0xE0);
  std::fclose(file);
  channelPacketDispose(&packets);
  pictureDispose(&picture);
}

TEST_F(PicOpen, AnyChainedByteButZeroMeansAnotherPacket) {
  for (const int chained : {1, 2, 128, 255}) {
    const auto byte = static_cast<std::uint8_t>(chained);
    const FilePtr stream =
        OpenBytes(PicBuilder::Make(1, 1, {{0, 0x80, 8, byte}, {1, 0x40, 8, byte}, {2, 0x20}}, {77}).Build());
    ASSERT_TRUE(stream && mPackets && mPackets->next && mPackets->next->next) << chained;
    EXPECT_EQ(mPackets->next->next->next, nullptr) << chained;
    EXPECT_EQ(std::fgetc(stream.get()), 77) << chained;
  }
}

TEST_F(PicOpen, EndsThePacketsWithTheFile) {
  auto file = PicBuilder::Make(5, 1, {{0, 0x80}, {1, 0x40}, {2, 0x20}}, {});
  file.endless = true;
  EXPECT_TRUE(OpenBytes(file.Build()));
  ASSERT_TRUE(mPackets && mPackets->next && mPackets->next->next);
  EXPECT_EQ(mPackets->next->next->next, nullptr);
  EXPECT_TRUE(OpenBytes(test::First(file.Build(), 104 + 7)));  // the second packet is cut short
  ASSERT_TRUE(mPackets);
  EXPECT_EQ(mPackets->next, nullptr);
}

TEST_F(PicOpen, KeepsTheFieldsThatAShortFileDoesNotHave) {
  const Bytes bytes = PicBuilder::Make(5, 6, {{0, 0xE0}}, {}).Build();
  EXPECT_TRUE(OpenBytes(test::First(bytes, 95)));
  EXPECT_EQ(mPicture->width, 5);
  EXPECT_EQ(mPicture->height, 0);
  EXPECT_EQ(mPicture->ratio, 1.0F);
  EXPECT_EQ(mPackets, nullptr);
}

// --- Scanlines

TEST(PicScanline, OfNoPacketsReadsNothing) {
  Scanlines picture(2, {}, {1, 2});
  picture.Read();
  EXPECT_EQ(picture.Position(), 0);
  EXPECT_TRUE(pictureReadScanline(nullptr, &picture.Picture(), nullptr));
  EXPECT_TRUE(pictureReadScanline(nullptr, nullptr, nullptr));
}

TEST(PicRaw, ChannelsComeInMaskOrder) {
  Scanlines picture(2, {{0, 0xF0}}, {1, 2, 3, 4, 5, 6, 7, 8, 99});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 5, 0, 0));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(2, 6, 0, 0));
  EXPECT_THAT(picture.Row(kBlue), ElementsAre(3, 7, 0, 0));
  EXPECT_THAT(picture.Row(kAlpha), ElementsAre(4, 8, 0, 0));
  EXPECT_EQ(picture.Position(), 8);
}

struct MaskCase {
  const char* name;
  std::uint8_t mask;
  std::vector<int> channels;
};

class PicMask : public testing::TestWithParam<MaskCase> {};

TEST_P(PicMask, ChoosesTheChannelsOfEveryCode) {
  const auto& channels = GetParam().channels;
  Bytes pixel;
  for (std::size_t i = 0; i < channels.size(); ++i) pixel.push_back(static_cast<unsigned char>(11 + i));
  const Bytes bodies[] = {test::Join({pixel, pixel}), test::Join({{2}, pixel}), test::Join({{129}, pixel}),
                          test::Join({{1}, pixel, pixel})};
  const unsigned char types[] = {0, 1, 2, 2};
  for (int i = 0; i < 4; ++i) {
    Scanlines picture(2, {{types[i], GetParam().mask}}, bodies[i]);
    picture.Read();
    for (int channel = 0; channel < 4; ++channel) {
      const auto at = std::find(channels.begin(), channels.end(), channel);
      const int value = at == channels.end() ? 0 : 11 + int(at - channels.begin());
      EXPECT_THAT(picture.Row(Channel(channel)), ElementsAre(value, value, 0, 0))
          << channel << " of body " << i;
    }
    EXPECT_EQ(picture.Position(), long(bodies[i].size()));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Masks, PicMask,
    testing::Values(MaskCase{"Red", 0x80, {0}}, MaskCase{"Green", 0x40, {1}}, MaskCase{"Blue", 0x20, {2}},
                    MaskCase{"Alpha", 0x10, {3}}, MaskCase{"Rgb", 0xE0, {0, 1, 2}},
                    MaskCase{"Rgba", 0xF0, {0, 1, 2, 3}}, MaskCase{"RedAlpha", 0x90, {0, 3}},
                    MaskCase{"GreenBlue", 0x60, {1, 2}}, MaskCase{"LowBitsDoNotCount", 0x2F, {2}}),
    [](const auto& row) { return row.param.name; });

TEST(PicPackets, FollowOneAnotherInAScanline) {
  Scanlines picture(3, {{2, 0x80}, {0, 0x60}, {1, 0x10}}, {130, 9, 1, 2, 3, 4, 5, 6, 3, 200});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(9, 9, 9, 0, 0, 0));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(1, 3, 5, 0, 0, 0));
  EXPECT_THAT(picture.Row(kBlue), ElementsAre(2, 4, 6, 0, 0, 0));
  EXPECT_THAT(picture.Row(kAlpha), ElementsAre(200, 200, 200, 0, 0, 0));
}

TEST(PicPackets, UseTheLowFourBitsOfTheType) {
  Scanlines picture(2, {{0xF1, 0x80}}, {2, 9});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(9, 9, 0, 0));
}

class PicUnknownCode : public testing::TestWithParam<int> {};

TEST_P(PicUnknownCode, ReadsNothingAndMovesTheWritePointers) {
  Scanlines picture(2, {{static_cast<std::uint8_t>(GetParam()), 0xC0}, {0, 0xA0}}, {1, 2, 3, 4});
  picture.Read();
  EXPECT_EQ(picture.Position(), 4);
  EXPECT_THAT(picture.Row(kRed), ElementsAre(0, 0, 1, 3));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(picture.Row(kBlue), ElementsAre(2, 4, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Codes, PicUnknownCode, testing::Values(3, 4, 7, 15, 0xF3));

TEST(PicWritePointers, MoveByTheWidthForEachPacketOfTheirChannel) {
  Scanlines picture(3, {{1, 0xC0}, {1, 0x80}}, {3, 1, 2, 3, 5});
  picture.Read();
  RPrivatePicture& record = picture.Picture();
  EXPECT_EQ(record.write[kRed], record.buffer[kRed] + 6);
  EXPECT_EQ(record.write[kGreen], record.buffer[kGreen] + 3);
  EXPECT_EQ(record.write[kBlue], record.buffer[kBlue]);
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 1, 1, 5, 5, 5));
}

TEST(PicWritePointers, ContinueOverScanlinesWhenTheyAreNotReset) {
  Scanlines picture(2, {{0, 0x80}}, {1, 2, 3, 4, 5, 6});
  picture.Read();
  picture.ReadOn();
  picture.ReadOn();  // past twice the width
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(picture.Position(), 6);
}

TEST(PicWritePointers, StopAtTheEndOfTheBuffer) {
  Scanlines picture(2, {{0, 0x80}, {0, 0x80}, {0, 0x80}, {1, 0x80}}, {1, 2, 3, 4, 5, 6, 2, 7});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(picture.Position(), 8);
  EXPECT_EQ(picture.Picture().write[kRed], picture.Picture().buffer[kRed] + 4);
}

TEST(PicWritePointers, OutsideTheBufferTakeNothing) {
  Scanlines picture(2, {{0, 0xE0}}, {1, 2, 3, 4, 5, 6});
  Bytes elsewhere(64, 9);
  RPrivatePicture& record = picture.Picture();
  record.write[kRed] = elsewhere.data() + 8;
  record.write[kGreen] = nullptr;
  record.write[kBlue] = record.buffer[kBlue] + 3;  // room for one
  picture.ReadOn();
  EXPECT_EQ(elsewhere, Bytes(64, 9));
  EXPECT_EQ(record.write[kGreen], nullptr);
  EXPECT_THAT(picture.Row(kBlue), ElementsAre(0, 0, 0, 3));
}

TEST(PicBuffers, ThatAreNotThereAreSkipped) {
  Scanlines picture(2, {{2, 0xE0}}, {129, 1, 2, 3});
  std::free(std::exchange(picture.Picture().buffer[kGreen], nullptr));
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 1, 0, 0));
  EXPECT_THAT(picture.Row(kBlue), ElementsAre(3, 3, 0, 0));
}

// --- Pure runs

TEST(PicPureRuns, FillTheScanline) {
  Scanlines picture(5, {{1, 0xC0}}, {2, 10, 20, 3, 11, 21, 1, 1, 1});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(10, 10, 11, 11, 11, 0, 0, 0, 0, 0));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(20, 20, 21, 21, 21, 0, 0, 0, 0, 0));
  EXPECT_EQ(picture.Position(), 6);
}

TEST(PicPureRuns, ACountAboveTheWidthIsCutToTheWidthAndNotToTheRest) {
  Scanlines picture(5, {{1, 0x80}}, {3, 10, 200, 11, 99});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(10, 10, 10, 11, 11, 11, 11, 11, 0, 0));
  EXPECT_EQ(picture.Position(), 4);
}

TEST(PicPureRuns, ACountOfTheWidthItselfStays) {
  Scanlines picture(255, {{1, 0x80}}, {255, 10});
  picture.Read();
  EXPECT_EQ(picture.Row(kRed), test::Join({Bytes(255, 10), Bytes(255, 0)}));
}

TEST(PicPureRuns, ACountOfZeroReadsItsValuesAndGoesOn) {
  Scanlines picture(2, {{1, 0xC0}}, {0, 1, 2, 0, 3, 4, 2, 5, 6});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(5, 5, 0, 0));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(6, 6, 0, 0));
}

TEST(PicPureRuns, ZeroCountsToTheEndOfTheFileEnd) {
  Scanlines picture(2, {{1, 0x80}}, Bytes(1001, 0));
  picture.Read();
  EXPECT_EQ(picture.Position(), 1001);
  EXPECT_THAT(picture.Row(kRed), ElementsAre(0, 0, 0, 0));
}

TEST(PicPureRuns, WithoutChannelsTakeTheCountsAlone) {
  Scanlines picture(4, {{1, 0x00}, {0, 0x80}}, {3, 1, 7, 8, 9, 10});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(7, 8, 9, 10, 0, 0, 0, 0));
}

// --- Mixed runs

TEST(PicMixedRuns, MixRunsAndPixels) {
  Scanlines picture(6, {{2, 0xC0}}, {1, 1, 101, 2, 102, 128 + 2, 3, 103, 0, 4, 104, 55});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 2, 3, 3, 3, 4, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(picture.Row(kGreen), ElementsAre(101, 102, 103, 103, 103, 104, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(picture.Position(), 11);
}

TEST(PicMixedRuns, ALongCountFillsAsManyPixelsOfEachChannel) {
  Scanlines picture(300, {{2, 0xE0}}, {128, 1, 44, 7, 8, 9});
  picture.Read();
  EXPECT_EQ(picture.Row(kRed), test::Join({Bytes(300, 7), Bytes(300, 0)}));
  EXPECT_EQ(picture.Row(kGreen), test::Join({Bytes(300, 8), Bytes(300, 0)}));
  EXPECT_EQ(picture.Row(kBlue), test::Join({Bytes(300, 9), Bytes(300, 0)}));
}

TEST(PicMixedRuns, TheLongestCountsOfEachKind) {
  Bytes body(1, 127);
  for (int i = 0; i < 128; ++i) body.push_back(static_cast<unsigned char>(i));
  Scanlines picture(256, {{2, 0x80}}, test::Join({body, {255, 9}}));
  picture.Read();
  Bytes expected(256, 9);
  for (int i = 0; i < 128; ++i) expected[std::size_t(i)] = static_cast<unsigned char>(i);
  EXPECT_EQ(test::First(picture.Row(kRed), 256), expected);
}

TEST(PicMixedRuns, PastTheScanlineGoIntoTheSecondHalfOfTheBuffer) {
  Scanlines picture(3, {{2, 0x80}}, {1, 1, 2, 131, 9, 55});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(1, 2, 9, 9, 9, 9));
  EXPECT_EQ(picture.Position(), 5);
}

TEST(PicMixedRuns, PastTheBufferAreDropped) {
  Scanlines picture(3, {{2, 0xC0}}, {128, 255, 255, 1, 2, 77});
  picture.Read();
  EXPECT_EQ(picture.Row(kRed), Bytes(6, 1));
  EXPECT_EQ(picture.Row(kGreen), Bytes(6, 2));
  EXPECT_EQ(picture.Position(), 5);
  Scanlines pixels(2, {{2, 0x80}}, test::Join({{127}, Bytes(128, 3), {77}}));
  pixels.Read();
  EXPECT_EQ(pixels.Row(kRed), Bytes(4, 3));
  EXPECT_EQ(pixels.Position(), 129);
}

TEST(PicMixedRuns, ALongCountOfZeroReadsItsValues) {
  Scanlines picture(2, {{2, 0x80}}, {128, 0, 0, 5, 129, 6});
  picture.Read();
  EXPECT_THAT(picture.Row(kRed), ElementsAre(6, 6, 0, 0));
}

// --- The end of the file

struct EndCase {
  const char* name;
  std::uint8_t type;
  Bytes body;
  Bytes red, green;  // of buffers that held 50 and 60
};

class PicEnd : public testing::TestWithParam<EndCase> {};

TEST_P(PicEnd, EndsTheScanlineAndKeepsTheOtherSamples) {
  Scanlines picture(3, {{GetParam().type, 0xC0}, {0, 0x20}}, GetParam().body);
  std::memset(picture.Picture().buffer[kRed], 50, 6);
  std::memset(picture.Picture().buffer[kGreen], 60, 6);
  picture.Read();
  EXPECT_EQ(picture.Row(kRed), test::Join({GetParam().red, Bytes(6 - GetParam().red.size(), 50)}));
  EXPECT_EQ(picture.Row(kGreen), test::Join({GetParam().green, Bytes(6 - GetParam().green.size(), 60)}));
  EXPECT_EQ(picture.Row(kBlue), Bytes(6, 0));
  // The packet that the end is in counts, those behind it do not.
  const RPrivatePicture& record = picture.Picture();
  EXPECT_EQ(record.write[kRed], record.buffer[kRed] + 3);
  EXPECT_EQ(record.write[kBlue], record.buffer[kBlue]);
}

INSTANTIATE_TEST_SUITE_P(Bodies, PicEnd,
                         testing::Values(EndCase{"Nothing", 0, {}, {}, {}},
                                         EndCase{"WithinRawPixels", 0, {1, 2, 3}, {1, 3}, {2}},
                                         EndCase{"AtAPureCount", 1, {2, 1, 2}, {1, 1}, {2, 2}},
                                         EndCase{"BeforePureValues", 1, {2, 1, 2, 1}, {1, 1}, {2, 2}},
                                         EndCase{"WithinPureValues", 1, {2, 1, 2, 1, 9}, {1, 1}, {2, 2}},
                                         EndCase{"AtAMixedCount", 2, {0, 1, 2}, {1}, {2}},
                                         EndCase{"WithinMixedPixels", 2, {2, 1, 2, 3}, {1, 3}, {2}},
                                         EndCase{"WithinMixedValues", 2, {129, 8}, {8, 8}, {}},
                                         EndCase{"BeforeALongCount", 2, {0, 1, 2, 128}, {1}, {2}},
                                         EndCase{"WithinALongCount", 2, {0, 1, 2, 128, 0}, {1}, {2}},
                                         EndCase{"BehindALongCount", 2, {0, 1, 2, 128, 0, 2}, {1}, {2}}),
                         [](const auto& row) { return row.param.name; });

// --- Whole scanlines against an encoder

TEST(PicRoundTrip, GivesTheSamplesBack) {
  for (const unsigned width : {1U, 2U, 127U, 128U, 129U, 640U, 3000U}) {
    for (const unsigned channels : {1U, 3U, 4U}) {
      const Bytes samples = test::RunnySamples(std::size_t{width} * channels, width);
      const std::uint8_t mask = channels == 1 ? 0x80 : channels == 3 ? 0xE0 : 0xF0;
      const Bytes bodies[] = {samples, test::EncodePicPure(samples, channels),
                              test::EncodePicMixed(samples, channels)};
      for (std::uint8_t type = 0; type < 3; ++type) {
        Scanlines picture(width, {{type, mask}}, bodies[type]);
        picture.Read();
        for (unsigned channel = 0; channel < channels; ++channel) {
          Bytes expected(2 * std::size_t{width}, 0);
          for (std::size_t x = 0; x < width; ++x) expected[x] = samples[x * channels + channel];
          ASSERT_EQ(picture.Row(Channel(channel)), expected) << width << ' ' << channels << ' ' << int(type);
        }
        EXPECT_EQ(picture.Position(), long(bodies[type].size()));
      }
    }
  }
}

}  // namespace

// RImage's entries for files.
#include <gtest/gtest.h>

#include <QImage>
#include <filesystem>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "module/EntryPointrimage.h"
#include "rbaselib/RMessageHandler.h"
#include "rbaselib/RObjectRegistry.h"
#include "rbaselib/RStream.h"
#include "support/TestData.h"

namespace {

using Bytes = std::vector<unsigned char>;

class RImageDiskTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { EntryPointrimage(kDllStart); }

  std::string WritePng(const std::string& name) const {
    const std::string path = mFolder.Path(name);
    EXPECT_TRUE(QImage(3, 2, QImage::Format_RGB888).save(QString::fromStdString(path), "png"));
    return path;
  }

  test::TemporaryFolder mFolder;
  int mInstances = RImage::ClassInstanceCount;
};

// --- ReadFromDisk.

TEST_F(RImageDiskTest, ReadFromDiskGivesANewImageToTheCaller) {
  RImage* image = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(WritePng("a.png").c_str(), image, false));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->GetWidth(), 3);
  EXPECT_EQ(image->GetReferenceCount(), 0);
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances + 1);
  image->Destroy(0);
}

TEST_F(RImageDiskTest, ReadFromDiskDoesNotUseTheImageThatWasThere) {
  const RDestroyPtr<RImage> before(RImageCreate());
  RImage* image = before.get();
  ASSERT_TRUE(RImage::ReadFromDisk(WritePng("a.png").c_str(), image, false));
  EXPECT_NE(image, before.get());
  EXPECT_EQ(before->GetWidth(), 0);
  image->Destroy(0);
}

TEST_F(RImageDiskTest, SuccessfulReadDeletesTheFileOnRequestOnly) {
  const std::string path = WritePng("a.png");
  RImage* image = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(path.c_str(), image, false));
  image->Destroy(0);
  EXPECT_TRUE(std::filesystem::exists(path));
  ASSERT_TRUE(RImage::ReadFromDisk(path.c_str(), image, true));
  image->Destroy(0);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(RImageDiskTest, ReadThatCannotDeleteTheFileStillSucceeds) {
  const std::string path = WritePng("a.png.png");
  std::filesystem::rename(path, mFolder.Path("b.png.png"));
  RImage* image = nullptr;
  // Qt tries known suffixes behind a name that does not exist; the name itself cannot be deleted then.
  ASSERT_TRUE(RImage::ReadFromDisk(mFolder.Path("b.png").c_str(), image, true));
  image->Destroy(0);
  EXPECT_TRUE(std::filesystem::exists(mFolder.Path("b.png.png")));
}

struct Unreadable {
  const char* name;
  Bytes bytes;
};

class UnreadableTest : public RImageDiskTest, public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableTest, FailedReadNeverDeletesAndLeavesTheArgument) {
  const std::string path = mFolder.Write(GetParam().name, GetParam().bytes);
  const RDestroyPtr<RImage> marker(RImageCreate());
  RImage* image = marker.get();
  EXPECT_FALSE(RImage::ReadFromDisk(path.c_str(), image, true));
  EXPECT_EQ(image, marker.get());
  EXPECT_EQ(test::ReadFile(path), GetParam().bytes);
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances + 1) << "the record that the stream made does not leak";
}

TEST_P(UnreadableTest, RegistryReadGivesNullAndDoesNotLeak) {
  const std::string path = mFolder.Write(GetParam().name, GetParam().bytes);
  EXPECT_EQ(RImage::ImageFileRead(path.c_str()), nullptr);
  EXPECT_EQ(test::ReadFile(path), GetParam().bytes);
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances);
}

INSTANTIATE_TEST_SUITE_P(Files, UnreadableTest,
                         testing::Values(Unreadable{"extension.txt", {1, 2, 3}},
                                         Unreadable{"none", {1, 2, 3}}, Unreadable{"broken.png", {1, 2, 3}},
                                         Unreadable{"empty.png", {}}, Unreadable{"short.tga", {0, 0, 2}},
                                         Unreadable{"refused.tga", Bytes(40, 1)}),
                         [](const auto& file) {
                           const std::string name = file.param.name;
                           return name.substr(0, name.find('.')) + "_" + name.substr(name.find('.') + 1);
                         });

TEST_F(RImageDiskTest, AbsentFileFails) {
  RImage* image = nullptr;
  EXPECT_FALSE(RImage::ReadFromDisk(mFolder.Path("absent.png").c_str(), image, true));
  EXPECT_FALSE(RImage::ReadFromDisk(nullptr, image, true));
  EXPECT_FALSE(RImage::ReadFromDisk("", image, true));
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances);
}

TEST_F(RImageDiskTest, ReadFromDiskDoesNoDispatchByExtension) {
  // A YUV file has a registered reader, but Qt has none.
  RImage* image = nullptr;
  EXPECT_FALSE(RImage::ReadFromDisk(mFolder.Write("a.yuv", Bytes(829440)).c_str(), image, true));
  EXPECT_TRUE(std::filesystem::exists(mFolder.Path("a.yuv")));
}

// --- ImageFileRead.

TEST_F(RImageDiskTest, ImageFileReadUsesTheRegisteredReader) {
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(WritePng("a.png").c_str()));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->GetWidth(), 3);
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances + 1);
}

TEST_F(RImageDiskTest, ImageFileReadDoesNotDelete) {
  const std::string path = WritePng("a.png");
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(path.c_str()));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(RImageDiskTest, ImageFileReadWithoutReaderGivesNull) {
  EXPECT_EQ(RImage::ImageFileRead(WritePng("a.unknown").c_str()), nullptr);
  EXPECT_EQ(RImage::ImageFileRead(WritePng("none").c_str()), nullptr);
  EXPECT_EQ(RImage::ImageFileRead(nullptr), nullptr);
}

// Counts what is shown.
class CountingHandler : public RMessageHandler {
 public:
  CountingHandler() : mBefore(SetMainMessageHandler(this)) {}
  ~CountingHandler() override { SetMainMessageHandler(mBefore); }
  CountingHandler(const CountingHandler&) = delete;
  CountingHandler& operator=(const CountingHandler&) = delete;
  void DisplayWarning(const char*, const char*, const char*) override { ++mShown; }
  int Shown() const { return mShown; }

 private:
  RMessageHandler* mBefore;
  int mShown = 0;
};

TEST_F(RImageDiskTest, FailuresShowNoMessages) {
  const CountingHandler handler;
  RImage* image = nullptr;
  const std::string broken = mFolder.Write("broken.png", {1, 2, 3});
  for (const std::string& path : {broken, mFolder.Path("absent.png"), mFolder.Path("a.unknown")}) {
    EXPECT_EQ(RImage::ImageFileRead(path.c_str()), nullptr);
    EXPECT_FALSE(RImage::ReadFromDisk(path.c_str(), image, false));
    EXPECT_FALSE(RImage::WriteToDisk(nullptr, path.c_str(), "", 90, 1));
  }
  EXPECT_EQ(handler.Shown(), 0);
}

// --- The host's own reading function.

class CallbackTest : public RImageDiskTest {
 protected:
  ~CallbackTest() override { RImage::SetImageFileReadCallback(nullptr); }

  static RImage* Read(const char* path) {
    sPath = path;
    return sResult;
  }
  static inline const char* sPath = nullptr;
  static inline RImage* sResult = nullptr;
};

TEST_F(CallbackTest, IsNullAtLoad) { EXPECT_EQ(RImage::sImageFileReader, nullptr); }

TEST_F(CallbackTest, IsStoredAndRemoved) {
  RImage::SetImageFileReadCallback(&CallbackTest::Read);
  EXPECT_EQ(RImage::sImageFileReader, &CallbackTest::Read);
  RImage::SetImageFileReadCallback(nullptr);
  EXPECT_EQ(RImage::sImageFileReader, nullptr);
}

int gStreamsMade = 0;

IObject* MakeCountedStream(IObject*, const char*, void*) {
  ++gStreamsMade;
  return (new RStream)->IQuery(0, 0);
}

TEST_F(CallbackTest, TakesOverWithoutTheRegistry) {
  ASSERT_TRUE(
      Object_Register("Stream/Reader/Image", "counted", "Stream", MakeCountedStream, true, nullptr, nullptr));
  const std::string path = mFolder.Write("a.counted", {1});
  EXPECT_EQ(RImage::ImageFileRead(path.c_str()), nullptr);
  EXPECT_EQ(gStreamsMade, 1) << "without callback the registry is asked";

  const RDestroyPtr<RImage> image(RImageCreate());
  sResult = image.get();
  RImage::SetImageFileReadCallback(&CallbackTest::Read);
  EXPECT_EQ(RImage::ImageFileRead(path.c_str()), image.get());
  EXPECT_STREQ(sPath, path.c_str());
  EXPECT_EQ(gStreamsMade, 1);
}

TEST_F(CallbackTest, NullFromTheCallbackIsTheResult) {
  sResult = nullptr;
  RImage::SetImageFileReadCallback(&CallbackTest::Read);
  EXPECT_EQ(RImage::ImageFileRead(WritePng("a.png").c_str()), nullptr);
}

TEST_F(CallbackTest, ReadFromDiskDoesNotAskIt) {
  sPath = nullptr;
  RImage::SetImageFileReadCallback(&CallbackTest::Read);
  RImage* image = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(WritePng("a.png").c_str(), image, false));
  image->Destroy(0);
  EXPECT_EQ(sPath, nullptr);
}

// --- WriteToDisk.

RDestroyPtr<RImage> MakeImage() {
  RDestroyPtr<RImage> image(RImageCreate());
  EXPECT_TRUE(image->Init(kImageFormatRGB, 16, 16, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  for (int i = 0; i < 3 * 256; ++i) image->GetImageBits()[i] = static_cast<unsigned char>(i * i);
  return image;
}

TEST_F(RImageDiskTest, WriteToDiskFollowsTheExtensionAndKeepsTheImage) {
  const auto image = MakeImage();
  for (const char* name : {"a.png", "a.jpg", "a.tif", "a.bmp", "a.tga"}) {
    EXPECT_TRUE(RImage::WriteToDisk(image.get(), mFolder.Path(name).c_str(), "text", 90, 1)) << name;
    EXPECT_GT(std::filesystem::file_size(mFolder.Path(name)), 0U) << name;
  }
  EXPECT_FALSE(RImage::WriteToDisk(image.get(), mFolder.Path("a.txt").c_str(), "text", 90, 1));
  EXPECT_EQ(RImage::ClassInstanceCount, mInstances + 1);
}

TEST_F(RImageDiskTest, NullTextIsNoText) {
  const auto image = MakeImage();
  EXPECT_TRUE(RImage::WriteToDisk(image.get(), mFolder.Path("a.png").c_str(), nullptr, 90, 1));
}

TEST_F(RImageDiskTest, QualityAndCompressionAreNotExchanged) {
  const auto image = MakeImage();
  const auto size = [&](const char* name, int quality, int compression) {
    EXPECT_TRUE(RImage::WriteToDisk(image.get(), mFolder.Path(name).c_str(), "", quality, compression));
    return std::filesystem::file_size(mFolder.Path(name));
  };
  EXPECT_LT(size("a.jpg", 1, 100), size("b.jpg", 100, 1));
  EXPECT_NE(size("a.tif", -1, 1), size("b.tif", -1, 0)) << "LZW and none";
}

TEST_F(RImageDiskTest, NothingToWriteFails) {
  EXPECT_FALSE(RImage::WriteToDisk(nullptr, mFolder.Path("a.png").c_str(), "", 90, 1));
  const auto image = MakeImage();
  EXPECT_FALSE(RImage::WriteToDisk(image.get(), nullptr, "", 90, 1));
  EXPECT_FALSE(std::filesystem::exists(mFolder.Path("a.png")));
}

}  // namespace

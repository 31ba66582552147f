// The Qt stream in a process without a GUI application, as in tools that only convert.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "image/RDestroyPtr.h"
#include "streams/RImageStreamQT.h"
#include "support/TestData.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes SvgFile(const std::string& body) {
  const std::string text =
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">)" + body + "</svg>";
  return {text.begin(), text.end()};
}

const Bytes kPlain = SvgFile("<rect width=\"4\" height=\"1\"/>");
const Bytes kWithText = SvgFile("<text x=\"0\" y=\"2\" font-size=\"2\">A</text>");

bool Open(const std::string& path) {
  RImageStreamQT stream;
  stream.SetFileName(path.c_str());
  const bool opened = stream.StreamOpen(nullptr);
  if (RImage* image = stream.GetImage(false)) image->Destroy(0);
  return opened;
}

TEST(RImageStreamQTNoAppTest, DrawingsAreNotLoadable) {
  const test::TemporaryFolder folder;
  EXPECT_FALSE(Open(folder.Write("a.svg", kPlain)));
  EXPECT_FALSE(Open(folder.Write("b.svg", kWithText)));
}

TEST(RImageStreamQTNoAppTest, DrawingsUnderOtherNamesAreNotLoadable) {
  const test::TemporaryFolder folder;
  for (const char* name : {"a.png", "a.tga", "a.bmp", "a.jpg", "a.tif"}) {
    EXPECT_FALSE(Open(folder.Write(name, kWithText))) << name;
  }
}

TEST(RImageStreamQTNoAppTest, NameThatQtCompletesIsNotLoadable) {
  const test::TemporaryFolder folder;
  (void)folder.Write("a.png.svg", kWithText);
  EXPECT_FALSE(Open(folder.Path("a.png"))) << "Qt tries the known suffixes behind a name that does not exist";
}

TEST(RImageStreamQTNoAppTest, CoreApplicationIsNotEnough) {
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  const QCoreApplication application(argc, argv);
  const test::TemporaryFolder folder;
  EXPECT_FALSE(Open(folder.Write("a.svg", kWithText)));
}

TEST(RImageStreamQTNoAppTest, DrawingKeepsItsPathThoughItIsNotLoaded) {
  const test::TemporaryFolder folder;
  const RDestroyPtr<RImage> image(RImageCreate());
  RImageStreamQT stream;
  stream.SetFileName(folder.Write("a.svg", kPlain).c_str());
  stream.SetImage(image.get());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_STREQ(image->GetVectorSourcePath(), folder.Path("a.svg").c_str());
}

TEST(RImageStreamQTNoAppTest, RasterPicturesAreReadAndWritten) {
  const test::TemporaryFolder folder;
  RImage* read = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(test::DataPath("png/sdl_sample.png").c_str(), read, false));
  const RDestroyPtr<RImage> image(read);
  EXPECT_TRUE(RImage::WriteToDisk(image.get(), folder.Path("a.jpg").c_str(), "", 90, 0));
  EXPECT_TRUE(Open(folder.Path("a.jpg")));
}

}  // namespace

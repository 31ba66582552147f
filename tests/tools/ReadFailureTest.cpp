// Inputs that cannot be read: what is said, and that nothing is written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

using Bytes = std::vector<unsigned char>;

class ReadFailure : public testing::Test {
 protected:
  // Converts `name`, which must fail with `reason`, and checks that an earlier output stays.
  void Refuse(const std::string& name, const std::string& reason, const test::Arguments& more = {}) const {
    const Bytes earlier = {'e', 'a', 'r', 'l', 'i', 'e', 'r'};
    const std::string output = mFolder.Write("out.png", earlier);
    const auto before = test::ListFolder(mFolder.Path(""));
    test::Arguments arguments = {"convert", mFolder.Path(name), output};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = RunTool(arguments, {.obeyPermissions = true});
    EXPECT_EQ(result.code, 3) << name;
    EXPECT_THAT(result.errors, StartsWith("rimage: " + mFolder.Path(name) + ": " + reason));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(test::ReadFile(output), earlier);
    EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
  }
  // Writes the first part of a picture file.
  void PutPart(const std::string& name, const QImage& image, double part) const {
    test::Save(image, mFolder.Path(name));
    Bytes bytes = test::ReadFile(mFolder.Path(name));
    bytes.resize(static_cast<std::size_t>(static_cast<double>(bytes.size()) * part));
    (void)mFolder.Write(name, bytes);
  }

  test::TemporaryFolder mFolder;
};

TEST_F(ReadFailure, MissingFile) { Refuse("none.png", "No such file or directory"); }

TEST_F(ReadFailure, Folder) {
  std::filesystem::create_directory(mFolder.Path("folder.png"));
  Refuse("folder.png", "this is a folder");
}

TEST_F(ReadFailure, NamedPipe) {
  ASSERT_EQ(mkfifo(mFolder.Path("pipe.png").c_str(), 0600), 0);
  Refuse("pipe.png", "this is no regular file");
}

TEST_F(ReadFailure, EmptyFile) {
  (void)mFolder.Write("empty.png", {});
  Refuse("empty.png", "the file is empty");
}

TEST_F(ReadFailure, NoPermission) {
  test::Save(test::MakeOpaque(2, 2), mFolder.Path("secret.png"));
  chmod(mFolder.Path("secret.png").c_str(), 0);
  Refuse("secret.png", "Permission denied");
}

TEST_F(ReadFailure, UnknownExtensionNamesTheKnownOnes) {
  (void)mFolder.Write("a.xyz", {1});
  Refuse("a.xyz", "no way to read the extension 'xyz' (known: bmp, ");
}

TEST_F(ReadFailure, NoExtension) {
  (void)mFolder.Write("plain", {1});
  Refuse("plain", "the name has no extension that tells how to read it (known: ");
}

TEST_F(ReadFailure, TheExtensionIsThatOfTheNameNotOfTheFolder) {
  std::filesystem::create_directory(mFolder.Path("folder.png"));
  (void)mFolder.Write("folder.png/plain", {1});
  Refuse("folder.png/plain", "the name has no extension");
}

TEST_F(ReadFailure, OtherContents) {
  for (const char* name : {"text.png", "text.jpg", "text.tif", "text.bmp", "text.tga", "text.svg"}) {
    const std::string text = "This is no picture at all, only a line of text.";
    (void)mFolder.Write(name, {text.begin(), text.end()});
    Refuse(name, "the " + std::string(name + 5) + " file is damaged or of a kind that is not read");
  }
}

class CutOff : public ReadFailure, public testing::WithParamInterface<std::pair<const char*, double>> {};

TEST_P(CutOff, IsRefused) {
  const auto& [extension, part] = GetParam();
  const std::string name = std::string("cut.") + extension;
  PutPart(name, test::MakeNoise(64, 64), part);
  Refuse(name, "");
}

INSTANTIATE_TEST_SUITE_P(All, CutOff,
                         testing::Values(std::pair{"png", 0.02}, std::pair{"png", 0.5},
                                         std::pair{"png", 0.98}, std::pair{"jpg", 0.02},
                                         std::pair{"jpg", 0.5}, std::pair{"jpg", 0.98},
                                         std::pair{"tif", 0.02}, std::pair{"tif", 0.5},
                                         std::pair{"tif", 0.98}, std::pair{"bmp", 0.02},
                                         std::pair{"bmp", 0.5}, std::pair{"bmp", 0.999}),
                         [](const auto& row) {
                           return row.param.first + std::to_string(static_cast<int>(row.param.second * 1000));
                         });

TEST_F(ReadFailure, CutOffTga) {
  test::SaveTga(test::MakeTranslucent(8, 8), mFolder.Path("cut.tga"));
  Bytes bytes = test::ReadFile(mFolder.Path("cut.tga"));
  bytes.pop_back();
  (void)mFolder.Write("cut.tga", bytes);
  Refuse("cut.tga", "");
}

// Three slices of four blocks of 16 bytes each, the last one of the last slice cut off.
TEST_F(ReadFailure, ASliceThatIsCutOff) {
  Bytes bytes = test::ReadFile(test::DataPath("dds/magnum_dxt10-bc7-3d.dds"));
  ASSERT_EQ(bytes.size(), 148U + 3 * 4 * 16);
  bytes.pop_back();
  (void)mFolder.Write("cut.dds", bytes);
  Refuse("cut.dds", "the file ends before this picture\n", {"--slice", "2"});
  EXPECT_EQ(RunTool({"convert", mFolder.Path("cut.dds"), mFolder.Path("out.png"), "--slice", "1"}).code, 0);
}

TEST_F(ReadFailure, NoPixels) {
  (void)mFolder.Write("none.tga", {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 32, 8});
  Refuse("none.tga", "the file holds no pixels");
}

TEST_F(ReadFailure, CutOffSvg) {
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='2'><rect width='4'";
  (void)mFolder.Write("cut.svg", {svg.begin(), svg.end()});
  Refuse("cut.svg", "");
}

TEST_F(ReadFailure, TheDecodersReasonIsPassedOn) {
  PutPart("cut.png", test::MakeNoise(64, 64), 0.5);
  Refuse("cut.png", "the png file is damaged or of a kind that is not read (libpng error: Read Error)");
  PutPart("cut.jpg", test::MakeNoise(64, 64), 0.5);
  Refuse("cut.jpg", "the file is cut off (Corrupt JPEG data: premature end of data segment)");
  PutPart("cut.bmp", test::MakeNoise(64, 64), 0.5);
  Refuse("cut.bmp", "the file is cut off\n");
}

TEST_F(ReadFailure, WholeBitmapsOfEveryDepthAreNotTakenForCutOff) {
  for (const auto format :
       {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB32, QImage::Format_RGB16}) {
    test::Save(test::MakeOpaque(13, 7).convertToFormat(format), mFolder.Path("whole.bmp"));
    EXPECT_EQ(RunTool({"info", mFolder.Path("whole.bmp")}).code, 0) << format;
  }
  for (const char* name : {"oiio_g01bw", "oiio_g04rle", "oiio_g08", "oiio_g16def555", "oiio_g24"}) {
    EXPECT_EQ(RunTool({"info", test::DataPath("bmp/" + std::string(name) + ".bmp")}).code, 0) << name;
  }
}

TEST_F(ReadFailure, ANewlineInTheNameStaysOnOneLine) {
  const auto result = RunTool({"info", mFolder.Path("new\nline.png")});
  EXPECT_EQ(result.errors, "rimage: " + mFolder.Path("new\\nline.png") + ": No such file or directory\n");
  const auto tab = RunTool({"info", mFolder.Path("a\ttab.png")});
  EXPECT_EQ(tab.errors, "rimage: " + mFolder.Path("a\\ttab.png") + ": No such file or directory\n");
}

TEST_F(ReadFailure, NamesThatAreNotUtf8) {
  test::Save(test::MakeOpaque(2, 2), mFolder.Path("a.png"));
  std::filesystem::rename(mFolder.Path("a.png"), mFolder.Path("\xFF.png"));
  Refuse("\xFF.png", "the name is not UTF-8 (rename the file)");
}

TEST_F(ReadFailure, NamesOfEveryOtherKindAreRead) {
  test::Save(test::MakeOpaque(2, 2), mFolder.Path("a.png"));
  for (const char* name : {"new\nline.png", "gr\xC3\xBC\xC3\x9F \xE7\x94\xBB.png", "-dash.png", "sp ace.png",
                           ":colon.png", "100%25.png", "UPPER.PNG", ".png", "two.dots.png"}) {
    std::filesystem::copy(mFolder.Path("a.png"), mFolder.Path(name));
    for (const char* locale : {"C.UTF-8", "C"}) {
      const test::ToolSettings settings{.folder = mFolder.Path(""), .environment = {{"LC_ALL", locale}}};
      const auto result = RunTool({"info", "--", name}, settings);
      EXPECT_EQ(result.code, 0) << name << result.errors;
    }
  }
}

TEST_F(ReadFailure, APictureLargerThanTheLimit) {
  test::Save(test::MakeOpaque(600, 500), mFolder.Path("large.png"));
  Refuse("large.png", "600 x 500 pixels take 1 MiB, more than the limit of 1 MiB (--max-memory raises it)",
         {"--max-memory", "1"});
  EXPECT_EQ(RunTool({"info", "--max-memory", "2", mFolder.Path("large.png")}).code, 0);
}

TEST_F(ReadFailure, PicturesAboveQtsOwnLimitAreRead) {
  QImage large(6000, 6000, QImage::Format_RGB32);
  large.fill(Qt::gray);
  test::Save(large, mFolder.Path("large.png"));
  EXPECT_EQ(RunTool({"info", mFolder.Path("large.png")}).code, 0);
  Refuse("large.png", "6000 x 6000 pixels take 137 MiB", {"--max-memory", "100"});
}

}  // namespace

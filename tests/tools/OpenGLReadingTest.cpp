// Pictures that the graphics driver decodes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;

// A display is searched for; there is none with OpenGL.
const test::ToolSettings kNoOpenGL{
    .environment = {{"PATH", "/none-such"}, {"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}};

const test::ToolSettings kNoDisplay{.environment = {{"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}};

class OpenGLReading : public testing::Test {
 protected:
  // Writes a DDS file of 4 x 4 pixels with 8 bits a channel: rows of red, green, blue and half transparent
  // white.
  std::string PutTexture() const {
    std::vector<unsigned char> bytes = {'D', 'D', 'S', ' '};
    const auto add = [&](unsigned number) {
      for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<unsigned char>(number >> shift));
    };
    for (const unsigned number : {124U, 0x100FU, 4U, 4U, 16U, 0U, 0U})
      add(number);  // size, flags, sides, row bytes
    for (int i = 0; i < 11; ++i) add(0);
    for (const unsigned number : {32U, 0x41U, 0U, 32U, 0xFF0000U, 0xFF00U, 0xFFU, 0xFF000000U}) add(number);
    for (const unsigned number : {0x1000U, 0U, 0U, 0U, 0U}) add(number);
    for (const unsigned pixel : kRows) {
      for (int x = 0; x < 4; ++x) add(pixel);
    }
    return mFolder.Write("texture.dds", bytes);
  }

  static constexpr unsigned kRows[] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0x80FFFFFF};
  test::TemporaryFolder mFolder;
};

TEST_F(OpenGLReading, TexturesAreReadWithoutADisplay) {
  const std::string texture = PutTexture();
  const auto result = RunTool({"convert", "--gpu=require", texture, mFolder.Path("out.png")}, kNoDisplay);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  const QImage read = test::Load(mFolder.Path("out.png"));
  ASSERT_EQ(read.size(), QSize(4, 4));
  for (int y = 0; y < 4; ++y) EXPECT_EQ(read.pixel(1, y), kRows[y]) << y;
}

TEST_F(OpenGLReading, WithoutOpenGLTheReasonIsTold) {
  const std::string texture = PutTexture();
  const auto result = RunTool({"info", "--gpu=require", texture}, kNoOpenGL);
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, testing::StartsWith("rimage: " + texture + ": reading it needs OpenGL: "));
  EXPECT_THAT(result.errors, HasSubstr("(rimage doctor tells more)\n"));
}

TEST_F(OpenGLReading, OtherFilesOfABatchAreReadWithoutOpenGL) {
  test::Save(test::MakeOpaque(2, 2), mFolder.Path("a.png"));
  const auto result = RunTool({"info", "--gpu=require", PutTexture(), mFolder.Path("a.png")}, kNoOpenGL);
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.output, HasSubstr("a.png: 2 x 2"));
}

// What a file needs is started once, whichever file comes first.
TEST_F(OpenGLReading, MixesWithVectorPictures) {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'>"
      "<rect width='4' height='4' fill='#FFFFFF'/></svg>";
  const std::string vector = mFolder.Write("vector.svg", {svg.begin(), svg.end()});
  const std::string texture = PutTexture();
  const std::string output = mFolder.Path("out.png");
  for (const test::Arguments& arguments :
       {test::Arguments{"info", "--gpu=require", vector, texture},
        test::Arguments{"sheet", vector, texture, output},
        test::Arguments{"convert", "--gpu=require", vector, "--merge-alpha", texture, output}}) {
    const auto result = RunTool(arguments, kNoDisplay);
    EXPECT_EQ(result.code, 0) << arguments.front() << result.errors;
  }
  EXPECT_EQ(RunTool({"compare", vector, texture}, kNoDisplay).code, 1);
  EXPECT_EQ(test::PixelsOf(test::Load(output)).front(), 0x00FFFFFFU) << "red has no blue";
}

}  // namespace

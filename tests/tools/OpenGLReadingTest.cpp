// Pictures that the graphics driver decodes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/CaseName.h"
#include "support/DdsBuilder.h"
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

TEST_F(OpenGLReading, FramesOfASequenceShareTheDriverThatWasFound) {
  const std::string texture = PutTexture();
  const auto result = RunTool(
      {"convert", "--gpu=require", texture, mFolder.Path("out.#.png"), "--frames", "1-2"}, kNoDisplay);
  ASSERT_EQ(result.code, 0) << result.errors;
  for (const char* name : {"out.1.png", "out.2.png"}) {
    const QImage read = test::Load(mFolder.Path(name));
    ASSERT_EQ(read.size(), QSize(4, 4)) << name;
    for (int y = 0; y < 4; ++y) EXPECT_EQ(read.pixel(1, y), kRows[y]) << name << ' ' << y;
  }
}

TEST_F(OpenGLReading, ASequenceWithoutOpenGLTellsTheReason) {
  const std::string texture = PutTexture();
  const auto result =
      RunTool({"convert", "--gpu=require", texture, mFolder.Path("out.#.png"), "--frames", "1-2"}, kNoOpenGL);
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, HasSubstr("texture.dds: reading it needs OpenGL: "));
}

// The colours that the driver gives are multiplied with alpha where the file's are.
TEST_F(OpenGLReading, MultipliedColoursAreKnownAsSuch) {
  // Alpha 136 and red 132 everywhere.
  const std::vector<unsigned char> block = {0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88,
                                            0x00, 0x80, 0x00, 0x80, 0,    0,    0,    0};
  const std::string texture =
      mFolder.Write("multiplied.dds", test::DdsBuilder(4, 4).Code("DXT2").LinearSize(16).Data(block).File());
  const std::string output = mFolder.Path("out.png");
  for (const char* gpu : {"--gpu=never", "--gpu=require"}) {
    ASSERT_EQ(RunTool({"convert", gpu, texture, output}, kNoDisplay).code, 0) << gpu;
    const QRgb pixel = test::Load(output).pixel(1, 1);
    EXPECT_EQ(qAlpha(pixel), 136) << gpu;
    EXPECT_NEAR(qRed(pixel), 132 * 255 / 136, 2) << gpu;
    const auto info = RunTool({"info", gpu, texture}, kNoDisplay).output;
    EXPECT_THAT(info, HasSubstr("alpha: premultiplied")) << gpu;
    EXPECT_THAT(info, HasSubstr("texture: DXT2 4 x 4 x 1")) << gpu;
  }
}

TEST_F(OpenGLReading, TheMemoryLimitHolds) {
  const std::string texture =
      mFolder.Write("large.dds", test::DdsBuilder(600, 600).Code("DXT1").RandomData(180000).File());
  const auto result = RunTool({"info", "--gpu=require", "--max-memory", "1", texture}, kNoDisplay);
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("600 x 600 pixels take 1 MiB, more than the limit of 1 MiB"));
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

// --- What a machine may lack. The tool never aborts: it says in one line what is missing, or uses the
// processor.

using Environment = std::vector<std::pair<std::string, std::string>>;

// `#` stands for the test's folder, which has a server without GLX as Xvfb, and in `vendors` driver libraries
// that are none.
struct Lack {
  const char* name;
  Environment environment;
  const char* reason;
};

const Environment kNoServer = {{"PATH", "/none-such"}};
const std::pair<std::string, std::string> kNoEgl = {"__EGL_VENDOR_LIBRARY_DIRS", "/nonexistent"};

const Lack kLacks[] = {
    {"NoDisplay", kNoServer, "Xvfb is not installed"},
    {"BadDisplay", {kNoServer[0], {"DISPLAY", ":7777"}}, "Xvfb is not installed"},
    {"DisplayWithoutANumber", {kNoServer[0], {"DISPLAY", "rubbish"}}, "Xvfb is not installed"},
    {"ServerWithoutGlxOrEgl", {{"PATH", "#:/usr/bin:/bin"}, kNoEgl}, "no OpenGL context can be made"},
    {"NoDriver", {{"LIBGL_DRIVERS_PATH", "/nonexistent"}}, "no OpenGL context can be made"},
    {"BrokenVendorLibraries", {{"LD_LIBRARY_PATH", "#vendors"}}, "Could not initialize GLX"},
    {"CrashingLibrary",
     {{"LD_PRELOAD", RIMAGE_BROKEN_GL}, {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}},
     "crashed: Aborted"},
    {"OtherPlatform", {kNoServer[0], {"QT_QPA_PLATFORM", "nosuch"}}, "Xvfb is not installed"},
};

class LackingOpenGL : public OpenGLReading, public testing::WithParamInterface<Lack> {
 protected:
  void SetUp() override {
    const std::string server = mFolder.Write("Xvfb", {});
    std::ofstream(server) << "#!/bin/sh\nexec /usr/bin/Xvfb \"$@\" -extension GLX\n";
    chmod(server.c_str(), 0755);
    const std::string vendors = mFolder.Path("vendors");
    ASSERT_EQ(mkdir(vendors.c_str(), 0755), 0);
    for (const char* library : {"libGLX_mesa.so.0", "libEGL_mesa.so.0", "libGLX_indirect.so.0"})
      std::ofstream(vendors + '/' + library) << "no library";
    mSettings = kNoDisplay;
    for (auto [name, value] : GetParam().environment) {
      if (const auto mark = value.find('#'); mark != std::string::npos)
        value.replace(mark, 1, mFolder.Path(""));
      mSettings.environment.emplace_back(name, value);
    }
  }

  test::ToolSettings mSettings;
};

TEST_P(LackingOpenGL, RequiringItFailsWithOneLineThatSaysWhy) {
  const std::string texture = PutTexture();
  const std::string output = mFolder.Path("out.png");
  const auto result = RunTool({"convert", "--gpu=require", texture, output}, mSettings);
  EXPECT_EQ(result.code, 5);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, testing::StartsWith("rimage: " + texture + ": reading it needs OpenGL: "));
  EXPECT_THAT(result.errors, HasSubstr(GetParam().reason));
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), testing::Not(testing::Contains("out.png")));
}

TEST_P(LackingOpenGL, OtherwiseTheProcessorReadsThePicture) {
  const std::string output = mFolder.Path("out.png");
  const auto result = RunTool({"convert", PutTexture(), output}, mSettings);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(test::Load(output).pixel(1, 3), kRows[3]);
}

TEST_P(LackingOpenGL, DoctorSaysThatTheProcessorIsUsed) {
  const auto result = RunTool({"doctor"}, mSettings);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, testing::ContainsRegex("Effects run  on the processor: [^\n]+\n"));
  EXPECT_THAT(result.output, HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(All, LackingOpenGL, testing::ValuesIn(kLacks), test::CaseName());

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

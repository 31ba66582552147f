// Tests of rimage key: pictures against the formula of the keyer, on every driver that the tests play.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <string>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/KeyerFormula.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

// The shim is loaded before the sanitizer's own library.
const test::ToolSettings kSettings{.environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0"}}};

constexpr double kTolerance = 1;  // of 255

struct Driver {
  const char* name;
  test::Arguments arguments;
  const char* backEnd;
  const char* form;
};

const Driver kDrivers[] = {
    {"NVPrograms", {"--gl-shim", "nv"}, "RFpKeyer_NV_fragment_program: NVIDIA's fragment programs", "0x40:"},
    {"NVCombiners",
     {"--gl-shim", "rc"},
     "RFpKeyer_NV_register_combiners2: NVIDIA's register combiners",
     "0x40:"},
    {"ATIShaders", {"--gl-shim", "ati"}, "RFpKeyer_ATI_fragment_shader: ATI's fragment shaders", "0x100:"},
    {"Plain", {"--gl-shim", "plain"}, "RFpKeyer_default: the processor", "0x40000:"}};

// Qt's pictures begin at the top.
test::Picture ToPicture(const QImage& image) {
  const QImage rgba = image.mirrored().convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  return {rgba.width(), rgba.height(), {rgba.constBits(), rgba.constBits() + rgba.sizeInBytes()}};
}

// --- The command.

class KeyCommand : public testing::Test {
 protected:
  void SetUp() override {
    test::Save(mInput, In());
    test::Save(mClean, Clean());
  }

  std::string In() const { return mFolder.Path("in.png"); }
  std::string Clean() const { return mFolder.Path("clean.png"); }
  std::string Out() const { return mFolder.Path("out.tif"); }

  // Keys the inputs into a file of premultiplied colours.
  test::ToolResult Key(test::Arguments before, const test::Arguments& inputs,
                       const test::Arguments& settings) const {
    before.emplace_back("key");
    before.insert(before.end(), inputs.begin(), inputs.end());
    before.push_back(Out());
    for (const std::string& setting : settings) before.insert(before.end(), {"--set", setting});
    return RunTool(before, kSettings);
  }

  QImage Result() const {
    return QImage(QString::fromStdString(Out())).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  }

  // The largest difference of a channel from the formula, in 255ths.
  double Difference(const test::KeyerSettings& settings) const {
    const auto found =
        test::CompareWithKey(settings, ToPicture(mInput), ToPicture(mClean), ToPicture(Result()));
    EXPECT_EQ(found.atTheStep, 0);
    return found.largest;
  }

  const QImage mInput = test::MakeNoise(61, 43);
  const QImage mClean = test::MakeOpaque(61, 43);
  test::TemporaryFolder mFolder;
};

class KeyOnDriver : public KeyCommand, public testing::WithParamInterface<Driver> {};

const test::Arguments kGreenKey = {"Key=0.1,0.7,0.2", "Threshold=60", "Softness=70", "Suppression=10"};
const test::KeyerSettings kGreen = {
    .key = {0.1, 0.7, 0.2}, .threshold = 0.6, .softness = 0.7, .suppression = 0.1};

test::Arguments Plus(test::Arguments settings, const test::Arguments& more) {
  settings.insert(settings.end(), more.begin(), more.end());
  return settings;
}

TEST_P(KeyOnDriver, ChromaKeyingIsItsFormula) {
  const auto result = Key(GetParam().arguments, {In()}, Plus({"Mode=Chroma Keying"}, kGreenKey));
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.output + result.errors, "");
  EXPECT_LE(Difference(kGreen), kTolerance);
}

TEST_P(KeyOnDriver, LuminanceKeyingIsItsFormula) {
  const auto result =
      Key(GetParam().arguments, {In()}, {"Mode=luminance keying", "Threshold=40", "Softness=20"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_LE(Difference({.mode = 1, .threshold = 0.4, .softness = 0.2}), kTolerance);
}

TEST_P(KeyOnDriver, DifferenceKeyingIsItsFormula) {
  const auto result = Key(GetParam().arguments, {In(), Clean()}, {"Mode=2", "Threshold=90", "Softness=50"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_LE(Difference({.mode = 2, .threshold = 0.9, .softness = 0.5}), kTolerance);
}

TEST_P(KeyOnDriver, MasksAndTheMatteItself) {
  const auto result =
      Key(GetParam().arguments, {In()},
          Plus(kGreenKey, {"Output=Matte", "LeftMask=10", "RightMask=20", "BottomMask=30", "TopMask=40"}));
  ASSERT_EQ(result.code, 0) << result.errors;
  test::KeyerSettings settings = kGreen;
  settings.output = 1;
  settings.mask = {0.1, 0.2, 0.3, 0.4};
  EXPECT_LE(Difference(settings), kTolerance);
  const QImage matte = Result();
  const auto alphasOf = [&](QRect part) {
    int sum = 0;
    for (const QRgb pixel : test::PixelsOf(matte.copy(part))) sum += qAlpha(pixel);
    return sum;
  };
  // 10, 20, 30 and 40 percent of 61 x 43 are 6, 12, 13 and 17 pixels.
  EXPECT_EQ(alphasOf({0, 0, 6, 43}) + alphasOf({49, 0, 12, 43}), 0);
  EXPECT_EQ(alphasOf({0, 30, 61, 13}) + alphasOf({0, 0, 61, 17}), 0);
  EXPECT_GT(alphasOf({6, 17, 43, 1}), 0);
  EXPECT_GT(alphasOf({6, 29, 43, 1}), 0);
  EXPECT_GT(alphasOf({6, 17, 1, 13}), 0);
  EXPECT_GT(alphasOf({48, 17, 1, 13}), 0);
}

TEST_P(KeyOnDriver, InvertedMattes) {
  const auto result =
      Key(GetParam().arguments, {In()}, Plus(kGreenKey, {"Output=Matte", "InvertMatte=true"}));
  ASSERT_EQ(result.code, 0) << result.errors;
  test::KeyerSettings settings = kGreen;
  settings.output = 1;
  settings.inverted = true;
  EXPECT_LE(Difference(settings), kTolerance);
}

TEST_P(KeyOnDriver, TheBackEndIsNamed) {
  test::Arguments arguments = GetParam().arguments;
  arguments.insert(arguments.end(), {"key", In(), Out(), "--explain"});
  const auto result = RunTool(arguments, kSettings);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, StartsWith("key: RImOpKeyer\n  IN_0      " + In() + ": 61 x 43 "));
  EXPECT_THAT(result.output, HasSubstr(std::string("back end  ") + GetParam().backEnd));
  EXPECT_THAT(result.output, HasSubstr(std::string("form      ") + GetParam().form));
  EXPECT_THAT(result.output, HasSubstr("result    61 x 43 RGBA, premultiplied, in "));
}

INSTANTIATE_TEST_SUITE_P(Drivers, KeyOnDriver, testing::ValuesIn(kDrivers),
                         [](const auto& row) { return row.param.name; });

// A pure colour of about the hue goes whole, and another stays.
TEST_F(KeyCommand, AGreenPixelGoesAndARedOneStays) {
  test::Save(test::MakeImage(2, {0xFF00FF00, 0xFFFF0000}), In());
  for (const char* mode : {"--gpu=auto", "--gpu=never"}) {
    const auto result =
        RunTool({"key", In(), mFolder.Path("out.png"), mode, "--set", "Mode=Chroma Keying", "--set",
                 "Key=0.1,0.7,0.2", "--set", "Softness=20", "--set", "Threshold=60"});
    ASSERT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(test::PixelsOf(test::Load(mFolder.Path("out.png"))), (test::Pixels{0, 0xFFFF0000})) << mode;
  }
}

TEST_F(KeyCommand, WithoutOpenGLTheProcessorDoesIt) {
  const auto result = RunTool({"key", In(), Out(), "--gpu=never", "--explain", "--set", "Key=0.1,0.7,0.2",
                               "--set", "Threshold=60", "--set", "Softness=70"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("not RFpKeyer_NV_fragment_program: it needs OpenGL"));
  EXPECT_THAT(result.output, HasSubstr("back end  RFpKeyer_default: the processor, which is always there"));
  test::KeyerSettings settings = kGreen;
  settings.suppression = 0;
  EXPECT_LE(Difference(settings), kTolerance);
}

TEST_F(KeyCommand, TellsWhatBetterBackEndsLack) {
  const auto result = RunTool({"--gl-shim", "plain", "key", In(), Out(), "--explain"}, kSettings);
  ASSERT_EQ(result.code, 0) << result.errors;
  for (const char* line :
       {"not RFpKeyer_NV_fragment_program: the driver does not offer GL_NV_fragment_program",
        "not RFpKeyer_NV_register_combiners2: the driver does not offer GL_NV_register_combiners2",
        "not RFpKeyer_ATI_fragment_shader: the driver does not offer GL_ATI_fragment_shader"})
    EXPECT_THAT(result.output, HasSubstr(line));
}

// The second picture is read by difference keying, and may be there in any other mode, which says so.
TEST_F(KeyCommand, TheCleanBackgroundIsOptional) {
  EXPECT_EQ(Key({}, {In()}, {}).errors, "");
  const auto unread = Key({}, {In(), Clean()}, {});
  EXPECT_EQ(unread.code, 0);
  EXPECT_EQ(unread.errors, "rimage: key: CLEAN is not read with these properties\n");
  EXPECT_EQ(Key({}, {In(), Clean()}, {"Mode=Difference Keying"}).errors, "");
  const auto result = Key({}, {In()}, {"Mode=Difference Keying"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.errors,
            "rimage: key: CLEAN is missing (RImOpKeyer reads 2 inputs with these properties)\n");
}

TEST_F(KeyCommand, GraphsTellWhatIsNotReadAsWell) {
  const std::string text = R"({"nodes": {"k": {"operator": "key", "inputs": ["in.png", "clean.png"]}}})";
  const std::string graph = mFolder.Write("graph.json", {text.begin(), text.end()});
  test::Save(test::Load(In()), mFolder.Path("in.png"));
  test::Save(test::Load(Clean()), mFolder.Path("clean.png"));
  const auto result = RunTool({"graph", graph, Out()}, kSettings);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "rimage: " + graph + ": node k: IN_1 is not read with these properties\n");
}

// Whichever of the frames is worked on first.
TEST_F(KeyCommand, SequencesTellOnceWhatIsNotRead) {
  for (const int frame : {2, 3, 4})
    test::Save(test::Load(In()), mFolder.Path("in." + std::to_string(frame) + ".png"));
  for (const test::Arguments& more : {test::Arguments{"--jobs", "2"}, {"--shard", "2/2"}, {}}) {
    test::Arguments arguments = {
        "key", mFolder.Path("in.#.png"), Clean(), mFolder.Path("out.#.png"), "--frames", "1-4", "--missing",
        "skip"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = RunTool(arguments, kSettings);
    EXPECT_EQ(result.code, 0);
    const std::string note = "rimage: key: CLEAN is not read with these properties\n";
    const auto first = result.errors.find(note);
    ASSERT_NE(first, std::string::npos) << result.errors;
    EXPECT_EQ(result.errors.find(note, first + 1), std::string::npos) << result.errors;
  }
}

TEST_F(KeyCommand, InDifferenceKeyingTheBackgroundDecidesTheSize) {
  test::Save(test::MakeOpaque(70, 20), Clean());
  ASSERT_EQ(Key({}, {In(), Clean()}, {"Mode=2", "Output=Matte", "InvertMatte=true", "Threshold=0"}).code, 0);
  const QImage result = Result();
  ASSERT_EQ(result.size(), QSize(70, 20));
  EXPECT_EQ(result.pixelColor(60, 10).alpha(), 255);
  EXPECT_EQ(result.pixelColor(61, 10).alpha(), 0) << "the picture ends here";
}

TEST_F(KeyCommand, SettingsArePercent) {
  const auto result = RunTool({"key", In(), Out(), "--explain", "--gpu=never", "--set", "Threshold=250",
                               "--set", "Softness=33.3", "--set", "TopMask=-5", "--set", "Key=0.1,0.7,0.2"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("  set       Key = 0.1 0.7 0.2, Softness = 33.3\n"))
      << "in as many digits as the node holds, which clamps what lies outside";
}

TEST_F(KeyCommand, SavedGraphsHoldTheRecordAndGiveTheSamePicture) {
  const std::string saved = mFolder.Path("saved.json");
  ASSERT_EQ(RunTool({"key", In(), Clean(), Out(), "--set", "Mode=2", "--set", "Threshold=90", "--set",
                     "Softness=30", "--set", "LeftMask=10", "--save", saved})
                .code,
            0);
  const QImage first = Result();
  const auto bytes = test::ReadFile(saved);
  EXPECT_THAT(std::string(bytes.begin(), bytes.end()), HasSubstr("\"Mode 2\""));
  ASSERT_EQ(RunTool({"graph", saved, Out(), "--save", mFolder.Path("again.json")}).code, 0);
  EXPECT_EQ(Result(), first);
  EXPECT_EQ(test::ReadFile(mFolder.Path("again.json")), bytes) << "nothing is lost on the way";
}

TEST_F(KeyCommand, WrongUse) {
  EXPECT_EQ(Key({}, {In()}, {"Mode=Chroma"}).errors,
            "rimage: key: wrong value 'Chroma' for Mode (known: Chroma Keying, Luminance Keying, Difference "
            "Keying)\n");
  EXPECT_EQ(Key({}, {In()}, {"Mode=3"}).code, 2) << "a number without a text";
  EXPECT_EQ(Key({}, {In()}, {"Output=2"}).code, 2);
  EXPECT_EQ(Key({}, {In()}, {"Key=0.1,0.7"}).code, 2);
  EXPECT_EQ(Key({}, {In()}, {"Softnes=5"}).errors,
            "rimage: key: RImOpKeyer has no property 'Softnes' (did you mean Softness?)\n");
  EXPECT_EQ(Key({}, {In(), Clean(), In()}, {}).errors,
            "rimage: key: 4 files are too many (IN [CLEAN] OUT)\n");
  EXPECT_EQ(RunTool({"key", In()}, kSettings).code, 2);
  EXPECT_EQ(RunTool({"key"}, kSettings).code, 2);
  EXPECT_EQ(Key({}, {mFolder.Path("none.png")}, {}).code, 3);
}

}  // namespace

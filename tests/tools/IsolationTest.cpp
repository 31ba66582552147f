// Decoding in processes of their own: pictures come out the same, and whatever a decoder does, the tool tells
// it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>

#include "BadDecoder.h"
#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::GoingWrong;
using test::RunTool;
using testing::HasSubstr;

class Isolation : public testing::Test {
 protected:
  // Converts a file to PNG, with and without isolation, and expects the same picture.
  void ExpectSame(const std::string& input, const Arguments& more = {}) const {
    Arguments arguments = {"convert", input, mFolder.Path("plain.png")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto plain = RunTool(arguments);
    arguments[2] = mFolder.Path("isolated.png");
    arguments.emplace_back("--isolate");
    const auto isolated = RunTool(arguments);
    EXPECT_EQ(plain.code, 0) << plain.errors;
    EXPECT_EQ(isolated.code, 0) << isolated.errors;
    EXPECT_EQ(isolated.errors, plain.errors) << input;
    EXPECT_EQ(test::Load(mFolder.Path("isolated.png")), test::Load(mFolder.Path("plain.png"))) << input;
  }

  std::string MakeInput() const {
    test::Save(test::MakeTranslucent(20, 10), mFolder.Path("in.png"));
    return mFolder.Path("in.png");
  }

  test::TemporaryFolder mFolder;
};

TEST_F(Isolation, EverySampleComesOutTheSame) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(RIMAGE_SAMPLES)) {
    const std::string extension = entry.path().extension();
    constexpr std::array kNoPictures = {".md", ".sh", ".py", ".json"};
    if (std::ranges::find(kNoPictures, extension) != kNoPictures.end()) continue;
    ExpectSame(entry.path().string());
    ++count;
  }
  EXPECT_GT(count, 15U);
}

TEST_F(Isolation, TurnedAndPremultipliedPicturesComeOutTheSame) {
  test::Save(test::MakeTranslucent(9, 5).convertToFormat(QImage::Format_RGBA8888_Premultiplied),
             mFolder.Path("in.tif"));
  ExpectSame(mFolder.Path("in.tif"), {"--resize", "12x12"});
  ExpectSame(mFolder.Path("in.tif"), {"--merge-alpha", mFolder.Path("in.tif")});
}

// What is told of a file, textures included, comes along.
TEST_F(Isolation, InfoTellsTheSame) {
  for (const char* name : {"testcard.dds", "cat.dds", "hopper.jpg", "fractal.tif", "lighthouse.svg"}) {
    const std::string path = std::string(RIMAGE_SAMPLES "/") + name;
    const auto plain = RunTool({"info", "--json", path});
    const auto isolated = RunTool({"info", "--json", "--isolate", path});
    EXPECT_EQ(isolated.code, 0) << isolated.errors;
    EXPECT_EQ(isolated.output, plain.output);
  }
}

TEST_F(Isolation, FailuresAreTheSame) {
  (void)mFolder.Write("in.png", {1, 2, 3});
  (void)mFolder.Write("in.dds", {1, 2, 3});
  test::Save(test::MakeOpaque(600, 500), mFolder.Path("large.png"));
  for (const char* name : {"in.png", "in.dds", "large.png", "none.png", "in.xyz"}) {
    const auto plain = RunTool({"info", "--max-memory", "1", mFolder.Path(name)});
    const auto isolated = RunTool({"info", "--max-memory", "1", "--isolate", mFolder.Path(name)});
    EXPECT_EQ(plain.code, 3);
    EXPECT_EQ(isolated.code, 3);
    EXPECT_EQ(isolated.errors, plain.errors);
  }
}

struct Wrong {
  const char* name;
  Arguments more;
  const char* reason;
};

class IsolatedDecoder : public Isolation, public testing::WithParamInterface<Wrong> {};

TEST_P(IsolatedDecoder, GoesWrongAlone) {
  const std::string input = MakeInput();
  const std::string output = mFolder.Write("out.tif", {'e', 'a', 'r', 'l', 'y'});
  const auto before = test::ListFolder(mFolder.Path(""));
  Arguments arguments = {"convert", input, output, "--isolate"};
  arguments.insert(arguments.end(), GetParam().more.begin(), GetParam().more.end());
  const auto result = RunTool(arguments, GoingWrong(GetParam().name));
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors,
            "rimage: " + input + ": the process that reads it gave no picture: " + GetParam().reason + "\n");
  EXPECT_EQ(test::ReadFile(output).size(), 5U);
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
}

INSTANTIATE_TEST_SUITE_P(All, IsolatedDecoder,
                         testing::Values(Wrong{"abort", {}, "crashed: Aborted"},
                                         Wrong{"crash", {}, "crashed: Segmentation fault"},
                                         Wrong{"hang", {"--max-seconds", "1"}, "no answer within 1 seconds"},
                                         Wrong{"spin", {"--max-seconds", "1"}, "no answer within 1 seconds"},
                                         Wrong{"memory", {"--max-memory", "10"}, "crashed: Aborted"}),
                         [](const auto& row) { return row.param.name; });

// Without isolation the whole program ends, but not without the reason, which was held back at that time.
TEST_F(Isolation, WithoutItTheProgramEndsWithTheReason) {
  const auto result = RunTool({"info", MakeInput()}, GoingWrong("abort"));
  EXPECT_EQ(result.code, -SIGABRT);
  EXPECT_EQ(result.errors, "the heap is damaged\n");
}

// A damaged file may ask for any amount. It is no lack of memory where there is enough for what it declares.
TEST_F(Isolation, ADecoderThatAsksForTooMuchReadsADamagedFile) {
  const std::string input = MakeInput();
  for (const Arguments& arguments : {Arguments{"info", input}, Arguments{"info", input, "--isolate"}}) {
    const auto result = RunTool(arguments, GoingWrong("beg"));
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.errors,
              "rimage: " + input + ": the png file is damaged or of a kind that is not read\n");
  }
}

// With an address space that the program fits in, and a picture that does not.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Isolation, ADecoderThatAsksForTooMuchOfTooLittleIsTold) {
  QImage large(9000, 9000, QImage::Format_Grayscale8);
  large.fill(7);
  const std::string input = mFolder.Path("large.png");
  test::Save(large, input);
  auto settings = GoingWrong("beg");
  settings.mostMemory = 1L << 30;
  const auto result = RunTool({"info", input}, settings);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors,
            "rimage: " + input + ": not enough memory (no picture can take more than 2 GiB)\n");
}
#else
TEST_F(Isolation, FindingsOfTheSanitizerAreTold) {
  const auto result = RunTool({"info", MakeInput()}, GoingWrong("overrun"));
  EXPECT_EQ(result.code, -SIGABRT);
  EXPECT_THAT(result.errors, HasSubstr("AddressSanitizer: heap-buffer-overflow"));
}
#endif

// The same decoder has room enough under a higher limit.
TEST_F(Isolation, TheLimitOfMemoryFollowsTheOption) {
  const auto result =
      RunTool({"info", MakeInput(), "--isolate", "--max-memory", "2000"}, GoingWrong("memory"));
  EXPECT_EQ(result.code, 0) << result.errors;
}

TEST_F(Isolation, OneBadPictureOfSeveralIsOneFailure) {
  const std::string input = MakeInput();
  test::Save(test::MakeOpaque(4, 4), mFolder.Path("good.bmp"));
  const auto result = RunTool({"info", input, mFolder.Path("good.bmp"), "--isolate"}, GoingWrong("crash"));
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.output, HasSubstr("good.bmp"));
  EXPECT_THAT(result.errors, HasSubstr("crashed: Segmentation fault"));
}

TEST_F(Isolation, SequencesIsolateEachPicture) {
  for (const char* name : {"in.1.png", "in.2.png"}) test::Save(test::MakeOpaque(3, 3), mFolder.Path(name));
  const Arguments arguments = {
      "convert",     mFolder.Path("in.#.png"), mFolder.Path("out.#.tif"), "--frames", "1-2", "--isolate",
      "--keep-going"};
  EXPECT_EQ(RunTool(arguments).code, 0);
  const auto result = RunTool(arguments, GoingWrong("crash"));
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("in.2.png: the process that reads it gave no picture: crashed"));
}

TEST_F(Isolation, TheDriverReadsNoTextures) {
  const auto result = RunTool({"info", RIMAGE_SAMPLES "/cat.dds", "--isolate", "--gpu=require"});
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.errors, HasSubstr("--isolate decodes on the processor (leave out --gpu=require)"));
}

}  // namespace

// Effects and stereo frames over sequences.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::RunTool;
using testing::HasSubstr;

class SequenceEffects : public testing::Test {
 protected:
  void SetUp() override {
    for (int frame = 1; frame <= kFrames; ++frame) {
      test::Save(test::MakeImage(2, {qRgb(20 * frame, 0, 0), qRgb(0, 20 * frame, 0)}), Name("a", frame));
      test::Save(test::MakeImage(2, {qRgb(0, 0, 20 * frame), qRgb(0, 0, 0)}), Name("b", frame));
    }
  }

  static constexpr int kFrames = 6;
  std::string Name(const char* stem, int frame) const {
    return mFolder.Path(fmt::format("{}.{:04}.png", stem, frame));
  }
  std::string Pattern(const char* stem) const { return mFolder.Path(fmt::format("{}.####.png", stem)); }

  // Runs a command for every frame and expects that each output is what the command makes of that frame
  // alone.
  void ExpectEachAsAlone(Arguments arguments, const std::vector<const char*>& jobs) const {
    arguments.insert(arguments.end(), {"--frames", fmt::format("1-{}", kFrames), "--jobs"});
    for (const char* count : jobs) {
      Arguments all = arguments;
      all.emplace_back(count);
      const auto result = RunTool(all);
      ASSERT_EQ(result.code, 0) << result.errors;
      EXPECT_EQ(result.output + result.errors, "");
    }
    arguments.resize(arguments.size() - 3);
    for (int frame = 1; frame <= kFrames; ++frame) {
      Arguments alone = arguments;
      for (std::string& argument : alone) {
        const std::size_t at = argument.find("####");
        if (at != std::string::npos) argument.replace(at, 4, fmt::format("{:04}", frame));
        if (argument == Name("out", frame)) argument = mFolder.Path("alone.png");
      }
      const auto result = RunTool(alone);
      ASSERT_EQ(result.code, 0) << result.errors;
      EXPECT_EQ(test::ReadFile(Name("out", frame)), test::ReadFile(mFolder.Path("alone.png"))) << frame;
    }
  }

  test::TemporaryFolder mFolder;
};

TEST_F(SequenceEffects, BlendsFrameByFrame) {
  ExpectEachAsAlone({"blend", Pattern("a"), Pattern("b"), Pattern("out"), "--set", "Preset=A + B"},
                    {"1", "2"});
}

TEST_F(SequenceEffects, BlendsFramesWithAStill) {
  ExpectEachAsAlone({"blend", Pattern("a"), Name("b", 3), Pattern("out"), "--set", "Preset=A + B"}, {"2"});
}

TEST_F(SequenceEffects, CorrectsOnTheProcessor) {
  ExpectEachAsAlone({"correct", Pattern("a"), Pattern("out"), "--set", "Gamma=2", "--gpu=never"}, {"3"});
}

TEST_F(SequenceEffects, MakesStereoFrames) {
  ExpectEachAsAlone({"stereo", Pattern("a"), Pattern("b"), Pattern("out"), "--mode", "side-by-side"}, {"2"});
}

TEST_F(SequenceEffects, EvaluatesGraphsWithPatternsInTheirInputs) {
  const std::string text =
      R"({"nodes": {"mix": {"operator": "RImOpBlend", "inputs": ["a.####.png", "b.####.png"],
                              "properties": {"Preset": "A + B"}}}})";
  const std::string graph = mFolder.Write("graph.json", {text.begin(), text.end()});
  const auto result = RunTool({"graph", graph, Pattern("out"), "--frames", "all"});
  ASSERT_EQ(result.code, 0) << result.errors;
  for (int frame = 1; frame <= kFrames; ++frame)
    EXPECT_EQ(test::Load(Name("out", frame)).pixel(0, 0), qRgb(20 * frame, 0, 20 * frame)) << frame;
}

TEST_F(SequenceEffects, MemoryStaysTheSame) {
  const auto run = [&](const char* frames) {
    return RunTool(
        {"blend", Name("a", 1), Name("b", 1), Pattern("out"), "--frames", frames},
        {.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0"}}});
  };
  const auto few = run("1-10");
  const auto many = run("1-200");
  ASSERT_EQ(few.code + many.code, 0) << few.errors << many.errors;
  EXPECT_LT(static_cast<double>(many.peakKib), 1.1 * static_cast<double>(few.peakKib));
}

TEST_F(SequenceEffects, WithoutOpenGLItIsToldForTheFirstFrame) {
  const auto result =
      RunTool({"blend", Pattern("a"), Pattern("b"), Pattern("out"), "--frames", "1-6", "--gpu=never"});
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, HasSubstr("RImOpBlend runs with OpenGL only"));
  EXPECT_THAT(result.errors, HasSubstr("1 of 6 frames failed, 0 written"));
}

}  // namespace

// The processes that work on a sequence: their memory, and their end.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

#include "SequenceFrames.h"

namespace {

namespace fs = std::filesystem;
using test::RunTool;
using test::Sequence;

TEST_F(Sequence, MemoryDoesNotGrowWithTheFrames) {
  const std::string bytes = In(1);
  MakeFrames({1});
  const auto run = [&](const char* frames) {
    return RunTool(
        {"convert", In(1), mFolder.Path("out.####.png"), "--frames", frames, "--jobs", "2"},
        {.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0"}}});
  };
  const auto few = run("1-20");
  const auto many = run("1-2000");
  ASSERT_EQ(few.code + many.code, 0) << few.errors << many.errors;
  EXPECT_EQ(Written().size(), 2000U);
  RecordProperty("few_kib", static_cast<int>(few.peakKib));
  RecordProperty("many_kib", static_cast<int>(many.peakKib));
  EXPECT_GT(few.peakKib, 1000);
  EXPECT_LT(static_cast<double>(many.peakKib), 1.1 * static_cast<double>(few.peakKib));
}

// The processes that run with a text among their arguments, but for this one.
int CountProcesses(const std::string& argument) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "cmdline");
    const std::string line((std::istreambuf_iterator<char>(file)), {});
    count += line.find(argument) != std::string::npos ? 1 : 0;
  }
  return count;
}

bool WaitFor(const std::function<bool()>& condition) {
  for (int i = 0; i < 3000 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return condition();
}

class InterruptedSequence : public Sequence, public testing::WithParamInterface<int> {};

TEST_P(InterruptedSequence, LeavesWholeFilesOnlyAndNoProcess) {
  test::Save(test::MakeNoise(600, 600), In(1));
  const std::string output = mFolder.Path("out.####.png");
  test::ToolProcess tool({"convert", In(1), output, "--resize", "1500x1500", "--compression", "100",
                          "--frames", "1-500", "--jobs", "3"});
  const auto isBusy = [&] {
    const auto names = test::ListFolder(mFolder.Path(""));
    return Written().size() >= 2 &&
           std::ranges::any_of(names, [](const auto& name) { return name.starts_with(".rimage-"); });
  };
  ASSERT_TRUE(WaitFor(isBusy));
  EXPECT_EQ(CountProcesses(output), 4);
  tool.Signal(GetParam());
  EXPECT_EQ(tool.Wait().code, GetParam() == SIGKILL ? -SIGKILL : 128 + GetParam());
  // When the first process is killed the others end by themselves, soon.
  EXPECT_TRUE(WaitFor([&] { return CountProcesses(output) == 0; }));
  EXPECT_LT(Written().size(), 400U);
  for (const std::string& name : test::ListFolder(mFolder.Path(""))) {
    EXPECT_FALSE(name.starts_with(".rimage-")) << name;
    EXPECT_FALSE(test::Load(mFolder.Path(name)).isNull()) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, InterruptedSequence, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL));

TEST_F(Sequence, ProcessesAreStoppedAlsoWhereTheCallerIgnoresInterruptions) {
  test::Save(test::MakeNoise(600, 600), In(1));
  const std::string output = mFolder.Path("out.####.png");
  test::ToolProcess tool(
      {"convert", In(1), output, "--resize", "1500x1500", "--frames", "1-500", "--jobs", "2"},
      {.ignoreInterrupt = true});
  ASSERT_TRUE(WaitFor([&] { return Written().size() >= 2; }));
  tool.Signal(SIGTERM);
  EXPECT_EQ(tool.Wait().code, 128 + SIGTERM);
  EXPECT_EQ(CountProcesses(output), 0);
}

}  // namespace

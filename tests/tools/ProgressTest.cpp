// What is told of a sequence while it is worked on.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "SequenceFrames.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::Arguments;
using test::Sequence;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(Sequence, ProgressIsToldAsJson) {
  MakeFrames({1, 2, 3, 5});
  (void)mFolder.Write("in.0003.png", {1});
  ASSERT_EQ(Convert({"--frames", "2"}).code, 0);
  fs::last_write_time(Out(2), fs::last_write_time(In(2)) + std::chrono::seconds(9));
  const auto result =
      Convert({"--frames", "1-5", "--progress=json", "--keep-going", "--resume", "--missing=skip"});
  EXPECT_EQ(result.code, 1);
  std::vector<json> events;
  std::istringstream lines(result.errors);
  for (std::string line; std::getline(lines, line);) events.push_back(json::parse(line));
  ASSERT_EQ(events.size(), 6U);
  const std::array outcomes = {"written", "up to date", "failed", "left out", "written"};
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    const json& event = events[i];
    EXPECT_EQ(event.at("event"), "frame");
    EXPECT_EQ(event.at("frame"), i + 1);
    EXPECT_EQ(event.at("output"), Out(static_cast<int>(i + 1)));
    EXPECT_EQ(event.at("outcome"), outcomes[i]);
    EXPECT_EQ(event.at("done"), i + 1);
    EXPECT_EQ(event.at("total"), 5);
    EXPECT_GT(event.at("frames_per_second"), 0);
    EXPECT_GE(event.at("seconds_left"), 0);
    EXPECT_EQ(event.contains("messages"), i == 2);
  }
  EXPECT_EQ(events[2].at("code"), 3);
  EXPECT_THAT(events[2].at("messages").at(0).get<std::string>(), StartsWith("rimage: " + In(3) + ": "));
  EXPECT_EQ(events[5].at("event"), "end");
  EXPECT_EQ(events[5].at("written"), 2);
  EXPECT_EQ(events[5].at("up to date"), 1);
  EXPECT_EQ(events[5].at("left out"), 1);
  EXPECT_EQ(events[5].at("failed"), 1);
}

TEST_F(Sequence, NoTimeIsToldBeforeAFrameIsWritten) {
  MakeFrames({2});
  const auto result = Convert({"--frames", "1-2", "--progress=json", "--missing=skip"});
  EXPECT_EQ(result.code, 0);
  std::istringstream lines(result.errors);
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_TRUE(json::parse(line).at("seconds_left").is_null()) << line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_EQ(json::parse(line).at("seconds_left"), 0) << line;
}

// A terminal that keeps what is shown on it.
class Terminal {
 public:
  Terminal() : mMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (grantpt(mMaster) != 0 || unlockpt(mMaster) != 0) return;
    mSlave =
        open(Name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);  // or the end of the tool would drop the text
  }
  ~Terminal() {
    close(mSlave);
    close(mMaster);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// False where the machine has no pseudo terminals, as in a bare change of root.
  bool IsOpen() const { return mSlave >= 0; }
  std::string Name() const { return ptsname(mMaster); }
  std::string Text() const {
    std::array<char, 65536> text;
    fcntl(mMaster, F_SETFL, O_NONBLOCK);
    const ssize_t size = read(mMaster, text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

 private:
  int mMaster;
  int mSlave = -1;
};

TEST_F(Sequence, ATerminalShowsABar) {
  MakeFrames({1, 2});
  (void)mFolder.Write("in.0003.png", {1});
  for (int frame = 4; frame < 12; ++frame) test::Save(test::MakeNoise(300, 300), In(frame));
  const Terminal terminal;
  if (!terminal.IsOpen()) GTEST_SKIP() << "no pseudo terminals";
  const Arguments more = {"--frames", "1-11", "--keep-going"};
  ASSERT_EQ(Convert(more, {.environment = {{"TERM", "xterm"}}, .errors = terminal.Name()}).code, 1);
  const std::string text = terminal.Text();
  EXPECT_THAT(text, HasSubstr("\r[                        ] 0/11\033[K"));
  EXPECT_THAT(text, testing::ContainsRegex("\r\\[####.* frames/s  0:[0-9][0-9] left  1 failed\033\\[K"));
  EXPECT_THAT(text, HasSubstr("\r\033[Krimage: " + In(3) + ": ")) << "the bar makes room for messages";
  EXPECT_THAT(text, testing::EndsWith("\r\033[Krimage: convert: 1 of 11 frames failed, 10 written\r\n"));
}

TEST_F(Sequence, OtherTerminalsAndFilesShowNone) {
  MakeFrames({1, 2});
  const Terminal terminal;
  if (!terminal.IsOpen()) GTEST_SKIP() << "no pseudo terminals";
  ASSERT_EQ(Convert({"--frames", "1-2"}, {.environment = {{"TERM", "dumb"}}, .errors = terminal.Name()}).code,
            0);
  ASSERT_EQ(Convert({"--frames", "1-2", "--progress=none"},
                    {.environment = {{"TERM", "xterm"}}, .errors = terminal.Name()})
                .code,
            0);
  EXPECT_EQ(terminal.Text(), "");
  EXPECT_EQ(Convert({"--frames", "1-2"}).errors, "");
}

}  // namespace

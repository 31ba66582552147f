#include "Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string_view>

namespace {

using Json = nlohmann::ordered_json;

// By FrameOutcome.
struct Outcome {
  const char* name;
  int FrameCounts::*count;
};
constexpr std::array<Outcome, 4> kOutcomes{{{"written", &FrameCounts::written},
                                            {"up to date", &FrameCounts::upToDate},
                                            {"left out", &FrameCounts::leftOut},
                                            {"failed", &FrameCounts::failed}}};
static_assert(static_cast<std::size_t>(FrameOutcome::kFailed) == kOutcomes.size() - 1);

const Outcome& Row(FrameOutcome outcome) { return kOutcomes.at(static_cast<std::size_t>(outcome)); }

bool IsTerminal() {
  const char* kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && kind && std::string_view(kind) != "dumb";
}

// Messages and names need not be UTF-8; JSON must be.
void SayJson(const Json& json) { Say(json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n'); }

std::string Clock(double seconds) {
  const auto whole = static_cast<long>(std::ceil(seconds));
  const long hours = whole / 3600;
  const std::string minutes = fmt::format("{}:{:02}", whole / 60 % 60, whole % 60);
  return hours > 0 ? fmt::format("{}:{:0>5}", hours, minutes) : minutes;
}

Json Lines(std::string_view text) {
  Json lines = Json::array();
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

}  // namespace

Progress::Progress(ProgressMode mode, int total)
    : mMode(mode == ProgressMode::kBar && !IsTerminal() ? ProgressMode::kNone : mode), mTotal(total) {}

Progress::~Progress() { Erase(); }

void Progress::Erase() {
  if (mIsDrawn) Say("\r\033[K");
  mIsDrawn = false;
}

double Progress::Seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
}

double Progress::FramesPerSecond() const { return mCounts.written / std::max(Seconds(), 1e-6); }

double Progress::SecondsLeft() const { return (mTotal - mCounts.Done()) / FramesPerSecond(); }

void Progress::Finish(const FinishedFrame& frame) {
  ++(mCounts.*Row(frame.outcome).count);
  if (mMode != ProgressMode::kJson) {
    if (!frame.messages.empty()) Erase();
    Say(frame.messages);
    return;
  }
  Json json = {{"event", "frame"},       {"frame", frame.number}, {"output", frame.output},
               {"done", mCounts.Done()}, {"total", mTotal},       {"outcome", Row(frame.outcome).name}};
  if (frame.outcome == FrameOutcome::kFailed) json["code"] = static_cast<int>(frame.code);
  if (!frame.messages.empty()) json["messages"] = Lines(frame.messages);
  json["frames_per_second"] = FramesPerSecond();
  json["seconds_left"] = mCounts.written > 0 ? Json(SecondsLeft()) : Json(nullptr);
  SayJson(json);
}

void Progress::Tick() {
  if (mMode != ProgressMode::kBar) return;
  constexpr std::size_t kWidth = 24;
  const auto filled = kWidth * static_cast<std::size_t>(mCounts.Done()) / static_cast<std::size_t>(mTotal);
  std::string line =
      fmt::format("\r[{:<{}}] {}/{}", std::string(filled, '#'), kWidth, mCounts.Done(), mTotal);
  if (mCounts.written > 0)
    line += fmt::format("  {:.1f} frames/s  {} left", FramesPerSecond(), Clock(SecondsLeft()));
  if (mCounts.failed > 0) line += fmt::format("  {} failed", mCounts.failed);
  Say(line + "\033[K");
  (void)std::fflush(stderr);
  mIsDrawn = true;
}

void Progress::End() {
  Erase();
  if (mMode != ProgressMode::kJson) return;
  Json json = {{"event", "end"}, {"total", mTotal}};
  for (const Outcome& row : kOutcomes) json[row.name] = mCounts.*row.count;
  json["seconds"] = Seconds();
  SayJson(json);
}

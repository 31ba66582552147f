#include "Sequence.h"

#include <fmt/format.h>
#include <poll.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "Choice.h"
#include "FrameOverlap.h"
#include "FrameWorker.h"
#include "NumberCheck.h"

namespace {

constexpr const char* kGroup = "Sequences";

const std::string* FirstPattern(const FrameNames& names) {
  const auto found = std::ranges::find_if(names.inputs, IsFramePattern);
  return found == names.inputs.end() ? nullptr : &*found;
}

// All frames of the sequence, those of other shards included.
std::vector<int> ListFrames(const SequenceOptions& options, const FrameNames& names) {
  if (options.frames != "all") {
    auto frames = ParseFrames(options.frames);
    if (frames) return *std::move(frames);
    throw WrongValue("--frames", options.frames,
                     fmt::format("such as 1-100, 1-100x2 or 1-9,20, up to {} frames; or all", kMostFrames));
  }
  const std::string* pattern = FirstPattern(names);
  if (!pattern) throw WrongValue("--frames", "all", "no input is a pattern such as in.####.png");
  auto frames = FindFrames(*pattern);
  if (frames.empty()) throw Failure(ExitCode::kRead, *pattern, "there is no such frame");
  return frames;
}

Shard ReadShard(const SequenceOptions& options) {
  if (options.shard.empty()) return {};
  const auto shard = ParseShard(options.shard);
  if (!shard) throw WrongValue("--shard", options.shard, "I/N with I from 1 to N, such as 2/8");
  return *shard;
}

// Frames are worked on in any order, so that none may read what another one writes. What replaces itself is
// no longer what it was once it is written, and cannot stand in for another frame or tell that it is done.
void CheckNames(const SequenceOptions& options, const FrameNames& names, const std::vector<int>& frames) {
  constexpr const char* kHint = "another name for OUT keeps it";
  if (frames.size() > 1 && !IsFramePattern(names.output)) {
    throw Failure(ExitCode::kUsage, names.output, "every frame would replace the one before",
                  "a name such as out.####.png has one file a frame");
  }
  const auto overlap = FindOverlap(names, frames);
  if (!overlap) return;
  if (!overlap->IsInPlace()) {
    throw Failure(
        ExitCode::kUsage, overlap->file,
        fmt::format("frame {} would replace it, and frame {} reads it", overlap->writer, overlap->reader),
        kHint);
  }
  const std::string file = Printable(overlap->file);
  if (options.missing == MissingPolicy::kHold || options.missing == MissingPolicy::kBlack) {
    throw Failure(ExitCode::kUsage, "--missing",
                  fmt::format("frames that replace themselves, such as {}, cannot stand in for others", file),
                  kHint);
  }
  if (options.resume) {
    throw Failure(
        ExitCode::kUsage, "--resume",
        fmt::format("frames that replace themselves, such as {}, do not tell whether they are done", file),
        kHint);
  }
}

// The frames of one run at work.
class SequenceRun {
 public:
  SequenceRun(const SequenceOptions& options, const FrameTask& task, std::vector<int> all)
      : mOptions(options),
        mTask(task),
        mFrames(FramesOf(all, ReadShard(options))),
        mAll(std::move(all)),
        mProgress(options.progress, static_cast<int>(mFrames.size())) {
    std::ranges::sort(mAll);
  }

  ExitCode Run() {
    mTask.prepare();
    MakeWorkers();
    while (HandOut()) Wait();
    mProgress.End();
    return Answer();
  }

 private:
  void MakeWorkers() {
    const int wanted =
        mOptions.jobs > 0 ? mOptions.jobs : static_cast<int>(std::thread::hardware_concurrency());
    const auto count = std::clamp<std::size_t>(static_cast<std::size_t>(wanted), 1, kMostChildren);
    mWorkers.resize(std::min(count, mFrames.size()));
    for (auto& worker : mWorkers) worker = MakeWorker();
  }

  std::unique_ptr<FrameWorker> MakeWorker() {
    return std::make_unique<FrameWorker>([this](int frame) { return Work(frame); });
  }

  // Runs in the worker's process.
  FrameResult Work(int frame) {
    FrameOutcome outcome = FrameOutcome::kWritten;
    const ExitCode code = RunCaught([&] {
      const FrameFiles files(mTask.names, frame, mAll, mOptions.missing);
      if (files.IsLeftOut())
        outcome = FrameOutcome::kLeftOut;
      else if (mOptions.resume && files.IsUpToDate())
        outcome = FrameOutcome::kUpToDate;
      else
        return mTask.run(files);
      return ExitCode::kOk;
    });
    return {code == ExitCode::kOk ? outcome : FrameOutcome::kFailed, code};
  }

  bool IsStopping() const { return mFailure != ExitCode::kOk && !mOptions.keepGoing; }

  // Gives the idle workers frames; false when all work is done.
  bool HandOut() {
    bool isBusy = false;
    for (auto& worker : mWorkers) {
      if (!worker->Frame() && mNext < mFrames.size() && !IsStopping()) worker->Start(mFrames[mNext++]);
      isBusy |= worker->Frame().has_value();
    }
    return isBusy;
  }

  void Wait() {
    constexpr int kTickMilliseconds = 200;
    std::vector<pollfd> waiting;
    for (const auto& worker : mWorkers)
      waiting.push_back({worker->Frame() ? worker->Descriptor() : -1, POLLIN, 0});
    mProgress.Tick();
    if (poll(waiting.data(), waiting.size(), kTickMilliseconds) < 1) return;
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents != 0) Finish(mWorkers[i]);
    }
  }

  void Finish(std::unique_ptr<FrameWorker>& worker) {
    FinishedFrame frame;
    frame.number = *worker->Frame();
    frame.output = FrameName(mTask.names.output, frame.number);
    std::string reason;
    const auto result = worker->TakeResult(reason);
    frame.messages = worker->TakeMessages();
    if (result) {
      frame.outcome = result->outcome;
      frame.code = result->code;
    } else {
      const Failure failure(ExitCode::kRead, frame.output, "the process that worked on it " + reason);
      frame.outcome = FrameOutcome::kFailed;
      frame.code = failure.Code();
      frame.messages += failure.what() + std::string("\n");
      worker = MakeWorker();
    }
    if (frame.code != ExitCode::kOk) mFailure = frame.code;
    mProgress.Finish(frame);
  }

  ExitCode Answer() const {
    const FrameCounts& counts = mProgress.Counts();
    const auto total = mFrames.size();
    if (mOptions.progress != ProgressMode::kJson) {
      if (counts.failed > 0)
        ShowNote(mTask.command,
                 fmt::format("{} of {} frames failed, {} written", counts.failed, total, counts.written));
      if (counts.leftOut > 0)
        ShowNote(mTask.command,
                 fmt::format("{} of {} frames are missing and left out", counts.leftOut, total));
    }
    const bool someFailed = counts.failed > 0 && static_cast<std::size_t>(counts.failed) < total;
    return mOptions.keepGoing && someFailed ? ExitCode::kDifferent : mFailure;
  }

  const SequenceOptions& mOptions;
  const FrameTask& mTask;
  const std::vector<int> mFrames;  // of this shard, in the order that was written
  std::vector<int> mAll;           // rising
  Progress mProgress;
  std::vector<std::unique_ptr<FrameWorker>> mWorkers;
  std::size_t mNext = 0;
  ExitCode mFailure = ExitCode::kOk;  // the last one
};

}  // namespace

void AddSequenceOptions(CLI::App& app, SequenceOptions& options) {
  static const std::map<std::string, MissingPolicy> kPolicies = {{"error", MissingPolicy::kError},
                                                                 {"skip", MissingPolicy::kSkip},
                                                                 {"hold", MissingPolicy::kHold},
                                                                 {"black", MissingPolicy::kBlack}};
  static const std::map<std::string, ProgressMode> kModes = {
      {"bar", ProgressMode::kBar}, {"json", ProgressMode::kJson}, {"none", ProgressMode::kNone}};
  CLI::Option* frames =
      app.add_option("--frames", options.frames,
                     "Run for each frame: 1-100, 1-100x2 (every second), 1-9,20 or all (that "
                     "the input finds); #### and %04d in names stand for its number");
  frames->type_name("LIST")->group(kGroup);
  const auto add = [&](CLI::Option* option) { return option->needs(frames)->group(kGroup); };
  add(app.add_option("--missing", options.missing,
                     "A frame that is missing is an error, is skipped, held from the one before, or black"))
      ->transform(OneOf(kPolicies))
      ->type_name("error|skip|hold|black")
      ->default_str("error");
  add(app.add_flag("--keep-going", options.keepGoing, "Go on with the other frames when one fails"));
  add(app.add_flag("--resume", options.resume,
                   "Leave frames alone whose outputs are newer than their inputs"));
  add(app.add_option("--jobs", options.jobs, "Processes that work side by side (1); 0: one a processor"))
      ->transform(WholeNumber(0, kMostChildren))
      ->type_name("N");
  add(app.add_option("--shard", options.shard, "Do the I-th of N parts only, as one of N jobs"))
      ->type_name("I/N");
  add(app.add_option("--progress", options.progress,
                     "Show a bar (on a terminal), JSON objects a line on standard error, or none"))
      ->transform(OneOf(kModes))
      ->type_name("bar|json|none")
      ->default_str("bar");
}

ExitCode RunFrames(const SequenceOptions& options, const FrameTask& task) {
  if (!options.IsGiven()) {
    task.prepare();
    return task.run(FrameFiles(task.names));
  }
  auto frames = ListFrames(options, task.names);
  CheckNames(options, task.names, frames);
  return SequenceRun(options, task, std::move(frames)).Run();
}

#include "Commands.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "NumberCheck.h"

void AddReadOptions(CLI::App& app, ReadOptions& options) {
  constexpr std::uint64_t kMiB = 1024ULL * 1024ULL;
  constexpr std::int64_t kMostMiB = 1LL << 20;
  app.add_flag_callback(
      "--no-orient", [&options] { options.orient = false; },
      "Leave pictures as they are stored, however their files ask to be turned");
  app.add_option_function<std::uint64_t>(
         "--max-memory", [&options](const std::uint64_t& mib) { options.maxMemory = mib * kMiB; },
         "Largest memory for the pixels of one picture, in MiB (1024)")
      ->type_name("MIB")
      ->transform(WholeNumber(1, kMostMiB));
  app.add_flag("--isolate", options.isolate,
               "Decode pictures in a process of their own, whose crash, memory and time do no harm here");
  app.add_option_function<int>(
         "--max-seconds",
         [&options](const int& seconds) {
           options.seconds = seconds;
           options.isolate = true;
         },
         "Longest time for one picture, watched over by --isolate, which this switches on (30)")
      ->type_name("S")
      ->transform(WholeNumber(1, 86400));
}

void AddWriteOptions(CLI::App& app, WriteOptions& options) {
  app.add_option("--quality", options.quality, "Quality of JPEG, 0 to 100")->transform(WholeNumber(0, 100));
  app.add_option("--compression", options.compression, "PNG: 0 to 100; TIFF: 0 none, 1 LZW")
      ->transform(WholeNumber(0, 100));
}

void Require(const CLI::App& app, const char* name, bool given) {
  if (given) return;
  throw Failure(ExitCode::kUsage, app.get_name(), fmt::format("{} is missing", name),
                fmt::format("rimage {} --help", app.get_name()));
}

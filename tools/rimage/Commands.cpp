#include "Commands.h"

#include <fmt/format.h>

void AddReadOptions(CLI::App& app, ReadOptions& options) {
  constexpr std::uint64_t kMiB = 1024ULL * 1024ULL;
  constexpr std::uint64_t kMostMiB = 1ULL << 20U;
  app.add_flag_callback(
      "--no-orient", [&options] { options.orient = false; },
      "Leave pictures as they are stored, however their files ask to be turned");
  app.add_option_function<std::uint64_t>(
         "--max-memory", [&options](const std::uint64_t& mib) { options.maxMemory = mib * kMiB; },
         "Largest memory for the pixels of one picture, in MiB (1024)")
      ->type_name("MIB")
      ->check(CLI::Range(std::uint64_t{1}, kMostMiB));
}

void Require(const CLI::App& app, const char* name, bool given) {
  if (given) return;
  throw Failure(ExitCode::kUsage, app.get_name(), fmt::format("{} is missing", name),
                fmt::format("rimage {} --help", app.get_name()));
}

// What the benchmarks share: pictures of the two usual sizes, buffers, and registration by subject.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace bench {

struct PictureSize {
  const char* name;
  int width;
  int height;
  std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

inline constexpr PictureSize kPictureSizes[] = {{"1080p", 1920, 1080}, {"4K", 3840, 2160}};

struct FreeDeleter {
  void operator()(unsigned char* memory) const { std::free(memory); }
};
using Buffer = std::unique_ptr<unsigned char, FreeDeleter>;

/// Returns memory on a page boundary, filled with bytes of no pattern, so that its pages are there before
/// timing.
inline Buffer MakeBuffer(std::size_t bytes) {
  constexpr std::size_t kPage = 4096;
  Buffer buffer(static_cast<unsigned char*>(std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage)));
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < bytes; ++i) {
    state = state * 1664525U + 1013904223U;
    buffer.get()[i] = static_cast<unsigned char>(state >> 24);
  }
  return buffer;
}

/// A thing to time. `make` is run once, outside the timing, and returns the action, or an empty one when the
/// result of the action is wrong.
using Action = std::function<void()>;
using Make = std::function<Action()>;

/// Registers `Subject/contender`, which handles `bytes` bytes an action (those of the output, unless nothing
/// new is written).
inline void Register(const std::string& subject, const std::string& contender, std::size_t bytes, Make make) {
  const auto run = [bytes, make = std::move(make)](benchmark::State& state) {
    const Action action = make();
    if (!action) {
      state.SkipWithError("wrong result");
      return;
    }
    for (auto _ : state) {
      action();
      benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
  };
  benchmark::RegisterBenchmark((subject + "/" + contender).c_str(), run)->Unit(benchmark::kMillisecond);
}

/// Registers the memory limit of a subject: a copy of `bytes` bytes.
inline void RegisterMemcpy(const std::string& subject, std::size_t bytes) {
  Register(subject, "memcpy", bytes, [bytes] {
    const std::shared_ptr<unsigned char> from = MakeBuffer(bytes);
    const std::shared_ptr<unsigned char> to = MakeBuffer(bytes);
    return [=] { std::memcpy(to.get(), from.get(), bytes); };
  });
}

/// Registers the limit of work in place: every word read, changed and written.
inline void RegisterInPlace(const std::string& subject, std::size_t bytes) {
  Register(subject, "inplace", bytes, [bytes] {
    const std::shared_ptr<unsigned char> buffer = MakeBuffer(bytes);
    return [=] {
      auto* words = reinterpret_cast<std::uint32_t*>(buffer.get());
      for (std::size_t i = 0; i < bytes / sizeof(*words); ++i) words[i] ^= 0x01020304U;
    };
  });
}

}  // namespace bench

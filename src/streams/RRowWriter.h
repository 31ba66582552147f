// The bounded writer of decoded rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

#include "streams/RByteReader.h"

/// What a row writer does to the samples of the row that it was not given (yet).
enum class kRowTail {
  kKept,       ///< they stay as they are
  kUndefined,  ///< they may change; short runs are written in blocks, which is several times as fast
};

/// Writes samples into a row that it borrows, one after the other. It counts every sample that it is given,
/// as a run-length decoder does, and drops those that do not fit the row: a run past the end writes nothing
/// there.
template <kRowTail kTail>
class RBasicRowWriter {
 public:
  RBasicRowWriter() = default;
  /// Writes to `row`, which it borrows, from its start.
  explicit RBasicRowWriter(std::span<unsigned char> row) : mRow(row) {}

  /// Samples given so far, the dropped ones included.
  std::size_t Count() const { return mCount; }
  /// Whether at least as many samples were given as the row holds.
  bool IsFull() const { return mCount >= mRow.size(); }
  /// Whether as many samples were given as the row holds.
  bool IsExact() const { return mCount == mRow.size(); }

  /// Gives a sample `count` times.
  void Fill(unsigned char sample, std::size_t count) {
    const auto rest = Rest();
    mCount += count;
    if (FitsBlock(count, rest)) {
      std::memset(rest.data(), sample, kPart);
      if (count > kPart) std::memset(rest.data() + kPart, sample, kBlock - kPart);
    } else if (!rest.empty()) {
      std::memset(rest.data(), sample, std::min(count, rest.size()));
    }
  }

  /// Takes `count` samples of `kStride` bytes each from the reader, of which the first byte counts. Returns
  /// false when there are fewer, after taking those.
  template <std::size_t kStride = 1>
  [[nodiscard]] bool Copy(RByteReader& in, std::size_t count) {
    const auto ahead = RByteReader(in).ViewUpTo(kBlock * kStride);
    const auto bytes = in.ViewUpTo(count * kStride);
    if (ahead.size() == kBlock * kStride && FitsBlock(count, Rest())) {
      CopyBlock<kStride>(ahead.data(), Rest().data(), count);
      mCount += count;
      return true;
    }
    CopyEach<kStride>(bytes, 0);
    return bytes.size() == count * kStride;
  }

  /// Takes byte `first` of each `kStride` bytes; the last stride may be cut short.
  template <std::size_t kStride>
  void CopyEach(std::span<const unsigned char> bytes, std::size_t first) {
    const auto rest = Rest();
    const std::size_t count = (bytes.size() + kStride - 1 - first) / kStride;
    const std::size_t fitting = std::min(count, rest.size());
    for (std::size_t i = 0; i < fitting; ++i) rest[i] = bytes[i * kStride + first];
    mCount += count;
  }

  /// Completes a row that is not full from the same places of `before`, which is as long as the row.
  void Finish(std::span<const unsigned char> before) {
    const auto rest = Rest();
    if (!rest.empty()) std::memcpy(rest.data(), before.last(rest.size()).data(), rest.size());
  }

 private:
  // The longest run that is written in blocks, and the part of it that is enough for most runs.
  static constexpr std::size_t kBlock = 128;
  static constexpr std::size_t kPart = 32;

  std::span<unsigned char> Rest() const { return mRow.subspan(std::min(mCount, mRow.size())); }

  static bool FitsBlock(std::size_t count, std::span<unsigned char> rest) {
    return kTail == kRowTail::kUndefined && count <= kBlock && rest.size() >= kBlock;
  }

  template <std::size_t kStride>
  static void CopyBlock(const unsigned char* from, unsigned char* to, std::size_t count) {
    if constexpr (kStride == 1) {
      for (std::size_t i = 0; i < count; i += kPart) std::memcpy(to + i, from + i, kPart);
    } else {
      const std::size_t rounded = count > kPart ? kBlock : kPart;
      for (std::size_t i = 0; i < rounded; ++i) to[i] = from[i * kStride];
    }
  }

  std::span<unsigned char> mRow;
  std::size_t mCount = 0;
};

/// The writer of rows that are completed afterwards with `Finish`.
using RRowWriter = RBasicRowWriter<kRowTail::kUndefined>;
/// The writer of rows whose other samples count.
using RKeepingRowWriter = RBasicRowWriter<kRowTail::kKept>;

// The layout of PIC picture files and the code of their scanlines. All numbers are big-endian.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "streams/RByteReader.h"
#include "streams/RRowWriter.h"

/// The first 88 bytes of a file.
struct PicHeader {
  static constexpr std::uint32_t kMagic = 0x5380F634;
  static constexpr std::size_t kSize = 88;
  static constexpr std::size_t kCommentSize = 80;
  /// The latest version of the format.
  static constexpr double kRelease = 2.6;

  std::uint32_t magic = 0;
  float version = 0;
  std::array<char, kCommentSize> comment = {};  ///< text, ended by a zero byte when it is shorter

  [[nodiscard]] bool Read(RByteReader in) {
    return in.Big(magic) && in.Big(version) && in.Bytes(comment.data(), comment.size());
  }
};

/// The 4 bytes behind the header: "PICT".
inline constexpr std::uint32_t kPicId = 0x50494354;

/// The 12 bytes behind the id, the last two of them padding; then come the channel packets.
struct PicDimensions {
  static constexpr std::size_t kSize = 12;

  std::uint16_t width = 0;   ///< pixels a scanline
  std::uint16_t height = 0;  ///< scanlines, the top one first
  float ratio = 0;           ///< width of a pixel over its height
  std::uint16_t fields = 0;  ///< which fields of a frame the file holds

  /// Fields that the file does not have keep their values.
  void Read(RByteReader in) { (void)(in.Big(width) && in.Big(height) && in.Big(ratio) && in.Big(fields)); }
};

/// How a packet's part of a scanline is coded: the low 4 bits of the packet's type. The values of a pixel
/// stand one after the other, a byte for each channel of the packet, in the order R, G, B, A.
enum kPicCode : unsigned {
  kPicRaw = 0,        ///< pixels
  kPicPureRuns = 1,   ///< a count, and a pixel that is repeated so often
  kPicMixedRuns = 2,  ///< a count below 128 before one pixel more than that; else runs, see `DecodeMixed`
};
inline constexpr unsigned kPicCodeMask = 0x0F;

/// The channels of a packet, in the order of their values.
inline constexpr std::array<std::uint8_t, 4> kPicChannelMasks = {0x80, 0x40, 0x20, 0x10};

/// The scanlines' bytes in memory, for the decoder below. Any other source has the same two operations.
class PicMemorySource {
 public:
  explicit PicMemorySource(std::span<const unsigned char> bytes) : mIn(bytes) {}

  [[nodiscard]] bool Byte(unsigned& value) {
    std::uint8_t byte = 0;
    if (!mIn.Big(byte)) return false;
    value = byte;
    return true;
  }
  /// Lends the next `size` bytes, at most `kMaxTake`, until the next call; fewer at the end.
  std::span<const unsigned char> Take(std::size_t size) { return mIn.ViewUpTo(size); }

 private:
  RByteReader mIn;
};

/// Pixels that the decoder takes at once, and the bytes of four channels of them.
inline constexpr std::size_t kPicMaxPixels = 128;
inline constexpr std::size_t kPicMaxTake = 4 * kPicMaxPixels;

/// Takes the pixels of a packet apart: the samples of each channel go to a row writer of their own.
template <class Writer>
class PicChannelRows {
 public:
  /// `rows` are those of the packet's channels, up to four, in the order of their values.
  explicit PicChannelRows(std::span<Writer* const> rows) : mRows(rows) {}

  std::size_t Channels() const { return mRows.size(); }
  void Fill(std::span<const unsigned char> values, std::size_t count) {
    for (std::size_t i = 0; i < values.size(); ++i) mRows[i]->Fill(values[i], count);
  }
  void Copy(std::span<const unsigned char> bytes) {
    switch (mRows.size()) {
      case 1:
        return Spread<1>(bytes);
      case 2:
        return Spread<2>(bytes);
      case 3:
        return Spread<3>(bytes);
      case 4:
        return Spread<4>(bytes);
      default:
        return;
    }
  }

 private:
  template <std::size_t kCount>
  void Spread(std::span<const unsigned char> bytes) {
    for (std::size_t i = 0; i < kCount; ++i) mRows[i]->template CopyEach<kCount>(bytes, i);
  }

  std::span<Writer* const> mRows;
};

/// Decodes scanlines: `Source` gives bytes as `PicMemorySource` does. The pixels of a packet go to a sink
/// with the operations of `PicChannelRows`: `Channels` tells the bytes of a pixel; `Fill` repeats a pixel, of
/// which the file's end may leave fewer bytes; `Copy` takes pixels, the last of which it may cut short. Every
/// operation returns false when the file has ended; what the bytes before its end gave has gone to the sink.
template <class Source>
class PicDecoder {
 public:
  explicit PicDecoder(Source& source) : mSource(source) {}

  /// Decodes a packet's part of a scanline of `width` pixels. A code that is not known takes nothing from the
  /// file.
  template <class Sink>
  [[nodiscard]] bool Decode(unsigned code, Sink& sink, std::size_t width) {
    switch (code) {
      case kPicRaw:
        return DecodeRaw(sink, width);
      case kPicPureRuns:
        return DecodePure(sink, width);
      case kPicMixedRuns:
        return DecodeMixed(sink, width);
      default:
        return true;
    }
  }

 private:
  template <class Sink>
  [[nodiscard]] bool DecodeRaw(Sink& sink, std::size_t width) {
    while (width > 0) {
      const std::size_t count = std::min(width, kPicMaxPixels);
      if (!Pixels(sink, count)) return false;
      width -= count;
    }
    return true;
  }

  template <class Sink>
  [[nodiscard]] bool DecodePure(Sink& sink, std::size_t width) {
    for (std::size_t x = 0; x < width;) {
      unsigned count = 0;
      if (!mSource.Byte(count)) return false;
      // Deliberate: a count is cut to the width, not to what is left of the scanline, so a run may pass its
      // end.
      if (count > width) count = width & 0xFF;
      const auto values = mSource.Take(sink.Channels());
      if (values.size() < sink.Channels()) return false;
      sink.Fill(values, count);
      x += count;
    }
    return true;
  }

  // A count of 128 is followed by the length of a run in 2 bytes, one above 128 is 127 more than the length
  // of a run.
  template <class Sink>
  [[nodiscard]] bool DecodeMixed(Sink& sink, std::size_t width) {
    for (std::size_t x = 0; x < width;) {
      unsigned count = 0;
      if (!mSource.Byte(count)) return false;
      if (count < 128) {
        ++count;
        if (!Pixels(sink, count)) return false;
      } else {
        count = count - 127;
        if (count == 1 && !LongCount(count)) return false;
        if (!Run(sink, count)) return false;
      }
      x += count;
    }
    return true;
  }

  [[nodiscard]] bool LongCount(unsigned& count) {
    unsigned high = 0;
    unsigned low = 0;
    if (!mSource.Byte(high) || !mSource.Byte(low)) return false;
    count = high << 8 | low;
    return true;
  }

  template <class Sink>
  [[nodiscard]] bool Run(Sink& sink, std::size_t count) {
    const auto values = mSource.Take(sink.Channels());
    sink.Fill(values, count);
    return values.size() == sink.Channels();
  }

  template <class Sink>
  [[nodiscard]] bool Pixels(Sink& sink, std::size_t count) {
    const auto bytes = mSource.Take(count * sink.Channels());
    sink.Copy(bytes);
    return bytes.size() == count * sink.Channels();
  }

  Source& mSource;
};

// Reader of PIC picture files.
#include "streams/RImageStreampict.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "streams/PicFormat.h"
#include "streams/RImageTarget.h"
#include "streams/RPixelRow.h"

namespace {

constexpr unsigned kColourMask = 0xE0;
constexpr std::size_t kColours = 3;
constexpr std::size_t kPixelBytes = 4;

// What stands before the scanlines of a picture.
struct PictureHeader {
  PictureHeader() : picture(pictureAllocate()) {}
  ~PictureHeader() {
    pictureDispose(&picture);
    channelPacketDispose(&packets);
  }
  PictureHeader(const PictureHeader&) = delete;
  PictureHeader& operator=(const PictureHeader&) = delete;

  RPrivatePicture* picture;
  channelPacket* packets = nullptr;
};

using OpenFile = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// What is left of an open file, read at once.
class RestOfFile {
 public:
  // Fails when the stream has no size.
  [[nodiscard]] bool Measure(std::FILE* file) {
    const std::int64_t position = ftello(file);
    if (position < 0 || fseeko(file, 0, SEEK_END) != 0) return false;
    const std::int64_t end = ftello(file);
    if (end < position || fseeko(file, position, SEEK_SET) != 0) return false;
    mFileSize = static_cast<std::uint64_t>(end);
    mSize = static_cast<std::uint64_t>(end - position);
    return true;
  }
  // Fails when memory runs out.
  [[nodiscard]] bool Read(std::FILE* file) {
    mBuffer = RAllocatePixels(mSize);
    if (!mBuffer) return false;
    mSize = std::fread(mBuffer.get(), 1, static_cast<std::size_t>(mSize), file);
    return true;
  }
  std::uint64_t FileSize() const { return mFileSize; }
  std::span<const unsigned char> Bytes() const { return {mBuffer.get(), static_cast<std::size_t>(mSize)}; }

 private:
  RPixelBuffer mBuffer;
  std::uint64_t mSize = 0;
  std::uint64_t mFileSize = 0;
};

// A packet that takes bytes from the file, and which of its channels reach the picture.
struct Block {
  unsigned code = 0;
  std::uint8_t channels = 0;
  std::uint8_t visible = 0;
};

std::size_t ChannelsOf(const Block& block) {
  return static_cast<std::size_t>(std::popcount(block.channels & (kColourMask | 0x10U)));
}

// The packets of a picture without those that take nothing: a list of millions of them must not cost time on
// every scanline. The samples of a channel that an earlier packet had already go behind the scanline, where
// nobody looks.
class BlockList {
 public:
  [[nodiscard]] bool Make(const channelPacket* packets) {
    std::size_t count = 0;
    for (const channelPacket* packet = packets; packet; packet = packet->next) ++count;
    mBlocks.reset(new (std::nothrow) Block[count]);
    unsigned seen = 0;
    for (const channelPacket* packet = packets; mBlocks && packet; packet = packet->next) {
      Add({packet->type & kPicCodeMask, packet->channel, static_cast<std::uint8_t>(packet->channel & ~seen)});
      seen |= packet->channel;
    }
    return mBlocks != nullptr;
  }
  std::span<const Block> Blocks() const { return {mBlocks.get(), mCount}; }
  // The packet that all colours come from, or null.
  const Block* Colours() const { return mColours; }

 private:
  void Add(const Block& block) {
    const bool takesBytes = block.code == kPicRaw ? ChannelsOf(block) > 0 : block.code <= kPicMixedRuns;
    if (!takesBytes) return;
    if ((block.visible & kColourMask) == kColourMask) mColours = &mBlocks[mCount];
    mBlocks[mCount++] = block;
  }

  std::unique_ptr<Block[]> mBlocks;
  std::size_t mCount = 0;
  const Block* mColours = nullptr;
};

// Takes pixels that nobody sees.
class DroppedPixels {
 public:
  explicit DroppedPixels(std::size_t channels) : mChannels(channels) {}

  std::size_t Channels() const { return mChannels; }
  void Fill(std::span<const unsigned char>, std::size_t) {}
  void Copy(std::span<const unsigned char>) {}

 private:
  std::size_t mChannels;
};

// Takes the pixels of a packet of all colours, with or without alpha, straight into a row of the picture,
// where they are opaque. Samples that it is not given are those of the row above.
class OpaqueRow {
 public:
  OpaqueRow(std::size_t channels, std::span<unsigned char> row, std::span<const unsigned char> above)
      : mChannels(channels), mRest(row), mAbove(above) {}

  std::size_t Channels() const { return mChannels; }

  void Fill(std::span<const unsigned char> values, std::size_t count) {
    if (values.size() < kColours) return FillPartly(values, count);
    const Pixel pixel = {values[0], values[1], values[2], 255};
    if (count <= kBlock && mRest.size() >= kPixelBytes * kBlock) {
      // Most runs are short, and what follows in the row is written later.
      Repeat(pixel, mRest.first<kPixelBytes * kBlock>());
      (void)Take(count);
    } else {
      Repeat(pixel, Take(count));
    }
  }

  void Copy(std::span<const unsigned char> bytes) {
    const std::size_t count = bytes.size() / mChannels;
    mChannels == kColours ? CopyWhole<3>(bytes, Take(count)) : CopyWhole<4>(bytes, Take(count));
    const auto part = bytes.subspan(count * mChannels);
    if (!part.empty()) FillPartly(part, 1);
  }

  // Completes the row.
  void Finish() { FillPartly({}, mRest.size() / kPixelBytes); }

 private:
  using Pixel = std::array<unsigned char, kPixelBytes>;
  static constexpr std::size_t kBlock = 32;

  // The next `count` pixels of the row, or those that are left of it.
  std::span<unsigned char> Take(std::size_t count) {
    const auto taken = mRest.first(std::min(kPixelBytes * count, mRest.size()));
    mRest = mRest.subspan(taken.size());
    return taken;
  }

  void FillPartly(std::span<const unsigned char> values, std::size_t count) {
    const auto above = mAbove.last(mRest.size());
    const auto out = Take(count);
    for (std::size_t i = 0; i < out.size(); i += kPixelBytes) {
      std::copy_n(&above[i], kPixelBytes, &out[i]);
      std::copy_n(values.begin(), std::min(values.size(), kColours), &out[i]);
    }
  }

  template <std::size_t kExtent>
  static void Repeat(const Pixel& pixel, std::span<unsigned char, kExtent> out) {
    for (std::size_t i = 0; i < out.size(); i += kPixelBytes) std::memcpy(&out[i], pixel.data(), kPixelBytes);
  }

  // Four bytes are moved at once, but of the last pixel, behind which there may be none.
  template <std::size_t kBytes>
  static void CopyWhole(std::span<const unsigned char> bytes, std::span<unsigned char> out) {
    for (std::size_t i = 0; i < out.size() / kPixelBytes; ++i) {
      const bool isLast = kPixelBytes * (i + 1) == out.size();
      std::memcpy(&out[kPixelBytes * i], &bytes[kBytes * i], isLast ? kColours : kPixelBytes);
      out[kPixelBytes * i + kColours] = 255;
    }
  }

  std::size_t mChannels;
  std::span<unsigned char> mRest;
  std::span<const unsigned char> mAbove;
};

// Decodes the scanlines of a picture one after the other, each beside the one above it.
class ScanlineDecoder {
 public:
  ScanlineDecoder(std::span<const unsigned char> bytes, std::size_t width)
      : mSource(bytes), mDecoder(mSource), mWidth(width) {}

  [[nodiscard]] bool Allocate(const channelPacket* packets) {
    mMemory = RAllocateZeroedPixels(kRows * mWidth);
    if (!mMemory || !mBlocks.Make(packets)) return false;
    std::memset(Row(6).data(), 255, mWidth);
    RInterleaveRow({Row(0), Row(1), Row(2), Row(6)}, FirstAbove());
    return true;
  }

  // What lies above the first row: opaque black.
  std::span<unsigned char> FirstAbove() { return {Row(7).data(), kPixelBytes * mWidth}; }

  // Decodes the next scanline into `row`; the samples that the file does not give are those of `above`, the
  // scanline before.
  void Next(std::span<unsigned char> row, std::span<const unsigned char> above) {
    if (mBlocks.Colours()) {
      NextWhole(row, above);
    } else {
      NextByChannels(row);
    }
  }

 private:
  // Red, green and blue of this scanline and of the one before, in turn, an opaque alpha, and four rows for
  // the pixels above the first one.
  static constexpr std::size_t kRows = 11;
  std::span<unsigned char> Row(std::size_t i) { return {mMemory.get() + i * mWidth, mWidth}; }

  template <class Sink>
  void Decode(const Block& block, Sink&& sink) {
    if (!mEnded) mEnded = !mDecoder.Decode(block.code, sink, mWidth);
  }

  // All colours come in one packet.
  void NextWhole(std::span<unsigned char> row, std::span<const unsigned char> above) {
    OpaqueRow pixels(ChannelsOf(*mBlocks.Colours()), row, above);
    for (const Block& block : mBlocks.Blocks()) {
      if (mEnded) break;
      if (&block == mBlocks.Colours()) {
        Decode(block, pixels);
      } else {
        Decode(block, DroppedPixels(ChannelsOf(block)));
      }
    }
    pixels.Finish();
  }

  void NextByChannels(std::span<unsigned char> row) {
    const std::size_t now = mBefore == 0 ? 3 : 0;
    std::array<RRowWriter, 4> rows = {RRowWriter(Row(now)), RRowWriter(Row(now + 1)),
                                      RRowWriter(Row(now + 2))};
    for (const Block& block : mBlocks.Blocks()) {
      if (mEnded) break;
      DecodeChannels(block, rows);
    }
    for (std::size_t i = 0; i < kColours; ++i) rows[i].Finish(Row(mBefore + i));
    mBefore = now;
    RInterleaveRow({Row(now), Row(now + 1), Row(now + 2), Row(6)}, row);
  }

  // Deliberate: alpha is decoded and dropped.
  void DecodeChannels(const Block& block, std::array<RRowWriter, 4>& rows) {
    std::array<RRowWriter, 4> dropped;
    std::array<RRowWriter*, 4> channels = {};
    std::size_t count = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const unsigned mask = kPicChannelMasks[i];
      if (block.channels & mask) channels[count++] = block.visible & mask ? &rows[i] : &dropped[i];
    }
    Decode(block, PicChannelRows<RRowWriter>(std::span(channels).first(count)));
  }

  PicMemorySource mSource;
  PicDecoder<PicMemorySource> mDecoder;
  BlockList mBlocks;
  RPixelBuffer mMemory;
  std::size_t mWidth;
  std::size_t mBefore = 3;
  bool mEnded = false;
};

bool FillImage(RImage& image, const PictureHeader& header, std::FILE* file) {
  const RPrivatePicture& picture = *header.picture;
  RestOfFile rest;
  std::span<unsigned char> pixels;
  if (!rest.Measure(file) ||
      !RInitImageTarget(image, kImageFormatRGBA, picture.width, picture.height, rest.FileSize(), pixels)) {
    return false;
  }
  // Packets of no pixels take no bytes: without an end in sight they would cost time on every scanline.
  if (pixels.empty()) return true;
  if (!rest.Read(file)) return false;
  ScanlineDecoder scanlines(rest.Bytes(), picture.width);
  if (!scanlines.Allocate(header.packets)) return false;
  const std::size_t rowBytes = kPixelBytes * picture.width;
  std::span<const unsigned char> above = scanlines.FirstAbove();
  for (; !pixels.empty(); pixels = pixels.first(pixels.size() - rowBytes)) {
    scanlines.Next(pixels.last(rowBytes), above);
    above = pixels.last(rowBytes);
  }
  return true;
}

}  // namespace

RImageStreampict::RImageStreampict() = default;

RImageStreampict::~RImageStreampict() { RunTeardown(); }

bool RImageStreampict::StreamOpen(RStreamOptions*) {
  PictureHeader header;
  const OpenFile file(pictureReadFileHeader(GetFileName(), header.picture, &header.packets), std::fclose);
  RImage* image = file ? GetImage(true) : nullptr;
  return image && FillImage(*image, header, file.get());
}

bool RImageStreampict::ReadPicture(std::FILE* file) {
  PictureHeader header;
  if (!pictureReadOpenFileHeader(file, header.picture, &header.packets)) return false;
  RImage* image = GetImage(true);
  return image && FillImage(*image, header, file);
}

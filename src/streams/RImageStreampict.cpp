// Reader of PIC picture files.
#include "streams/RImageStreampict.h"

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "streams/PicFormat.h"
#include "streams/RImageTarget.h"
#include "streams/RPixelRow.h"

namespace {

// An open picture with everything before its scanlines.
struct PictureFile {
  PictureFile() = default;
  ~PictureFile() {
    if (file) std::fclose(file);
    pictureDispose(&picture);
    channelPacketDispose(&packets);
  }
  PictureFile(const PictureFile&) = delete;
  PictureFile& operator=(const PictureFile&) = delete;

  [[nodiscard]] bool Open(const char* name) {
    picture = pictureAllocate();
    file = pictureReadFileHeader(name, picture, &packets);
    return file != nullptr;
  }

  RPrivatePicture* picture = nullptr;
  channelPacket* packets = nullptr;
  std::FILE* file = nullptr;
};

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

 private:
  void Add(const Block& block) {
    const bool hasChannels = (block.channels & 0xF0) != 0;
    const bool takesBytes = block.code == kPicRaw ? hasChannels : block.code <= kPicMixedRuns;
    if (takesBytes) mBlocks[mCount++] = block;
  }

  std::unique_ptr<Block[]> mBlocks;
  std::size_t mCount = 0;
};

// Decodes the scanlines of a picture one after the other, each beside the one above it.
class ScanlineDecoder {
 public:
  ScanlineDecoder(std::span<const unsigned char> bytes, std::size_t width)
      : mSource(bytes), mDecoder(mSource), mWidth(width) {}

  [[nodiscard]] bool Allocate(const channelPacket* packets) {
    mMemory = RAllocateZeroedPixels(7 * mWidth);
    if (!mMemory || !mBlocks.Make(packets)) return false;
    if (mWidth > 0) std::memset(Row(6).data(), 255, mWidth);
    return true;
  }

  // Decodes the next scanline: the samples that the file does not give are those of the scanline before.
  RChannelRows Next() {
    const std::size_t now = mBefore == 0 ? 3 : 0;
    std::array<RRowWriter, 4> rows = {RRowWriter(Row(now)), RRowWriter(Row(now + 1)),
                                      RRowWriter(Row(now + 2))};
    for (const Block& block : mBlocks.Blocks()) {
      if (mEnded) break;
      mEnded = !Decode(block, rows);
    }
    for (std::size_t i = 0; i < 3; ++i) rows[i].Finish(Row(mBefore + i));
    mBefore = now;
    return {Row(now), Row(now + 1), Row(now + 2), Row(6)};
  }

 private:
  // Red, green and blue of this scanline and of the one before, in turn, and an opaque alpha.
  std::span<unsigned char> Row(std::size_t i) { return {mMemory.get() + i * mWidth, mWidth}; }

  // Deliberate: alpha is decoded and dropped.
  [[nodiscard]] bool Decode(const Block& block, std::array<RRowWriter, 4>& rows) {
    std::array<RRowWriter, 4> dropped;
    std::array<RRowWriter*, 4> channels = {};
    std::size_t count = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const unsigned mask = kPicChannelMasks[i];
      if (block.channels & mask) channels[count++] = block.visible & mask ? &rows[i] : &dropped[i];
    }
    return mDecoder.Decode(block.code, std::span(channels).first(count), mWidth);
  }

  PicMemorySource mSource;
  PicDecoder<PicMemorySource, RRowWriter> mDecoder;
  BlockList mBlocks;
  RPixelBuffer mMemory;
  std::size_t mWidth;
  std::size_t mBefore = 3;
  bool mEnded = false;
};

bool FillImage(RImage& image, const PictureFile& file) {
  const std::size_t width = file.picture->width;
  const std::size_t height = file.picture->height;
  RestOfFile rest;
  std::span<unsigned char> pixels;
  if (!rest.Measure(file.file) || !RInitImageTarget(image, kImageFormatRGBA, file.picture->width,
                                                    file.picture->height, rest.FileSize(), pixels)) {
    return false;
  }
  if (!rest.Read(file.file)) return false;
  ScanlineDecoder scanlines(rest.Bytes(), width);
  if (!scanlines.Allocate(file.packets)) return false;
  for (std::size_t y = height; y-- > 0;) {
    RInterleaveRow(scanlines.Next(), pixels.subspan(4 * width * y, 4 * width));
  }
  return true;
}

}  // namespace

RImageStreampict::RImageStreampict() = default;

RImageStreampict::~RImageStreampict() { RunTeardown(); }

bool RImageStreampict::StreamOpen(RStreamOptions*) {
  PictureFile file;
  if (!file.Open(GetFileName())) return false;
  RImage* image = GetImage(true);
  return image && FillImage(*image, file);
}

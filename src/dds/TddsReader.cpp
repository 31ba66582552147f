#include "dds/TddsReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <utility>

#include "dds/DdsPixels.h"
#include "image/RImageFormat.h"
#include "rbaselib/RFile.h"

namespace {

/// The bytes that must be there. Of blocks, the header's size and that of the pixels, whichever is more,
/// which for sizes that are no multiples of four is less than their blocks take.
std::int64_t RequiredBytes(const DdsHeader& header, const DdsLayout& layout) {
  if (layout.reader != kDdsReaderBlock) return DdsSliceBytes(layout, header.width, header.height);
  const std::int64_t pixels = std::int64_t{header.width} * header.height;
  return std::max<std::int64_t>(header.pitchOrLinearSize, pixels * RSizeOf(layout.blocks).blockBytes / 16);
}

}  // namespace

int TddsReader::read(const char* path) {
  *this = {};
  RFile file;
  if (!path || !file.Open(path, "rb") || !ReadHeader(file)) return -1;
  // Deliberate: a file that cannot be decoded is a placeholder that can be recognised, not a failure.
  if (!Describe(file) || !DecodePixels(file)) MakePlaceholder();
  return MakeChannelRows() ? 0 : -1;
}

bool TddsReader::ReadHeaders(const char* path) {
  *this = {};
  RFile file;
  return path && file.Open(path, "rb") && ReadHeader(file) && Describe(file);
}

bool TddsReader::ReadHeader(RFile& file) {
  std::array<unsigned char, DdsHeader::kDataOffset> bytes{};
  if (file.Read(bytes.data(), bytes.size()) != bytes.size()) return false;
  RByteReader in(bytes);
  return in.Skip(DdsHeader::kFileOffset) && mHeader.Read(in);
}

bool TddsReader::ReadExtension(RFile& file) {
  std::array<unsigned char, DdsHeaderDx10::kSize> bytes{};
  RByteReader in(bytes);
  return file.Read(bytes.data(), bytes.size()) == bytes.size() && mExtension.Read(in);
}

bool TddsReader::Describe(RFile& file) {
  if (DdsHasExtension(mHeader) && !ReadExtension(file)) return false;
  return DdsFindLayout(mHeader, mExtension, mLayout) && FindSizes();
}

bool TddsReader::FindSizes() {
  constexpr auto kLargest = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
  if (mHeader.width < 1 || mHeader.width > kLargest || mHeader.height < 1 || mHeader.height > kLargest)
    return false;
  mWidth = static_cast<int>(mHeader.width);
  mHeight = static_cast<int>(mHeader.height);
  mChannels = mLayout.channels;
  mIsFloat = mLayout.isFloat;
  mBitsPerChannel = mIsFloat ? 32 : 8;
  if (mChannels == 4) mHeader.pixelFormat.flags |= DdsPixelFormat::kAlphaPixels;
  const int pixelBytes = mChannels * mBitsPerChannel / 8;
  if (RImageBytes(mWidth, mHeight, 1, pixelBytes) < 0) return false;
  mRowLength = mWidth * pixelBytes;
  return true;
}

bool TddsReader::DecodePixels(RFile& file) {
  mPalette.resize(std::size_t{4} * static_cast<std::size_t>(mLayout.paletteEntries));
  if (file.Read(mPalette.data(), mPalette.size()) != mPalette.size()) return false;
  mDataOffset = file.GetPosition();
  mPixels = DecodeSlice(file, mWidth, mHeight, RequiredBytes(mHeader, mLayout));
  return mPixels != nullptr;
}

RPixelBuffer TddsReader::DecodeSlice(RFile& file, int width, int height, std::int64_t required) const {
  const std::int64_t decoded = DdsDecodedBytes(mLayout, width, height);
  const std::int64_t bytes = DdsSliceBytes(mLayout, width, height);
  const std::int64_t left = file.GetSize() - file.GetPosition();
  if (required > left) return nullptr;
  const RPixelBuffer data = RAllocatePixels(static_cast<std::uint64_t>(bytes));
  RPixelBuffer pixels = RAllocatePixels(static_cast<std::uint64_t>(decoded));
  if (!data || !pixels) return nullptr;
  // Blocks at the right and lower edges may be cut off; they read as zero.
  const auto size = static_cast<std::size_t>(bytes);
  const std::size_t read = file.Read(data.get(), size);
  std::memset(data.get() + read, 0, size - read);
  return DdsDecodePixels(mLayout, mPalette, {data.get(), size}, width, height, pixels.get()) ? pixels
                                                                                             : nullptr;
}

RPixelBuffer TddsReader::ReadSlice(const char* path, std::int64_t offset, int width, int height) const {
  RFile file;
  if (mIsPlaceholder || !path || width < 1 || height < 1 || offset < 0) return nullptr;
  if (!file.Open(path, "rb") || !file.Seek(kSeekSet, mDataOffset + offset)) return nullptr;
  return DecodeSlice(file, width, height, DdsSliceBytes(mLayout, width, height));
}

void TddsReader::MakePlaceholder() {
  constexpr int kSide = 64;
  constexpr std::size_t kBytes = std::size_t{kSide} * kSide * 4;
  mIsPlaceholder = true;
  mWidth = mHeight = kSide;
  mChannels = 4;
  mBitsPerChannel = 8;
  mIsFloat = false;
  mRowLength = kSide * 4;
  mPixels = RAllocateZeroedPixels(kBytes);
  for (std::size_t i = 0; mPixels && i < kBytes; i += 4) mPixels.get()[i] = 255;
}

bool TddsReader::MakeChannelRows() {
  const int rowBytes = mRowLength / mChannels;
  mChannelPixels = RAllocatePixels(static_cast<std::uint64_t>(mRowLength));
  if (!mPixels || !mChannelPixels) return false;
  unsigned char* row = mChannelPixels.get();
  for (int c = 0; c < mChannels; ++c, row += rowBytes) mChannelRows[static_cast<std::size_t>(c)] = row;
  return true;
}

const unsigned char* TddsReader::GetRow(int y) const {
  if (!mPixels || y < 0 || y >= mHeight) return nullptr;
  return mPixels.get() + static_cast<std::size_t>(y) * static_cast<std::size_t>(mRowLength);
}

const unsigned char* const* TddsReader::GetChannelRows(int y) {
  const unsigned char* row = GetRow(y);
  if (!row) return nullptr;
  const auto channelBytes = static_cast<std::size_t>(mBitsPerChannel / 8);
  const auto channels = static_cast<std::size_t>(mChannels);
  for (std::size_t x = 0; x < static_cast<std::size_t>(mWidth); ++x) {
    for (std::size_t c = 0; c < channels; ++c, row += channelBytes)
      std::memcpy(mChannelRows[c] + x * channelBytes, row, channelBytes);
  }
  return mChannelRows.data();
}

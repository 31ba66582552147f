// Loading of DDS files.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "dds/DdsDirectFormat.h"
#include "dds/DdsFormat.h"
#include "dds/TddsReader.h"
#include "dds/nv_dds.h"
#include "image/RImageFormat.h"
#include "rbaselib/RFile.h"

namespace nv_dds {
namespace {

constexpr std::int64_t kLargestBuffer = std::numeric_limits<std::int32_t>::max();

std::int64_t TotalBytes(const std::vector<DdsLevel>& levels) {
  std::int64_t total = 0;
  for (const DdsLevel& level : levels) total += level.bytes;
  return total;
}

/// Whether a file may claim that many bytes of texture: no more than memory for everyday textures, or a few
/// times what it holds.
bool IsJustified(std::int64_t bytes, std::int64_t fileSize) {
  constexpr std::int64_t kAlways = std::int64_t{64} << 20;
  return bytes <= std::max(kAlways, 4 * fileSize);
}

/// The levels of a file, read into as few buffers as possible: fresh memory costs more than reading into it.
class LevelReader {
 public:
  LevelReader(RFile& file, std::int64_t total) : mFile(file), mRest(total) {}

  /// Reads the next level. What the file no longer holds is zero. Returns false when memory runs out.
  [[nodiscard]] bool Read(const DdsLevel& level, CSurface& surface) {
    if (level.bytes > mEnd - mPosition && !Allocate()) return false;
    unsigned char* pixels = mBuffer.get() + mPosition;
    surface.adopt(level.width, level.height, level.depth, level.bytes, false, RPixelBuffer(mBuffer, pixels));
    const auto size = static_cast<std::size_t>(level.bytes);
    const std::size_t read = mFile.Read(pixels, size);
    std::memset(pixels + read, 0, size - read);
    mPosition += level.bytes;
    mRest -= level.bytes;
    return true;
  }

 private:
  [[nodiscard]] bool Allocate() {
    mPosition = 0;
    mEnd = std::min(mRest, kLargestBuffer);
    mBuffer = RAllocatePixels(static_cast<std::uint64_t>(mEnd));
    return mBuffer != nullptr;
  }

  RFile& mFile;
  std::int64_t mRest;  // of this level and the following ones
  std::int64_t mPosition = 0;
  std::int64_t mEnd = 0;
  RPixelBuffer mBuffer;
};

/// Copies pixels of fewer than four channels into the first channels of four.
void WidenRows(const TddsReader& reader, unsigned char* pixels) {
  const auto width = static_cast<std::size_t>(reader.GetWidth());
  const auto channelBytes = static_cast<std::size_t>(reader.GetBitsPerChannel() / 8);
  const std::size_t from = channelBytes * static_cast<std::size_t>(reader.GetChannels());
  for (int y = 0; y < reader.GetHeight(); ++y) {
    const unsigned char* row = reader.GetRow(y);
    for (std::size_t x = 0; x < width; ++x, pixels += 4 * channelBytes)
      std::memcpy(pixels, row + x * from, from);
  }
}

}  // namespace

bool CDDSImage::load(const char* filename, bool flipImage) {
  clear();
  if (!filename) return false;
  const std::string path = RCleanPath(filename);
  RFile file;
  if (!file.Open(path.c_str(), "rb")) return false;
  DdsHeader header;
  DdsDirectFormat format;
  if (DdsReadDirectHeader(file, header, format)) {
    mValid = LoadTextures(file, header, format, flipImage);
    if (!mValid) clear();
    return mValid;
  }
  file.Close();
  return LoadFallback(path.c_str(), flipImage);
}

bool CDDSImage::LoadTextures(RFile& file, const DdsHeader& header, const DdsDirectFormat& format,
                             bool flipImage) {
  mFormat = format.format;
  mComponents = format.components;
  mCompressed = format.compressed;
  mCubemap = header.IsCubeMap();
  mVolume = header.IsVolume();
  std::vector<DdsLevel> levels;
  if (!DdsListLevels(header, format, levels)) return false;
  constexpr int kFaces = 6;
  const int faces = mCubemap ? kFaces : 1;
  const std::int64_t total = faces * TotalBytes(levels);
  if (!IsJustified(total, file.GetSize())) return false;
  LevelReader reader(file, total);
  for (int face = 0; face < faces; ++face) {
    CTexture& texture = mImages.emplace_back();
    for (std::size_t i = 0; i < levels.size(); ++i) {
      CSurface& surface = i == 0 ? texture : texture.add_mipmap({});
      if (!reader.Read(levels[i], surface)) return false;
      Convert(surface, format);
      if (i == 0) align_memory(&texture);
      // Deliberate: cube faces are never flipped; OpenGL takes them top row first.
      if (flipImage && !mCubemap) Flip(surface);
    }
  }
  // Upside down, the faces above and below change places.
  if (mCubemap && flipImage) std::swap(mImages[2], mImages[3]);
  return true;
}

bool CDDSImage::LoadFallback(const char* path, bool flipImage) {
  clear();
  TddsReader reader;
  if (reader.read(path) != 0) return false;
  const int channelBytes = reader.GetBitsPerChannel() / 8;
  const std::int64_t bytes = RImageBytes(reader.GetWidth(), reader.GetHeight(), 1, 4 * channelBytes);
  if (bytes < 0) return false;
  RPixelBuffer pixels = reader.GetPixels();
  if (reader.GetChannels() != 4) {
    pixels = RAllocateZeroedPixels(static_cast<std::uint64_t>(bytes));
    if (!pixels) return false;
    WidenRows(reader, pixels.get());
  }
  CTexture& texture = mImages.emplace_back();
  texture.adopt(reader.GetWidth(), reader.GetHeight(), reader.GetDepth(), static_cast<int>(bytes),
                reader.IsFloat(), std::move(pixels));
  mFormat = kTextureFormatRGBA;
  mComponents = 4;
  mPlaceholder = reader.IsPlaceholder();
  mValid = true;
  if (flipImage) Flip(texture);
  return true;
}

void CDDSImage::Convert(CSurface& surface, const DdsDirectFormat& format) {
  if (format.fileLayout == format.storedLayout) return;
  auto* pixels = reinterpret_cast<unsigned char*>(static_cast<char*>(surface));
  // The slices of a volume are one tall picture here; both layouts have one size.
  (void)RImageConvertFormat(pixels, format.storedLayout, surface.get_width(),
                            surface.get_height() * surface.get_depth(), pixels, format.fileLayout);
}

void CDDSImage::Flip(CSurface& surface) {
  flip(surface, surface.get_width(), surface.get_height(), surface.get_depth(), surface.get_size());
}

void CDDSImage::clear() {
  mFormat = kTextureFormatNone;
  mComponents = 0;
  mCompressed = mCubemap = mVolume = mValid = mPlaceholder = false;
  mImages.clear();
}

const CTexture& CDDSImage::First() const {
  static const CTexture none;
  return mImages.empty() ? none : mImages.front();
}

int CDDSImage::size_dxtc(int width, int height) const {
  const kBlockFormat* blocks = DdsBlockFormatOf(mFormat);
  const std::int64_t blockBytes = blocks ? RSizeOf(*blocks).blockBytes : 8;
  return static_cast<int>((std::int64_t{width} + 3) / 4 * ((std::int64_t{height} + 3) / 4) * blockBytes);
}

int CDDSImage::size_rgb(int width, int height) const {
  return static_cast<int>(std::int64_t{width} * mComponents * height);
}

int CDDSImage::get_line_width(int width, int bpp) {
  return static_cast<int>((std::int64_t{width} * bpp + 31) >> 3 & ~std::int64_t{3});
}

void CDDSImage::align_memory(CTexture* texture) const {
  if (mCompressed || mCubemap || mVolume) return;
  const std::int64_t pitch = (std::int64_t{texture->get_width()} * mComponents * 8 + 31) / 32 * 4;
  const int height = texture->get_height();
  const std::int64_t size = height * pitch;
  if (size == texture->get_size() || height < 1 || size > kLargestBuffer) return;
  CSurface aligned(texture->get_width(), height, texture->get_depth(), static_cast<int>(size),
                   texture->get_isFloat());
  const auto row = static_cast<std::size_t>(texture->get_size() / texture->get_depth() / height);
  for (std::size_t y = 0; aligned.get_size() > 0 && y < static_cast<std::size_t>(height); ++y)
    std::memcpy(aligned + y * static_cast<std::size_t>(pitch), *texture + y * row, row);
  static_cast<CSurface&>(*texture) = std::move(aligned);
}

void CDDSImage::GetMipMapLevels(std::vector<CSurface*>& out, CTexture& texture, int level) {
  const std::int64_t limit = std::abs(std::int64_t{level});
  const int mipmaps = texture.get_num_mipmaps();
  const auto surface = [&](int i) -> CSurface& { return i == 0 ? texture : texture.get_mipmap(i - 1); };
  const std::size_t before = out.size();
  for (int i = 0; i <= mipmaps; ++i) {
    if (surface(i).get_maxDimension() > limit) continue;
    out.push_back(&surface(i));
    if (level < 1) break;
  }
  if (out.size() == before) out.push_back(&surface(mipmaps));
}

}  // namespace nv_dds

#include "dds/RDDSDecoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>

#include "dds/DdsDirectFormat.h"
#include "dds/DdsPixels.h"
#include "dds/blocks/BlockDecoder.h"
#include "image/RImageFormat.h"
#include "rbaselib/RFile.h"

/// A decoded slice: `channels` bytes or floats a pixel, rows tightly packed.
struct RDDSDecoder::Picture {
  int width = 0;
  int height = 0;
  int channels = 4;
  bool isFloat = false;
  bool isLuminance = false;
  bool hasAlpha = true;  ///< the last channel is alpha
  RPixelBuffer pixels;

  std::size_t Count() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  int PixelBytes() const { return channels * (isFloat ? 4 : 1); }

  [[nodiscard]] bool Allocate() {
    const std::int64_t bytes = RImageBytes(width, height, 1, PixelBytes());
    if (bytes >= 0) pixels = RAllocatePixels(static_cast<std::uint64_t>(bytes));
    return pixels != nullptr;
  }

  /// Returns the pixels with four channels of `To`, or null when memory runs out.
  template <class To>
  RPixelBuffer Expand() const {
    const std::int64_t bytes = RImageBytes(width, height, 1, 4 * static_cast<int>(sizeof(To)));
    RPixelBuffer wide = bytes < 0 ? nullptr : RAllocatePixels(static_cast<std::uint64_t>(bytes));
    if (wide && isFloat) ExpandTo<float, To>(wide.get());
    if (wide && !isFloat) ExpandTo<unsigned char, To>(wide.get());
    return wide;
  }

 private:
  static void Convert(unsigned char from, unsigned char& to) { to = from; }
  static void Convert(unsigned char from, float& to) { to = static_cast<float>(from) / 255; }
  static void Convert(float from, float& to) { to = from; }
  /// What is not a number becomes 0.
  static void Convert(float from, unsigned char& to) {
    to = from > 0 ? static_cast<unsigned char>(std::lround(std::min(from, 1.0F) * 255)) : 0;
  }

  template <class From, class To>
  void ExpandTo(unsigned char* wide) const {
    const int colours = channels - (channels == 4 || hasAlpha ? 1 : 0);
    const unsigned char* source = pixels.get();
    for (std::size_t i = 0; i < Count(); ++i, source += PixelBytes(), wide += 4 * sizeof(To)) {
      std::array<From, 4> from{};
      std::memcpy(from.data(), source, static_cast<std::size_t>(PixelBytes()));
      std::array<To, 4> to{};
      for (int c = 0; c < 3; ++c) {
        const int channel = isLuminance ? 0 : c;
        if (channel < colours)
          Convert(from[static_cast<std::size_t>(channel)], to[static_cast<std::size_t>(c)]);
      }
      Convert(std::is_same_v<From, float> ? From{1} : From(255), to[3]);
      if (hasAlpha) Convert(from[static_cast<std::size_t>(channels - 1)], to[3]);
      std::memcpy(wide, to.data(), sizeof to);
    }
  }
};

namespace {

constexpr std::int64_t kBeyondFiles = std::int64_t{1} << 48;

struct KeptFormat {
  std::uint32_t format;
  const char* name;
};
constexpr std::array kKeptFormats = {
    KeptFormat{nv_dds::kTextureFormatRGB, "RGB"},
    KeptFormat{nv_dds::kTextureFormatRGBA, "RGBA"},
    KeptFormat{nv_dds::kTextureFormatLuminance, "luminance"},
    KeptFormat{nv_dds::kTextureFormatDXT1, "DXT1"},
    KeptFormat{nv_dds::kTextureFormatDXT3, "DXT3"},
    KeptFormat{nv_dds::kTextureFormatDXT5, "DXT5"},
    KeptFormat{nv_dds::kTextureFormatBC4, "BC4"},
    KeptFormat{nv_dds::kTextureFormatBC4Signed, "BC4 signed"},
    KeptFormat{nv_dds::kTextureFormatBC5, "BC5"},
    KeptFormat{nv_dds::kTextureFormatBC5Signed, "BC5 signed"},
};

/// Numbers of things that files can hold; 0 counts as 1.
constexpr int kMostLevels = 32;
constexpr int kMostTextures = 1 << 24;
int AtLeastOne(std::uint32_t number) { return static_cast<int>(std::clamp(number, 1U, 0x7FFFFFFFU)); }

const unsigned char* PixelsOf(const nv_dds::CSurface& surface) {
  return reinterpret_cast<const unsigned char*>(static_cast<const char*>(surface));
}

/// Where the slices of a texture are behind the file's headers.
class TextureMap {
 public:
  TextureMap(const DdsLayout& layout, const RDDSInfo& info) : mLayout(layout), mInfo(info) {}

  std::int64_t SliceBytes(int level) const {
    return DdsSliceBytes(mLayout, RDDSDecoder::LevelSize(mInfo.width, level),
                         RDDSDecoder::LevelSize(mInfo.height, level));
  }
  /// Returns -1 for what is beyond any file.
  std::int64_t Offset(int face, int level, int slice) const {
    const std::int64_t texture = BytesOfLevels(mInfo.levels);
    if (texture < 0 || texture > kBeyondFiles / mInfo.faces) return -1;
    return face * texture + BytesOfLevels(level) + slice * SliceBytes(level);
  }

 private:
  std::int64_t BytesOfLevels(int count) const {
    std::int64_t bytes = 0;
    for (int i = 0; i < count; ++i) {
      const std::int64_t depth = RDDSDecoder::LevelSize(mInfo.depth, i);
      if (SliceBytes(i) > kBeyondFiles / depth) return -1;
      bytes += SliceBytes(i) * depth;
    }
    return bytes;
  }

  const DdsLayout& mLayout;
  const RDDSInfo& mInfo;
};

RDDSInfo InfoOfKept(const DdsHeader& header, const DdsDirectFormat& format) {
  RDDSInfo info;
  info.format = std::ranges::find(kKeptFormats, format.format, &KeptFormat::format)->name;
  info.width = AtLeastOne(header.width);
  info.height = AtLeastOne(header.height);
  info.isVolume = header.IsVolume();
  // A depth that is no number for the loader counts as 1 there.
  info.depth = info.isVolume ? nv_dds::CDDSImage::clamp_size(static_cast<int>(header.depth)) : 1;
  info.levels = AtLeastOne(header.mipMapCount);
  info.isCubemap = header.IsCubeMap();
  info.faces = info.isCubemap ? 6 : 1;
  info.isCompressed = format.compressed;
  info.isLuminance = format.format == nv_dds::kTextureFormatLuminance;
  const bool blocksWithAlpha = format.compressed && format.components > 2;
  info.hasAlpha = blocksWithAlpha ||
                  (format.components == 4 && (header.pixelFormat.flags & DdsPixelFormat::kAlphaPixels));
  return info;
}

RDDSInfo InfoOfStored(const TddsReader& reader) {
  const DdsLayout& layout = reader.GetLayout();
  const DdsHeader& header = reader.GetHeader();
  const DdsHeaderDx10& extension = reader.GetExtension();
  RDDSInfo info;
  info.format = layout.name;
  info.width = reader.GetWidth();
  info.height = reader.GetHeight();
  info.isFloat = reader.IsFloat();
  info.isCompressed = layout.reader == kDdsReaderBlock;
  info.isLuminance = layout.isLuminance;
  info.hasAlpha = layout.hasAlpha;
  info.isPremultiplied = layout.hasAlpha && (layout.code == kDdsCodeDXT2 || layout.code == kDdsCodeDXT4 ||
                                             extension.IsPremultiplied());
  info.isVolume =
      header.IsVolume() || (extension.resourceDimension == DdsHeaderDx10::kDimension3D && header.depth > 0);
  info.isCubemap = header.IsCubeMap() || (extension.miscFlag & DdsHeaderDx10::kMiscCubeMap);
  info.depth = info.isVolume ? AtLeastOne(header.depth) : 1;
  info.levels = std::min(AtLeastOne(header.mipMapCount), kMostLevels);
  info.faces = std::min(AtLeastOne(extension.arraySize), kMostTextures) * (info.isCubemap ? 6 : 1);
  return info;
}

RDDSInfo InfoOfPlaceholder(const TddsReader& reader) {
  RDDSInfo info;
  info.format = "placeholder";
  info.width = reader.GetWidth();
  info.height = reader.GetHeight();
  info.hasAlpha = true;
  info.depth = info.levels = info.faces = 1;
  return info;
}

}  // namespace

int RDDSDecoder::LevelSize(int size, int level) { return std::max(size >> std::min(level, 31), 1); }

bool RDDSDecoder::ReadInfo(const char* path, RDDSInfo& info) {
  if (!path) return false;
  const std::string clean = RCleanPath(path);
  DdsHeader header;
  DdsDirectFormat format;
  RFile file;
  if (!file.Open(clean.c_str(), "rb")) return false;
  if (DdsReadDirectHeader(file, header, format)) {
    std::vector<DdsLevel> levels;
    if (!DdsListLevels(header, format, levels)) return false;
    info = InfoOfKept(header, format);
    return true;
  }
  file.Close();
  TddsReader reader;
  if (!reader.ReadHeaders(clean.c_str())) return false;
  info = InfoOfStored(reader);
  return true;
}

bool RDDSDecoder::Load(const char* path) {
  *this = {};
  if (!path) return false;
  mPath = RCleanPath(path);
  DdsHeader header;
  DdsDirectFormat format;
  RFile file;
  if (!file.Open(mPath.c_str(), "rb")) return false;
  mIsKept = DdsReadDirectHeader(file, header, format);
  file.Close();
  if (mIsKept) {
    if (!mImage.load(mPath.c_str(), false)) return false;
    mInfo = InfoOfKept(header, format);
  } else {
    if (mReader.read(mPath.c_str()) != 0) return false;
    mInfo = mReader.IsPlaceholder() ? InfoOfPlaceholder(mReader) : InfoOfStored(mReader);
  }
  return true;
}

bool RDDSDecoder::Decode(int face, int level, int slice, Picture& picture) const {
  if (face < 0 || face >= mInfo.faces || level < 0 || level >= mInfo.levels) return false;
  if (slice < 0 || slice >= LevelSize(mInfo.depth, level)) return false;
  picture.width = LevelSize(mInfo.width, level);
  picture.height = LevelSize(mInfo.height, level);
  picture.isFloat = mInfo.isFloat;
  picture.isLuminance = mInfo.isLuminance;
  picture.hasAlpha = mInfo.hasAlpha;
  if (mIsKept) return DecodeKept(mImage.get_image(face), level, slice, picture);
  picture.channels = mReader.GetChannels();
  picture.pixels = mReader.GetPixels();
  const bool isFirst = face == 0 && level == 0 && slice == 0;
  return isFirst || DecodeStored(face, level, slice, picture);
}

bool RDDSDecoder::DecodeKept(const nv_dds::CTexture& texture, int level, int slice, Picture& picture) const {
  const nv_dds::CSurface& surface = level == 0 ? texture : texture.get_mipmap(level - 1);
  const std::span<const unsigned char> all(PixelsOf(surface), static_cast<std::size_t>(surface.get_size()));
  if (const kBlockFormat* blocks = DdsBlockFormatOf(mImage.get_format())) {
    const auto bytes = static_cast<std::size_t>(RBlockGridBytes(*blocks, picture.width, picture.height));
    return picture.Allocate() &&
           RDecodeBlockImage(*blocks, all.subspan(static_cast<std::size_t>(slice) * bytes, bytes),
                             picture.width, picture.height, picture.pixels.get());
  }
  picture.channels = mImage.get_components();
  const std::size_t row =
      static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.channels);
  const auto height = static_cast<std::size_t>(picture.height);
  // The rows of a flat texture's largest level may have been padded; then its other slices are gone.
  const bool isTight = all.size() == row * height * static_cast<std::size_t>(surface.get_depth());
  const std::size_t stride =
      isTight
          ? row
          : static_cast<std::size_t>(nv_dds::CDDSImage::get_line_width(picture.width, 8 * picture.channels));
  if (!picture.Allocate()) return false;
  for (std::size_t y = 0; y < height; ++y) {
    const auto source = all.subspan((static_cast<std::size_t>(slice) * height + y) * stride, row);
    std::memcpy(picture.pixels.get() + y * row, source.data(), source.size());
  }
  return true;
}

bool RDDSDecoder::DecodeStored(int face, int level, int slice, Picture& picture) const {
  const TextureMap map(mReader.GetLayout(), mInfo);
  picture.pixels =
      mReader.ReadSlice(mPath.c_str(), map.Offset(face, level, slice), picture.width, picture.height);
  return picture.pixels != nullptr;
}

RPixelBuffer RDDSDecoder::DecodeBytes(int face, int level, int slice) const {
  Picture picture;
  return Decode(face, level, slice, picture) ? picture.Expand<unsigned char>() : nullptr;
}

RPixelBuffer RDDSDecoder::DecodeFloats(int face, int level, int slice) const {
  Picture picture;
  return Decode(face, level, slice, picture) ? picture.Expand<float>() : nullptr;
}

#include "streams/TgaCodec.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

#include "image/RImageFormat.h"
#include "image/RPixelKernels.h"
#include "rbaselib/RFile.h"
#include "streams/RImageTarget.h"
#include "streams/TgaFormat.h"

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

FilePtr OpenUnbuffered(const char* path) {
  FilePtr file(WideCharFileOpen(path, "rb"));
  // There are two reads, the header's and that of all pixels: a buffer between would only cost a copy.
  if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

[[nodiscard]] bool ReadBytes(std::FILE* file, std::span<unsigned char> destination) {
  return std::fread(destination.data(), 1, destination.size(), file) == destination.size();
}

[[nodiscard]] bool ReadHeader(std::FILE* file, TgaHeader& header) {
  std::array<unsigned char, TgaHeader::kSize> bytes;
  if (!ReadBytes(file, bytes)) return false;
  RByteReader reader(bytes);
  return header.Read(reader);
}

// Fails when fewer than `pixelBytes` bytes follow the header. Deliberate: pixels count from right behind the
// header, identification text and colour map are not skipped.
[[nodiscard]] bool SeekToPixels(std::FILE* file, std::int64_t pixelBytes) {
  constexpr auto kPixels = static_cast<long>(TgaHeader::kSize);
  return std::fseek(file, 0, SEEK_END) == 0 && std::ftell(file) - kPixels >= pixelBytes &&
         std::fseek(file, kPixels, SEEK_SET) == 0;
}

// Deliberate: the alpha of a 16-bit pixel is 0 or 128, its attribute bit where it stands; it is not spread to
// 255.
void ExpandA1R5G5B5(std::span<const unsigned char> source, std::span<unsigned char> bgra) {
  for (std::size_t i = 0; i < source.size() / 2; ++i) {
    const unsigned low = source[2 * i];
    const unsigned high = source[2 * i + 1];
    bgra[4 * i + 0] = static_cast<unsigned char>(low * 8);
    bgra[4 * i + 1] = static_cast<unsigned char>(((high & 3) * 64) | ((low >> 2) & 56));
    bgra[4 * i + 2] = static_cast<unsigned char>((high & 252) * 2);
    bgra[4 * i + 3] = static_cast<unsigned char>(high & 128);
  }
}

[[nodiscard]] bool Read16(std::FILE* file, const TgaHeader& header, std::size_t bytes, RImage& image) {
  const RPixelBuffer words = RAllocatePixels(bytes);
  if (!words || !ReadBytes(file, {words.get(), bytes})) return false;
  std::span<unsigned char> pixels;
  if (!RInitImageTarget(image, kImageFormatBGRA, header.width, header.height, pixels)) return false;
  ExpandA1R5G5B5({words.get(), bytes}, pixels);
  return true;
}

[[nodiscard]] bool ReadPixels(std::FILE* file, const TgaHeader& header, RImage& image) {
  const int pixelSize = header.depth / 8;
  const std::int64_t bytes = RImageBytes(header.width, header.height, 1, pixelSize);
  if (bytes < 0 || !SeekToPixels(file, bytes)) return false;
  if (pixelSize == 2) return Read16(file, header, static_cast<std::size_t>(bytes), image);
  const kImageFormat format = pixelSize == 4 ? kImageFormatBGRA : kImageFormatBGR;
  std::span<unsigned char> pixels;
  return RInitImageTarget(image, format, header.width, header.height, pixels) && ReadBytes(file, pixels);
}

// --- Writing.

struct FileLayout {
  kImageFormat format;
  std::uint8_t depth;       // bits a pixel; 0: not written
  std::uint8_t descriptor;  // 8: eight alpha bits; rows from the bottom left in any case
  // Brings pixels to the file's order, BGR or BGRA; null: they are in that order already.
  RPixelKernels::Convert RPixelKernels::*kernel;
};

constexpr std::array kFileLayouts{
    FileLayout{kImageFormatUndefined, 0, 0, nullptr},
    FileLayout{kImageFormatEmpty, 0, 0, nullptr},
    FileLayout{kImageFormatRGBA, 32, 8, &RPixelKernels::swap02},
    FileLayout{kImageFormatRGB, 24, 0, &RPixelKernels::reverse3},
    FileLayout{kImageFormatBGRA, 32, 8, nullptr},
    FileLayout{kImageFormatBGR, 24, 0, nullptr},
    FileLayout{kImageFormatRGB555, 0, 0, nullptr},
    FileLayout{kImageFormatABGR, 32, 8, &RPixelKernels::rotate},
    FileLayout{kImageFormatARGB, 32, 8, &RPixelKernels::reverse},
};
static_assert([] {
  for (std::size_t i = 0; i < kFileLayouts.size(); ++i) {
    const FileLayout& row = kFileLayouts[i];
    if (row.format != static_cast<kImageFormat>(i)) return false;
    if (row.depth != 0 && row.depth != 8 * kBytesPerPixel[i]) return false;
  }
  return kFileLayouts.size() == kBytesPerPixel.size();
}());

// A block fits the cache, so that the file system copies what the conversion has just left there.
constexpr std::size_t kBlockPixels = 16384;

[[nodiscard]] bool WritePixels(RFile& file, const FileLayout& layout, std::span<const unsigned char> pixels) {
  if (!layout.kernel) return file.Write(pixels.data(), pixels.size()) == pixels.size();
  const RPixelKernels::Convert convert = RGetPixelKernels().*layout.kernel;
  const std::size_t pixelSize = layout.depth / 8U;
  std::array<unsigned char, 4 * kBlockPixels> block;
  while (!pixels.empty()) {
    const auto part = pixels.first(std::min(pixels.size(), pixelSize * kBlockPixels));
    convert(block.data(), part.data(), part.size() / pixelSize);
    if (file.Write(block.data(), part.size()) != part.size()) return false;
    pixels = pixels.subspan(part.size());
  }
  return true;
}

bool Fits(int side) { return side >= 0 && side <= TgaHeader::kMaximumSide; }

}  // namespace

kTgaResult TgaRead(const char* path, RImage& image) {
  const FilePtr file = OpenUnbuffered(path);
  TgaHeader header;
  if (!file || !ReadHeader(file.get(), header)) return kTgaFailed;
  if (header.imageType != TgaHeader::kTrueColour) return kTgaRefused;
  if (header.depth != 16 && header.depth != 24 && header.depth != 32) return kTgaRefused;
  return ReadPixels(file.get(), header, image) ? kTgaRead : kTgaFailed;
}

bool TgaWrite(const char* path, RImage& image) {
  const FileLayout& layout = kFileLayouts[static_cast<std::size_t>(image.GetFormat())];
  const int width = image.GetWidth();
  const int height = image.GetHeight();
  if (layout.depth == 0 || !Fits(width) || !Fits(height)) return false;
  const std::int64_t bytes = RImageBytes(width, height, 1, layout.depth / 8);
  if (bytes < 0 || (bytes > 0 && !image.HoldsPixels(1))) return false;

  TgaHeader header;
  header.imageType = TgaHeader::kTrueColour;
  header.width = static_cast<std::uint16_t>(width);
  header.height = static_cast<std::uint16_t>(height);
  header.depth = layout.depth;
  header.descriptor = layout.descriptor;
  const auto start = header.Bytes();
  RFile file;
  if (!file.Open(path, "wb") || file.Write(start.data(), start.size()) != start.size()) return false;
  const bool written = WritePixels(file, layout, {image.GetImageBits(), static_cast<std::size_t>(bytes)});
  return file.Close() && written;
}

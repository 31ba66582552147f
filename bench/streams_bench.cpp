// Reading and writing through the Qt stream: the own TGA codec beside other libraries, and what the stream
// adds to a bare QImage for the formats that Qt decodes.
#include <FreeImage.h>
#include <IL/il.h>
#include <benchmark/benchmark.h>

#include <QImage>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"

namespace {

using Bytes = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImage>;

constexpr int kSide = 2048;

// A folder for the files of one run.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "rimage-bench-XXXXXX").string();
    mPath = mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(mPath); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string Path(const std::string& name) const { return (mPath / name).string(); }

 private:
  std::filesystem::path mPath;
};

const Folder& Files() {
  static const Folder folder;
  return folder;
}

// Smooth colours with noise in the low bits, as photographs have them.
Bytes MakePixels(int width, int height, int pixelSize) {
  Bytes pixels;
  unsigned noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      noise = noise * 1664525U + 1013904223U;
      for (int c = 0; c < pixelSize; ++c) {
        pixels.push_back(
            static_cast<unsigned char>((x * (c + 1) + y * 3) / 16 + static_cast<int>(noise >> (26 + c))));
      }
    }
  }
  return pixels;
}

ImagePtr MakeImage(kImageFormat format, int pixelSize) {
  ImagePtr image(RImageCreate());
  (void)image->Init(format, kSide, kSide, 0, 0, false, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                    RImage::kIncarnationRaw);
  Bytes pixels = MakePixels(kSide, kSide, pixelSize);
  (void)image->SetImageBits(pixels.data());
  return image;
}

void SetPixelBytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
}

// --- TGA.

Bytes TgaHeader(int depth) {
  const auto side = static_cast<unsigned char>(kSide >> 8);
  Bytes header(18);
  header[2] = 2;
  header[13] = side;
  header[15] = side;
  header[16] = static_cast<unsigned char>(depth);
  header[17] = depth == 32 ? 8 : 0;
  return header;
}

std::string TgaFile(int depth) {
  const std::string path = Files().Path("read" + std::to_string(depth) + ".tga");
  if (std::filesystem::exists(path)) return path;
  std::ofstream file(path, std::ios::binary);
  for (const Bytes& part : {TgaHeader(depth), MakePixels(kSide, kSide, depth / 8)}) {
    file.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
  }
  return path;
}

ImagePtr Read(const std::string& path) {
  RImage* image = nullptr;
  (void)RImage::ReadFromDisk(path.c_str(), image, false);
  return ImagePtr(image);
}

void TgaReadOurs(benchmark::State& state, int depth) {
  const std::string path = TgaFile(depth);
  const Bytes expected = MakePixels(kSide, kSide, depth / 8);
  const ImagePtr once = Read(path);
  if (!once || std::memcmp(once->GetImageBits(), expected.data(), expected.size()) != 0)
    state.SkipWithError("wrong");
  for (auto _ : state) benchmark::DoNotOptimize(Read(path)->GetImageBits());
  SetPixelBytes(state, static_cast<std::int64_t>(expected.size()));
}

void TgaReadFreeImage(benchmark::State& state, int depth) {
  const std::string path = TgaFile(depth);
  for (auto _ : state) {
    FIBITMAP* bitmap = FreeImage_Load(FIF_TARGA, path.c_str(), 0);
    if (!bitmap) state.SkipWithError("not read");
    FreeImage_Unload(bitmap);
  }
  SetPixelBytes(state, std::int64_t{kSide} * kSide * depth / 8);
}

void TgaReadDevIL(benchmark::State& state, int depth) {
  static const bool ready = (ilInit(), true);
  const std::string path = TgaFile(depth);
  for (auto _ : state) {
    const ILuint image = ilGenImage();
    ilBindImage(image);
    if (!ready || !ilLoad(IL_TGA, path.c_str())) state.SkipWithError("not read");
    ilDeleteImage(image);
  }
  SetPixelBytes(state, std::int64_t{kSide} * kSide * depth / 8);
}

// The limit of reading: the file's bytes into memory that is there already.
void TgaReadFread(benchmark::State& state, int depth) {
  const std::string path = TgaFile(depth);
  Bytes bytes(std::filesystem::file_size(path));
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) state.SkipWithError("short");
    std::fclose(file);
  }
  SetPixelBytes(state, static_cast<std::int64_t>(bytes.size()));
}

struct WriteCase {
  kImageFormat format;
  int pixelSize;
};

void TgaWriteOurs(benchmark::State& state, WriteCase what) {
  const ImagePtr image = MakeImage(what.format, what.pixelSize);
  const std::string path = Files().Path("written.tga");
  for (auto _ : state) {
    if (!RImage::WriteToDisk(image.get(), path.c_str(), "", -1, 0)) state.SkipWithError("not written");
  }
  SetPixelBytes(state, std::int64_t{kSide} * kSide * what.pixelSize);
}

void TgaWriteFreeImage(benchmark::State& state, WriteCase what) {
  Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  FIBITMAP* bitmap = FreeImage_ConvertFromRawBits(pixels.data(), kSide, kSide, kSide * what.pixelSize,
                                                  static_cast<unsigned>(what.pixelSize) * 8, 0, 0, 0);
  const std::string path = Files().Path("freeimage.tga");
  for (auto _ : state) {
    if (!FreeImage_Save(FIF_TARGA, bitmap, path.c_str(), 0)) state.SkipWithError("not written");
  }
  FreeImage_Unload(bitmap);
  SetPixelBytes(state, static_cast<std::int64_t>(pixels.size()));
}

void TgaWriteDevIL(benchmark::State& state, WriteCase what) {
  ilInit();
  ilEnable(IL_FILE_OVERWRITE);
  Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  const ILuint image = ilGenImage();
  ilBindImage(image);
  ilTexImage(kSide, kSide, 1, static_cast<ILubyte>(what.pixelSize), what.pixelSize == 4 ? IL_BGRA : IL_BGR,
             IL_UNSIGNED_BYTE, pixels.data());
  const std::string path = Files().Path("devil.tga");
  for (auto _ : state) {
    if (!ilSave(IL_TGA, path.c_str())) state.SkipWithError("not written");
  }
  ilDeleteImage(image);
  SetPixelBytes(state, static_cast<std::int64_t>(pixels.size()));
}

// The limit of writing: one block of the file's size.
void TgaWriteFwrite(benchmark::State& state, WriteCase what) {
  const Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  const std::string path = Files().Path("fwrite.tga");
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (std::fwrite(pixels.data(), 1, pixels.size(), file) != pixels.size()) state.SkipWithError("short");
    std::fclose(file);
  }
  SetPixelBytes(state, static_cast<std::int64_t>(pixels.size()));
}

void TgaMemcpy(benchmark::State& state, int depth) {
  const Bytes source = MakePixels(kSide, kSide, depth / 8);
  Bytes destination(source.size());
  for (auto _ : state) {
    std::memcpy(destination.data(), source.data(), source.size());
    benchmark::ClobberMemory();
  }
  SetPixelBytes(state, static_cast<std::int64_t>(source.size()));
}

BENCHMARK_CAPTURE(TgaReadOurs, 32, 32)->Name("TgaRead32/ours");
BENCHMARK_CAPTURE(TgaReadFreeImage, 32, 32)->Name("TgaRead32/FreeImage");
BENCHMARK_CAPTURE(TgaReadDevIL, 32, 32)->Name("TgaRead32/DevIL");
BENCHMARK_CAPTURE(TgaReadFread, 32, 32)->Name("TgaRead32/fread");
BENCHMARK_CAPTURE(TgaMemcpy, 32, 32)->Name("TgaRead32/memcpy");
BENCHMARK_CAPTURE(TgaReadOurs, 24, 24)->Name("TgaRead24/ours");
BENCHMARK_CAPTURE(TgaReadFreeImage, 24, 24)->Name("TgaRead24/FreeImage");
BENCHMARK_CAPTURE(TgaReadDevIL, 24, 24)->Name("TgaRead24/DevIL");
BENCHMARK_CAPTURE(TgaReadFread, 24, 24)->Name("TgaRead24/fread");
BENCHMARK_CAPTURE(TgaMemcpy, 24, 24)->Name("TgaRead24/memcpy");

BENCHMARK_CAPTURE(TgaWriteOurs, bgra, WriteCase{kImageFormatBGRA, 4})->Name("TgaWrite32/ours");
BENCHMARK_CAPTURE(TgaWriteOurs, rgba, WriteCase{kImageFormatRGBA, 4})->Name("TgaWrite32/ours_RGBA");
BENCHMARK_CAPTURE(TgaWriteOurs, argb, WriteCase{kImageFormatARGB, 4})->Name("TgaWrite32/ours_ARGB");
BENCHMARK_CAPTURE(TgaWriteFreeImage, bgra, WriteCase{kImageFormatBGRA, 4})->Name("TgaWrite32/FreeImage");
BENCHMARK_CAPTURE(TgaWriteDevIL, bgra, WriteCase{kImageFormatBGRA, 4})->Name("TgaWrite32/DevIL");
BENCHMARK_CAPTURE(TgaWriteFwrite, bgra, WriteCase{kImageFormatBGRA, 4})->Name("TgaWrite32/fwrite");
BENCHMARK_CAPTURE(TgaMemcpy, w32, 32)->Name("TgaWrite32/memcpy");
BENCHMARK_CAPTURE(TgaWriteOurs, bgr, WriteCase{kImageFormatBGR, 3})->Name("TgaWrite24/ours");
BENCHMARK_CAPTURE(TgaWriteOurs, rgb, WriteCase{kImageFormatRGB, 3})->Name("TgaWrite24/ours_RGB");
BENCHMARK_CAPTURE(TgaWriteFreeImage, bgr, WriteCase{kImageFormatBGR, 3})->Name("TgaWrite24/FreeImage");
BENCHMARK_CAPTURE(TgaWriteDevIL, bgr, WriteCase{kImageFormatBGR, 3})->Name("TgaWrite24/DevIL");
BENCHMARK_CAPTURE(TgaWriteFwrite, bgr, WriteCase{kImageFormatBGR, 3})->Name("TgaWrite24/fwrite");
BENCHMARK_CAPTURE(TgaMemcpy, w24, 24)->Name("TgaWrite24/memcpy");

// --- What Qt decodes.

struct QtCase {
  const char* name;
  const char* file;
  QImage::Format format;
  int side;
};

std::string QtFile(const QtCase& what) {
  const std::string path = Files().Path(what.file);
  if (std::filesystem::exists(path)) return path;
  const Bytes pixels = MakePixels(what.side, what.side, 4);
  const QImage image(pixels.data(), what.side, what.side, QImage::Format_ARGB32);
  (void)image.convertToFormat(what.format).save(QString::fromStdString(path), nullptr, 90);
  return path;
}

void QtLoadOurs(benchmark::State& state, QtCase what) {
  const std::string path = QtFile(what);
  const ImagePtr once = Read(path);
  if (!once || once->GetWidth() != what.side) state.SkipWithError("not read");
  for (auto _ : state) benchmark::DoNotOptimize(Read(path)->GetImageBits());
  SetPixelBytes(state, std::int64_t{what.side} * what.side * once->GetPixelSize());
}

void QtLoadQImage(benchmark::State& state, QtCase what) {
  const QString path = QString::fromStdString(QtFile(what));
  for (auto _ : state) {
    const QImage image(path);
    benchmark::DoNotOptimize(image.constBits());
  }
  SetPixelBytes(state, std::int64_t{what.side} * what.side * 4);
}

constexpr QtCase kQtCases[] = {
    {"PngRead", "rgba.png", QImage::Format_ARGB32, 1448},
    {"PngReadRgb", "rgb.png", QImage::Format_RGB32, 1448},
    {"PngReadGrey", "grey.png", QImage::Format_Grayscale8, 1448},
    {"PngReadSmall", "small.png", QImage::Format_ARGB32, 64},
    {"JpegRead", "rgb.jpg", QImage::Format_RGB32, 1448},
    {"JpegReadSmall", "small.jpg", QImage::Format_RGB32, 64},
    {"TiffRead", "rgba.tif", QImage::Format_ARGB32, 1448},
};

[[maybe_unused]] const bool kQtRegistered = [] {
  for (const QtCase& what : kQtCases) {
    const std::string name = what.name;
    benchmark::RegisterBenchmark((name + "/ours").c_str(), QtLoadOurs, what);
    benchmark::RegisterBenchmark((name + "/QImage").c_str(), QtLoadQImage, what);
  }
  return true;
}();

}  // namespace

// Reading and writing through the Qt stream: the own TGA codec beside other libraries, and what the stream
// adds to a bare QImage for the formats that Qt decodes.
#include <FreeImage.h>
#include <IL/il.h>

#include <QImage>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
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

std::string FilePath(const std::string& name) {
  static const Folder folder;
  return folder.Path(name);
}

// Smooth colours with noise in the low bits, as photographs have them.
Bytes MakePixels(int width, int height, int pixelSize) {
  Bytes pixels;
  unsigned noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      noise = noise * 1664525U + 1013904223U;
      for (int c = 0; c < pixelSize; ++c) {
        const int grain = static_cast<int>(noise >> (26 + c));
        pixels.push_back(static_cast<unsigned char>((x * (c + 1) + y * 3) / 16 + grain));
      }
    }
  }
  return pixels;
}

void WriteBytes(const std::string& path, std::initializer_list<Bytes> parts) {
  std::ofstream file(path, std::ios::binary);
  for (const Bytes& part : parts) {
    file.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
  }
}

ImagePtr Read(const std::string& path) {
  RImage* image = nullptr;
  (void)RImage::ReadFromDisk(path.c_str(), image, false);
  return ImagePtr(image);
}

bool Holds(const ImagePtr& image, const Bytes& pixels) {
  return image && std::memcmp(image->GetImageBits(), pixels.data(), pixels.size()) == 0;
}

// --- Reading TGA.

Bytes TgaHeader(int depth) {
  Bytes header(18);
  header[2] = 2;
  header[13] = kSide >> 8;
  header[15] = kSide >> 8;
  header[16] = static_cast<unsigned char>(depth);
  header[17] = depth == 32 ? 8 : 0;
  return header;
}

bench::Action ReadOurs(const std::string& path, const Bytes& pixels) {
  if (!Holds(Read(path), pixels)) return {};
  return [=] { benchmark::DoNotOptimize(Read(path)->GetImageBits()); };
}

bench::Action ReadFreeImage(const std::string& path) {
  return [=] { FreeImage_Unload(FreeImage_Load(FIF_TARGA, path.c_str(), 0)); };
}

bench::Action ReadDevIL(const std::string& path) {
  ilInit();
  return [=] {
    const ILuint image = ilGenImage();
    ilBindImage(image);
    ilLoad(IL_TGA, path.c_str());
    ilDeleteImage(image);
  };
}

// The limit: the file's bytes into memory that is there already.
bench::Action ReadFread(const std::string& path) {
  const auto bytes = std::make_shared<Bytes>(std::filesystem::file_size(path));
  return [=] {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    benchmark::DoNotOptimize(std::fread(bytes->data(), 1, bytes->size(), file));
    std::fclose(file);
  };
}

void RegisterTgaRead(int depth) {
  const std::string subject = "TgaRead" + std::to_string(depth);
  const std::string path = FilePath(subject + ".tga");
  const std::size_t bytes = std::size_t{kSide} * kSide * static_cast<std::size_t>(depth / 8);
  const auto prepare = [=] {
    Bytes pixels = MakePixels(kSide, kSide, depth / 8);
    WriteBytes(path, {TgaHeader(depth), pixels});
    return pixels;
  };
  bench::Register(subject, "ours", bytes, [=] { return ReadOurs(path, prepare()); });
  bench::Register(subject, "FreeImage", bytes, [=] { return prepare(), ReadFreeImage(path); });
  bench::Register(subject, "DevIL", bytes, [=] { return prepare(), ReadDevIL(path); });
  bench::Register(subject, "fread", bytes, [=] { return prepare(), ReadFread(path); });
  bench::RegisterMemcpy(subject, bytes);
}

// --- Writing TGA.

struct TgaWriteCase {
  const char* name;
  kImageFormat format;
  int pixelSize;
  ILenum devilFormat;
};

bench::Action WriteOurs(const TgaWriteCase& what, const std::string& path) {
  const std::shared_ptr<RImage> image(RImageCreate(), RDestroyDeleter());
  if (!image->Init(what.format, kSide, kSide, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                   kInterpolationNone, RImage::kIncarnationRaw)) {
    return {};
  }
  Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  (void)image->SetImageBits(pixels.data());
  const auto write = [=] { return RImage::WriteToDisk(image.get(), path.c_str(), "", -1, 0); };
  if (!write() || std::filesystem::file_size(path) != pixels.size() + 18) return {};
  return [=] { benchmark::DoNotOptimize(write()); };
}

// Takes pixels in its own order, BGRA or BGR.
bench::Action WriteFreeImage(const TgaWriteCase& what, const std::string& path) {
  Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  const std::shared_ptr<FIBITMAP> bitmap(
      FreeImage_ConvertFromRawBits(pixels.data(), kSide, kSide, kSide * what.pixelSize,
                                   static_cast<unsigned>(what.pixelSize) * 8, 0, 0, 0),
      FreeImage_Unload);
  return [=] { FreeImage_Save(FIF_TARGA, bitmap.get(), path.c_str(), 0); };
}

bench::Action WriteDevIL(const TgaWriteCase& what, const std::string& path) {
  ilInit();
  ilEnable(IL_FILE_OVERWRITE);
  Bytes pixels = MakePixels(kSide, kSide, what.pixelSize);
  const ILuint image = ilGenImage();
  ilBindImage(image);
  ilTexImage(kSide, kSide, 1, static_cast<ILubyte>(what.pixelSize), what.devilFormat, IL_UNSIGNED_BYTE,
             pixels.data());
  return [=] {
    ilBindImage(image);
    ilSave(IL_TGA, path.c_str());
  };
}

// The limit: one write of the file's size.
bench::Action WriteFwrite(std::size_t bytes, const std::string& path) {
  const std::shared_ptr<unsigned char> from = bench::MakeBuffer(bytes);
  return [=] {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    benchmark::DoNotOptimize(std::fwrite(from.get(), 1, bytes, file));
    std::fclose(file);
  };
}

void RegisterTgaWrite(const TgaWriteCase& what) {
  const std::string subject = what.name;
  const std::string path = FilePath(subject + ".tga");
  const std::size_t bytes = std::size_t{kSide} * kSide * static_cast<std::size_t>(what.pixelSize);
  bench::Register(subject, "ours", bytes, [=] { return WriteOurs(what, path); });
  bench::Register(subject, "FreeImage", bytes, [=] { return WriteFreeImage(what, path); });
  bench::Register(subject, "DevIL", bytes, [=] { return WriteDevIL(what, path); });
  bench::Register(subject, "fwrite", bytes, [=] { return WriteFwrite(bytes, path); });
  bench::RegisterMemcpy(subject, bytes);
}

// --- What Qt decodes.

struct QtCase {
  const char* name;
  const char* suffix;
  QImage::Format format;
  int side;
  std::size_t pixelSize;  // of the image record
};

std::string QtFile(const QtCase& what) {
  std::string path = FilePath(std::string(what.name) + what.suffix);
  const Bytes pixels = MakePixels(what.side, what.side, 4);
  const QImage image(pixels.data(), what.side, what.side, QImage::Format_ARGB32);
  (void)image.convertToFormat(what.format).save(QString::fromStdString(path), nullptr, 90);
  return path;
}

bench::Action QtOurs(const QtCase& what) {
  const std::string path = QtFile(what);
  const ImagePtr once = Read(path);
  if (!once || once->GetWidth() != what.side) return {};
  return [=] { benchmark::DoNotOptimize(Read(path)->GetImageBits()); };
}

bench::Action QtAlone(const QtCase& what) {
  const QString path = QString::fromStdString(QtFile(what));
  return [=] { benchmark::DoNotOptimize(QImage(path).constBits()); };
}

void RegisterQt(const QtCase& what) {
  const auto pixels = static_cast<std::size_t>(what.side) * static_cast<std::size_t>(what.side);
  bench::Register(what.name, "ours", pixels * what.pixelSize, [=] { return QtOurs(what); });
  bench::Register(what.name, "QImage", pixels * what.pixelSize, [=] { return QtAlone(what); });
}

[[maybe_unused]] const bool kRegistered = [] {
  for (const int depth : {32, 24}) RegisterTgaRead(depth);
  for (const TgaWriteCase& what : {TgaWriteCase{"TgaWriteBGRA", kImageFormatBGRA, 4, IL_BGRA},
                                   TgaWriteCase{"TgaWriteRGBA", kImageFormatRGBA, 4, IL_RGBA},
                                   TgaWriteCase{"TgaWriteBGR", kImageFormatBGR, 3, IL_BGR},
                                   TgaWriteCase{"TgaWriteRGB", kImageFormatRGB, 3, IL_RGB}}) {
    RegisterTgaWrite(what);
  }
  for (const QtCase& what : {QtCase{"QtPngRGBA", ".png", QImage::Format_ARGB32, 1448, 4},
                             QtCase{"QtPngRGB", ".png", QImage::Format_RGB32, 1448, 4},
                             QtCase{"QtPngGrey", ".png", QImage::Format_Grayscale8, 1448, 3},
                             QtCase{"QtJpeg", ".jpg", QImage::Format_RGB32, 1448, 4},
                             QtCase{"QtTiff", ".tif", QImage::Format_ARGB32, 1448, 4}}) {
    RegisterQt(what);
  }
  return true;
}();

}  // namespace

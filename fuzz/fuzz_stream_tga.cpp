// The TGA reader and writer, and the Qt stream's way to them.
#include <unistd.h>

#include <QImageReader>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "rbaselib/RFile.h"
#include "streams/RImageStreamQT.h"
#include "streams/TgaCodec.h"

namespace {

using ImagePtr = RDestroyPtr<RImage>;
using Bytes = std::vector<unsigned char>;

// A file of this process, in memory where the system has such a place.
std::string MakePath(const char* name) {
  const auto folder = std::filesystem::exists("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                          : std::filesystem::temp_directory_path();
  return (folder / ("rimage-fuzz-" + std::to_string(getpid()) + name)).string();
}

class Files {
 public:
  ~Files() {
    (void)RFile::Remove(input.c_str());
    (void)RFile::Remove(output.c_str());
  }
  const std::string input = MakePath("-in.tga");
  const std::string output = MakePath("-out.tga");
};

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "violated: %s\n", what);
  std::abort();
}

Bytes PixelsOf(RImage& image) {
  const auto size = static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetHeight()) *
                    static_cast<std::size_t>(image.GetPixelSize());
  return size ? Bytes(image.GetImageBits(), image.GetImageBits() + size) : Bytes();
}

// What was read is written, and read again as the same.
void RoundTrip(const Files& files, RImage& image) {
  const ImagePtr again(RImageCreate());
  Require(TgaWrite(files.output.c_str(), image), "a picture that was read can be written");
  Require(TgaRead(files.output.c_str(), *again) == kTgaRead, "a written file is read");
  Require(again->GetFormat() == image.GetFormat(), "the format stays");
  Require(again->GetWidth() == image.GetWidth() && again->GetHeight() == image.GetHeight(), "the size stays");
  Require(PixelsOf(*again) == PixelsOf(image), "the pixels stay");
}

void ReadWithTheCodec(const Files& files, std::size_t fileSize) {
  const ImagePtr image(RImageCreate());
  const kTgaResult result = TgaRead(files.input.c_str(), *image);
  if (result != kTgaRead) {
    Require(image->GetUpdateId() == 0, "a file that is not read leaves the image");
    return;
  }
  Require(PixelsOf(*image).size() <= 2 * fileSize, "no picture is larger than its file, but for 16 bits");
  RoundTrip(files, *image);
}

// Files that another of Qt's decoders takes are not this target's business.
void ReadWithTheStream(const Files& files) {
  const QByteArray format = QImageReader(QString::fromStdString(files.input)).format();
  if (!format.isEmpty() && format != "tga") return;
  RImageStreamQT stream;
  stream.SetFileName(files.input.c_str());
  const bool read = stream.StreamOpen(nullptr);
  const ImagePtr image(stream.GetImage(false));
  Require(!read || image, "a successful read has an image");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = qputenv("QT_LOGGING_RULES", "*=false");
  static const Files files;
  RFile file;
  if (!quiet || !file.Open(files.input.c_str(), "wb") || file.Write(data, size) != size || !file.Close())
    return 0;
  ReadWithTheCodec(files, size);
  // Qt asks each of its decoders first, which takes a hundred times as long as the codec.
  if (size % 8 == 0) ReadWithTheStream(files);
  return 0;
}

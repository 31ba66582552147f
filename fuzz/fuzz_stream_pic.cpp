// The PIC reader: through the stream, through the scanline functions, and the decoder by itself.
#include <cstdio>
#include <cstdlib>

#include "FuzzReading.h"
#include "streams/PicFormat.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageTarget.h"

namespace {

template <class Writer>
std::vector<unsigned char> DecodeScanline(std::span<const unsigned char> bytes, unsigned code,
                                          std::size_t channels, std::size_t width) {
  std::vector<unsigned char> rows(4 * width, 1);
  Writer writers[4];
  Writer* pointers[4];
  for (std::size_t i = 0; i < 4; ++i) {
    writers[i] = Writer(std::span(rows).subspan(i * width, width));
    pointers[i] = &writers[i];
  }
  PicMemorySource source(bytes);
  PicChannelRows<Writer> sink{std::span(pointers).first(channels)};
  (void)PicDecoder(source).Decode(code, sink, width);
  for (Writer& writer : writers) writer.Finish(std::vector<unsigned char>(width, 1));
  return rows;
}

// Keeps the warnings of later versions away from the fuzzer's own output.
class WithoutWarnings {
 public:
  WithoutWarnings() { stderr = Nowhere(); }
  ~WithoutWarnings() { stderr = mKept; }
  WithoutWarnings(const WithoutWarnings&) = delete;
  WithoutWarnings& operator=(const WithoutWarnings&) = delete;

 private:
  static std::FILE* Nowhere() {
    static std::FILE* const file = std::fopen("/dev/null", "w");
    return file;
  }
  std::FILE* mKept = stderr;
};

// The pixels that the scanline functions give, bottom row first.
std::vector<unsigned char> ReadByScanlines(std::FILE* file, RPrivatePicture& picture,
                                           channelPacket* packets) {
  const std::size_t width = picture.width;
  std::vector<unsigned char> pixels(4 * width * picture.height, 255);
  for (unsigned char*& buffer : picture.buffer)
    buffer = static_cast<unsigned char*>(std::calloc(2, width + 1));
  for (std::size_t y = picture.height; y-- > 0;) {
    for (int i = 0; i < 4; ++i) picture.write[i] = picture.buffer[i];
    pictureReadScanline(file, &picture, packets);
    for (std::size_t x = 0; x < width; ++x) {
      for (std::size_t i = 0; i < 3; ++i) pixels[4 * (y * width + x) + i] = picture.buffer[i][x];
    }
  }
  return pixels;
}

// Large pictures cost time and find nothing new, but those that are refused.
bool IsQuick(const RPrivatePicture& picture, std::size_t fileSize) {
  const std::size_t pixels = std::size_t{picture.width} * picture.height;
  return pixels < 1 << 16 || !RIsCredibleImage(4 * pixels, fileSize);
}

void CompareRoads(std::span<const unsigned char> bytes) {
  const WithoutWarnings quiet;
  const test::MemoryFile memory(bytes, ".pic");
  RPrivatePicture* picture = pictureAllocate();
  channelPacket* packets = nullptr;
  std::FILE* file = pictureReadFileHeader(memory.Path(), picture, &packets);
  if (!file || IsQuick(*picture, bytes.size())) {
    RImageStreampict stream;
    stream.SetFileName(memory.Path());
    const bool opened = stream.StreamOpen(nullptr);
    const RDestroyPtr<RImage> image(stream.GetImage(false));
    fuzz::Require(file || !opened);
    if (opened) fuzz::Require(fuzz::PixelsOf(*image) == ReadByScanlines(file, *picture, packets));
  }
  if (file) std::fclose(file);
  channelPacketDispose(&packets);
  pictureDispose(&picture);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  if (size > 2) {
    const unsigned code = data[0] % 4;
    const std::size_t channels = data[0] / 4 % 5;
    const std::size_t width = data[1] * 4U;
    fuzz::Require(DecodeScanline<RRowWriter>(bytes.subspan(2), code, channels, width) ==
                  DecodeScanline<RKeepingRowWriter>(bytes.subspan(2), code, channels, width));
  }
  CompareRoads(bytes);
  return 0;
}

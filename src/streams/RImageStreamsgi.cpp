// Reader of SGI image files.
#include "streams/RImageStreamsgi.h"

#include <cstring>
#include <utility>

#include "streams/RFileContents.h"
#include "streams/RImageTarget.h"
#include "streams/RPixelRow.h"
#include "streams/SgiFormat.h"

namespace {

// One row of each channel; what the file does not give stays 255.
class ChannelSamples {
 public:
  [[nodiscard]] bool Allocate(std::size_t width) {
    mWidth = width;
    mBuffer = RAllocatePixels(4 * width);
    if (mBuffer) std::memset(mBuffer.get(), 255, 4 * width);
    return mBuffer != nullptr;
  }
  std::span<unsigned char> Channel(int z) {
    return {mBuffer.get() + static_cast<std::size_t>(z) * mWidth, mWidth};
  }

  // A file with one channel is grey.
  RChannelRows Rows(int channels) {
    const bool grey = channels == 1;
    return {Channel(0), Channel(grey ? 0 : 1), Channel(grey ? 0 : 2), Channel(3)};
  }

 private:
  RPixelBuffer mBuffer;
  std::size_t mWidth = 0;
};

bool FillImage(RImage& image, const SgiImageHeader& file, std::size_t fileBytes) {
  std::span<unsigned char> pixels;
  if (!RInitImageTarget(image, kImageFormatRGBA, file.xsize, file.ysize, fileBytes, pixels)) return false;
  // A row that decodes short keeps the samples of the row before it.
  ChannelSamples row;
  ChannelSamples before;
  if (!row.Allocate(file.xsize) || !before.Allocate(file.xsize)) return false;
  const std::size_t rowBytes = std::size_t{4} * file.xsize;
  for (int y = 0; y < file.ysize; ++y) {
    for (int z = 0; z < file.zsize; ++z) (void)file.FetchRow(row.Channel(z), before.Channel(z), y, z);
    RInterleaveRow(row.Rows(file.zsize), pixels.subspan(rowBytes * static_cast<std::size_t>(y), rowBytes));
    std::swap(row, before);
  }
  return true;
}

}  // namespace

RImageStreamsgi::RImageStreamsgi() = default;

RImageStreamsgi::~RImageStreamsgi() { RunTeardown(); }

bool RImageStreamsgi::StreamOpen(RStreamOptions*) {
  RImage* image = GetImage(true);
  RFileContents contents;
  SgiImageHeader file;
  if (!image || !contents.Read(GetFileName()) || !file.Read(contents.Bytes())) return false;
  return FillImage(*image, file, contents.Bytes().size());
}

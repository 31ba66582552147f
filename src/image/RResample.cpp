#include "image/RResample.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/RPixelKernels.h"
#include "image/RPixelMemory.h"

namespace {

// Copies the pixels at `columns` of the source.
template <std::size_t kPixelSize>
void GatherRow(unsigned char* destination, const unsigned char* source, const std::uint32_t* columns,
               std::size_t count) {
  for (std::size_t x = 0; x < count; ++x) {
    std::memcpy(destination + x * kPixelSize, source + std::size_t{columns[x]} * kPixelSize, kPixelSize);
  }
}

// Resamples single rows; knows the horizontal sizes.
class RowSampler {
 public:
  RowSampler(int width, int sourceWidth, int pixelSize) : mWidth(static_cast<std::size_t>(width)) {
    const RPixelKernels& kernels = RGetPixelKernels();
    if (pixelSize == 4 && sourceWidth == std::int64_t{2} * width) mByTwo = kernels.everySecond;
    if (pixelSize == 4 && width == std::int64_t{2} * sourceWidth) mByTwo = kernels.twice;
    if (mByTwo) return;
    mGather = pixelSize == 4 ? GatherRow<4> : pixelSize == 3 ? GatherRow<3> : GatherRow<2>;
    mColumnBytes = RAllocatePixels(mWidth * sizeof(std::uint32_t));
    if (!mColumnBytes) return;
    for (int x = 0; x < width; ++x)
      Columns()[x] = static_cast<std::uint32_t>(std::int64_t{x} * sourceWidth / width);
  }

  bool IsReady() const { return mByTwo || mColumnBytes; }

  // Whether a row is sampled again faster than the finished row is copied: it is when its pixels are doubled.
  bool IsFasterThanCopy() const { return mByTwo && mByTwo == RGetPixelKernels().twice; }

  void Run(unsigned char* destination, const unsigned char* source) const {
    if (mByTwo)
      mByTwo(destination, source, mWidth);
    else
      mGather(destination, source, Columns(), mWidth);
  }

 private:
  std::uint32_t* Columns() const { return reinterpret_cast<std::uint32_t*>(mColumnBytes.get()); }

  std::size_t mWidth;
  RPixelKernels::Convert mByTwo = nullptr;
  decltype(&GatherRow<4>) mGather = nullptr;
  RPixelBuffer mColumnBytes;
};

}  // namespace

bool RResampleNearest(unsigned char* destination, int width, int height, const unsigned char* source,
                      int sourceWidth, int sourceHeight, int pixelSize) {
  const RowSampler sampler(width, sourceWidth, pixelSize);
  if (!sampler.IsReady()) return false;
  const std::size_t rowBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelSize);
  const std::size_t sourceRowBytes =
      static_cast<std::size_t>(sourceWidth) * static_cast<std::size_t>(pixelSize);
  std::int64_t lastRow = -1;
  for (int y = 0; y < height; ++y, destination += rowBytes) {
    const std::int64_t row = std::int64_t{y} * sourceHeight / height;
    if (row == lastRow && !sampler.IsFasterThanCopy())
      std::memcpy(destination, destination - rowBytes, rowBytes);
    else
      sampler.Run(destination, source + static_cast<std::size_t>(row) * sourceRowBytes);
    lastRow = row;
  }
  return true;
}

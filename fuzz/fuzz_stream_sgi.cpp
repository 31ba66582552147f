// The SGI reader: through the stream, and the row decoders by themselves.
#include "FuzzReading.h"
#include "image/RDestroyPtr.h"
#include "streams/RImageStreamsgi.h"
#include "streams/SgiFormat.h"

namespace {

// Both kinds of row writer must agree on the samples and on the count.
template <std::size_t kBytes>
void DecodeRow(std::span<const unsigned char> data, std::size_t width) {
  std::vector<unsigned char> fast(width, 1);
  std::vector<unsigned char> exact(width, 1);
  RRowWriter fastOut(fast);
  RKeepingRowWriter exactOut(exact);
  const bool full = SgiDecodeRow<kBytes>(RByteReader(data), fastOut);
  fuzz::Require(full == SgiDecodeRow<kBytes>(RByteReader(data), exactOut));
  fuzz::Require(fastOut.Count() == exactOut.Count());
  fastOut.Finish(std::vector<unsigned char>(width, 1));
  fuzz::Require(fast == exact);
}

// Rows and channels that there are not leave the samples alone.
void FetchAround(const SgiImageHeader& file) {
  std::vector<unsigned char> row(file.xsize, 1);
  const std::vector<unsigned char> before(file.xsize, 2);
  for (const int y : {-1, 0, int{file.ysize}}) {
    for (const int z : {-1, 0, int{file.zsize}}) {
      const bool exists = y == 0 && z == 0 && file.ysize > 0;
      if (!exists) fuzz::Require(file.FetchRow(row, before, y, z) == -1);
    }
  }
  fuzz::Require(row == std::vector<unsigned char>(file.xsize, 1));
}

// Large pictures cost time and find nothing new.
bool IsSmall(const SgiImageHeader& file) { return std::size_t{file.xsize} * file.ysize < 1 << 20; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  if (size > 1) {
    const std::size_t width = data[0] * 4U;
    DecodeRow<1>(bytes.subspan(1), width);
    DecodeRow<2>(bytes.subspan(1), width);
  }
  SgiImageHeader file;
  const bool reads = file.Read(bytes);
  if (reads) FetchAround(file);
  if (reads && !IsSmall(file)) return 0;
  const bool opened = fuzz::Open<RImageStreamsgi>(bytes, ".sgi");
  fuzz::Require(reads || !opened);
  return 0;
}

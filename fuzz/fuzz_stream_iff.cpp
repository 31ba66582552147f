// The ILBM reader: through the stream, and its decoder and converter by themselves.
#include "FuzzReading.h"
#include "streams/IlbmFormat.h"
#include "streams/RImageStreamiff.h"

namespace {

// Both kinds of row writer must agree on every row.
void DecodeRows(std::span<const unsigned char> bytes, std::size_t size) {
  std::vector<unsigned char> fast(size);
  std::vector<unsigned char> exact(size);
  for (RByteReader in(bytes); in.Remaining() > 0 && size > 0;) {
    RByteReader again = in;
    RRowWriter fastOut(fast);
    RKeepingRowWriter exactOut(exact);
    const bool full = IlbmDecodeRow(in, fastOut);
    fuzz::Require(full == IlbmDecodeRow(again, exactOut) && in.Position() == again.Position());
    if (!full) break;
    fuzz::Require(fast == exact);
  }
}

// Each pixel's number, bit by bit, against the converter.
void ConvertRow(std::span<const unsigned char> planes, std::size_t bytesPerRow, std::size_t width) {
  std::array<unsigned char, kIlbmColourMapSize> colours{};
  for (std::size_t i = 0; i < kIlbmColours; ++i) colours[3 * i] = static_cast<unsigned char>(i);
  std::vector<unsigned char> pixels(4 * width);
  IlbmPixels(colours).WriteRow(planes, bytesPerRow, pixels);
  const std::size_t depth = bytesPerRow == 0 ? 0 : std::min<std::size_t>(planes.size() / bytesPerRow, 8);
  for (std::size_t x = 0; x < std::min(width, 8 * bytesPerRow); ++x) {
    unsigned number = 0;
    for (std::size_t p = 0; p < depth; ++p) {
      number |= (planes[p * bytesPerRow + x / 8] >> (7 - x % 8) & 1U) << p;
    }
    fuzz::Require(pixels[4 * x] == number && pixels[4 * x + 3] == 255);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  if (size > 2) {
    DecodeRows(bytes.subspan(1), data[0] * 2U);
    ConvertRow(bytes.subspan(2), data[0], data[1] * 8U);
  }
  fuzz::Open<RImageStreamiff>(bytes, ".iff");
  return 0;
}

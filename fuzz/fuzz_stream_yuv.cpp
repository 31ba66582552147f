// The video frame stream: frames that repeat the input, read and written again, and the line conversions
// against the arithmetic that defines them.
#include <algorithm>

#include "FuzzReading.h"
#include "streams/RImageStreamyuv.h"
#include "streams/YuvArithmetic.h"

namespace {

std::vector<unsigned char> Repeat(std::span<const unsigned char> bytes, std::size_t size) {
  std::vector<unsigned char> result(size);
  for (std::size_t i = 0; i < size; ++i) result[i] = bytes[i % bytes.size()];
  return result;
}

void ConvertLine(std::span<const unsigned char> bytes) {
  const auto line = Repeat(bytes, kYuvLineBytes);
  std::vector<unsigned char> fast(kYuvRowBytes);
  std::vector<unsigned char> plain(kYuvRowBytes);
  RYuvToPixels(std::span<const unsigned char, kYuvLineBytes>(line),
               std::span<unsigned char, kYuvRowBytes>(fast));
  for (std::size_t x = 0; x < kYuvWidth; ++x) YuvToPixelOf(line.data(), x, plain.data());
  fuzz::Require(fast == plain);
}

void ConvertRow(std::span<const unsigned char> bytes) {
  const auto row = Repeat(bytes, kYuvRowBytes);
  std::vector<unsigned char> fast(kYuvLineBytes);
  std::vector<unsigned char> plain(kYuvLineBytes);
  RPixelsToYuv(std::span<const unsigned char, kYuvRowBytes>(row),
               std::span<unsigned char, kYuvLineBytes>(fast));
  for (std::size_t x = 0; x < kYuvWidth; ++x) YuvFromPixelOf(row.data(), x, plain.data());
  fuzz::Require(fast == plain);
}

// The upper half of the first byte chooses among sizes around those of frames.
void ReadAndWrite(std::span<const unsigned char> bytes) {
  const unsigned choice = bytes[0] >> 4;
  const std::size_t lines = choice & 1 ? kYuvLines : kYuvLongLines;
  const std::size_t size = lines * kYuvLineBytes + (choice >> 1 & 3) - 2;
  const test::MemoryFile memory(Repeat(bytes, size), ".yuv");
  RImageStreamyuv stream;
  stream.SetFileName(memory.Path());
  const bool opened = stream.StreamOpen(nullptr);
  fuzz::Require(opened == (size == lines * kYuvLineBytes || size + 1 == lines * kYuvLineBytes));
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  if (opened) fuzz::Require(stream.StreamCreate(nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const unsigned char> bytes(data, size);
  if (size == 0) return 0;
  ConvertLine(bytes);
  ConvertRow(bytes);
  if (data[0] % 16 == 0) ReadAndWrite(bytes);
  fuzz::Open<RImageStreamyuv>(bytes, ".yuv");
  return 0;
}

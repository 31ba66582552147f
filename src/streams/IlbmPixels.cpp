#include <algorithm>
#include <cstring>

#include "streams/IlbmFormat.h"

namespace {

constexpr std::size_t kPlanes = 8;
// Columns of 8 pixels that are turned at once: their numbers stay in the first-level cache.
constexpr std::size_t kColumns = 64;

// A column's eight planes, plane p in byte p, turned so that pixel i has its number in byte 7 - i: the
// transposition of a matrix of 8 x 8 bits by exchanging ever smaller blocks.
constexpr std::uint64_t Transpose(std::uint64_t bits) {
  std::uint64_t exchange = (bits ^ (bits >> 28)) & 0x00000000F0F0F0F0;
  bits ^= exchange ^ (exchange << 28);
  exchange = (bits ^ (bits >> 14)) & 0x0000CCCC0000CCCC;
  bits ^= exchange ^ (exchange << 14);
  exchange = (bits ^ (bits >> 7)) & 0x00AA00AA00AA00AA;
  return bits ^ exchange ^ (exchange << 7);
}
static_assert(Transpose(0x00000000000000FF) == 0x0101010101010101);
static_assert(Transpose(0x8000000000000001) == 0x8000000000000001);

using Columns = std::array<std::array<unsigned char, kColumns>, kPlanes>;

void TurnColumns(const Columns& planes, std::array<std::uint64_t, kColumns>& numbers) {
  for (std::size_t i = 0; i < kColumns; ++i) {
    std::uint64_t bits = 0;
    for (std::size_t p = 0; p < kPlanes; ++p) bits |= std::uint64_t{planes[p][i]} << (8 * p);
    numbers[i] = Transpose(bits);
  }
}

}  // namespace

void IlbmPixels::WriteColumn(std::uint64_t numbers, std::span<unsigned char> pixels) const {
  for (std::size_t i = 0; i < pixels.size() / 4; ++i) {
    std::memcpy(&pixels[4 * i], &mColours[numbers >> (56 - 8 * i) & 0xFF], 4);
  }
}

void IlbmPixels::WriteRow(std::span<const unsigned char> planes, std::size_t bytesPerRow,
                          std::span<unsigned char> pixels) const {
  constexpr std::size_t kColumnBytes = 32;
  Columns columns = {};
  std::array<std::uint64_t, kColumns> numbers;
  pixels = pixels.first(std::min(pixels.size(), kColumnBytes * bytesPerRow));
  const std::size_t depth = bytesPerRow == 0 ? 0 : std::min(planes.size() / bytesPerRow, kPlanes);
  for (std::size_t first = 0; !pixels.empty(); first += kColumns) {
    const std::size_t bytes = std::min(kColumns, bytesPerRow - first);
    for (std::size_t p = 0; p < depth; ++p) {
      std::memcpy(columns[p].data(), &planes[p * bytesPerRow + first], bytes);
    }
    TurnColumns(columns, numbers);
    std::size_t column = 0;
    for (; pixels.size() >= kColumnBytes && column < bytes; pixels = pixels.subspan(kColumnBytes)) {
      WriteColumn(numbers[column++], pixels.first<kColumnBytes>());
    }
    if (column == bytes) continue;
    WriteColumn(numbers[column], pixels);
    return;
  }
}

#include "support/MalformedFiles.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <span>
#include <utility>

#include "support/Random.h"

namespace test {

namespace {

constexpr unsigned kHeaderReach = 128;  // no header of these formats is longer

unsigned SizeOf(const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); }

std::uint32_t BigEndian(std::span<const unsigned char> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24U | static_cast<std::uint32_t>(bytes[1]) << 16U |
         static_cast<std::uint32_t>(bytes[2]) << 8U | bytes[3];
}

void PutBigEndian(std::span<unsigned char> bytes, std::uint32_t number) {
  for (unsigned i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(number >> (24U - 8U * i));
}

// --- Parts: where each begins and how long it is.

struct Part {
  std::size_t begin;
  std::size_t size;
};

// A chunk has a length and a name in its first eight bytes, in either order, then its contents and a tail.
struct ChunkLayout {
  std::size_t first;   // where the chunks begin
  std::size_t length;  // where in a chunk its length is
  std::size_t tail;    // bytes after the contents
  bool even;           // contents are filled up to an even length
};
constexpr ChunkLayout kPng{8, 0, 4, false};
constexpr ChunkLayout kIff{12, 4, 0, true};

std::vector<Part> FindChunks(const Bytes& bytes, const ChunkLayout& layout) {
  std::vector<Part> chunks;
  for (std::size_t at = layout.first; at + 8 <= bytes.size();) {
    std::size_t size = BigEndian(std::span(bytes).subspan(at + layout.length, 4));
    if (layout.even) size += size % 2;
    size += 8 + layout.tail;
    if (size > bytes.size() - at) break;
    chunks.push_back({at, size});
    at += size;
  }
  return chunks;
}

std::vector<Part> MakeBlocks(const Bytes& bytes, Random& random) {
  const unsigned size = 4 + random.Below(60);
  std::vector<Part> blocks;
  for (std::size_t at = 0; at + size <= bytes.size(); at += size) blocks.push_back({at, size});
  return blocks;
}

std::vector<Part> FindParts(const Bytes& bytes, FileParts parts, Random& random) {
  if (parts == FileParts::kPngChunks) return FindChunks(bytes, kPng);
  if (parts == FileParts::kIffChunks) return FindChunks(bytes, kIff);
  return MakeBlocks(bytes, random);
}

std::uint32_t Checksum(std::span<const unsigned char> bytes) {
  std::uint32_t sum = 0xFFFFFFFF;
  for (const unsigned char byte : bytes) {
    sum ^= byte;
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1U ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~sum;
}

// Otherwise a decoder stops at the first checksum and never gets to see the damage.
void RepairPngChecksums(Bytes& bytes) {
  for (const Part& chunk : FindChunks(bytes, kPng)) {
    const std::span all = std::span(bytes).subspan(chunk.begin, chunk.size);
    PutBigEndian(all.last(4), Checksum(all.subspan(4, chunk.size - 8)));
  }
}

// --- Damage

void FlipBits(Bytes& bytes, unsigned reach, Random& random) {
  const unsigned count = 1 + random.Below(8);
  for (unsigned i = 0; i < count && !bytes.empty(); ++i)
    bytes[random.Below(std::min(reach, SizeOf(bytes)))] ^= static_cast<unsigned char>(1U << random.Below(8));
}

void CutAnywhere(Bytes& bytes, Random& random) { bytes.resize(random.Below(SizeOf(bytes))); }

void CutShort(Bytes& bytes, Random& random) {
  bytes.resize(random.Below(std::min(kHeaderReach, SizeOf(bytes))));
}

// Writes an extreme number over a field of two or four bytes, in either byte order.
void InflateFields(Bytes& bytes, Random& random) {
  constexpr std::array<std::uint32_t, 10> kExtremes = {0,      1,      0x7F,       0xFF,       0x7FFF,
                                                       0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  const unsigned count = 1 + random.Below(3);
  for (unsigned i = 0; i < count; ++i) {
    const unsigned width = random.Below(2) == 0 ? 2 : 4;
    const std::uint32_t number = kExtremes[random.Below(kExtremes.size())];
    const bool bigEndian = random.Below(2) == 0;
    const unsigned reach = std::min(kHeaderReach, SizeOf(bytes));
    if (reach < 4) return;
    const unsigned at = 2 * random.Below(reach / 2 - 1);
    for (unsigned k = 0; k < width; ++k)
      bytes[at + k] = static_cast<unsigned char>(number >> 8U * (bigEndian ? width - 1 - k : k));
  }
}

void SwapParts(Bytes& bytes, FileParts kind, Random& random) {
  const std::vector<Part> parts = FindParts(bytes, kind, random);
  if (parts.size() < 2) return;
  const auto count = static_cast<unsigned>(parts.size());
  unsigned a = random.Below(count);
  unsigned b = random.Below(count - 1);
  if (b >= a) ++b;
  if (a > b) std::swap(a, b);
  const auto begin = bytes.begin();
  const auto at = [&](std::size_t position) { return begin + static_cast<std::ptrdiff_t>(position); };
  Bytes swapped(begin, at(parts[a].begin));
  const auto append = [&](std::size_t from, std::size_t to) {
    swapped.insert(swapped.end(), at(from), at(to));
  };
  append(parts[b].begin, parts[b].begin + parts[b].size);
  append(parts[a].begin + parts[a].size, parts[b].begin);
  append(parts[a].begin, parts[a].begin + parts[a].size);
  append(parts[b].begin + parts[b].size, bytes.size());
  bytes = std::move(swapped);
}

// Takes bytes out, or puts them in a second time.
void ShiftBytes(Bytes& bytes, Random& random) {
  const unsigned begin = random.Below(SizeOf(bytes));
  const unsigned size = std::min(1 + random.Below(64), SizeOf(bytes) - begin);
  const auto first = bytes.begin() + begin;
  if (random.Below(2) == 0) {
    bytes.erase(first, first + size);
    return;
  }
  const Bytes again(first, first + size);
  bytes.insert(first, again.begin(), again.end());
}

void ContinueWith(Bytes& bytes, const Bytes& other, Random& random) {
  const unsigned reach = std::min(SizeOf(bytes), SizeOf(other));
  const unsigned at = random.Below(random.Below(2) == 0 ? std::min(kHeaderReach, reach) : reach);
  bytes.resize(at);
  bytes.insert(bytes.end(), other.begin() + at, other.end());
}

// A good file other than number `own`.
const Bytes& OtherThan(unsigned own, const std::vector<Bytes>& good, Random& random) {
  const auto count = static_cast<unsigned>(good.size());
  return good[(own + 1 + random.Below(count - 1)) % count];
}

void Damage(Bytes& bytes, const MalformedSource& source, unsigned own, unsigned kind, Random& random) {
  switch (kind) {
    case 0:
      return FlipBits(bytes, SizeOf(bytes), random);
    case 1:
      return FlipBits(bytes, kHeaderReach, random);
    case 2:
      return CutAnywhere(bytes, random);
    case 3:
      return CutShort(bytes, random);
    case 4:
      return InflateFields(bytes, random);
    case 5:
      return SwapParts(bytes, source.parts, random);
    case 6:
      return ShiftBytes(bytes, random);
    default:
      return ContinueWith(bytes, OtherThan(own, source.good, random), random);
  }
}

}  // namespace

Bytes MakeMalformed(const MalformedSource& source, unsigned index) {
  constexpr unsigned kKinds = 8;
  Random random(index);
  // The first numbers of neighbouring seeds are alike.
  for (int i = 0; i < 4; ++i) (void)random.Byte();
  const auto count = static_cast<unsigned>(source.good.size());
  const unsigned own = index / kKinds % count;
  Bytes bytes = source.good[own];
  Damage(bytes, source, own, index % kKinds, random);
  // Every second one with whole checksums.
  if (source.parts == FileParts::kPngChunks && index / kKinds / count % 2 == 0) RepairPngChecksums(bytes);
  return bytes;
}

}  // namespace test

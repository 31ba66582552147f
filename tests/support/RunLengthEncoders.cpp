#include "support/RunLengthEncoders.h"

#include <algorithm>

#include "support/Random.h"

namespace test {

namespace {

using Span = std::span<const unsigned char>;

// How many units of `unit` bytes at the front of `rest` are equal, up to `limit`.
std::size_t RunLength(Span rest, std::size_t unit, std::size_t limit) {
  std::size_t length = 1;
  while (length < limit && (length + 1) * unit <= rest.size() &&
         std::equal(rest.begin(), rest.begin() + std::ptrdiff_t(unit),
                    rest.begin() + std::ptrdiff_t(length * unit))) {
    ++length;
  }
  return length;
}

// How many units come before the next run of at least three, up to `limit`.
std::size_t LiteralLength(Span rest, std::size_t unit, std::size_t limit) {
  std::size_t length = 0;
  while (length < limit && length * unit < rest.size() && RunLength(rest.subspan(length * unit), unit, 3) < 3)
    ++length;
  return length;
}

// Cuts `samples` into runs of at least three units and literals, and gives each piece to `emit(isRun, length,
// rest)`.
template <class Emit>
void Cut(Span samples, std::size_t unit, std::size_t runLimit, std::size_t literalLimit, Emit emit) {
  for (Span rest = samples; !rest.empty();) {
    const std::size_t run = RunLength(rest, unit, runLimit);
    const std::size_t length =
        run >= 3 ? run : std::max<std::size_t>(LiteralLength(rest, unit, literalLimit), 1);
    emit(run >= 3, length, rest);
    rest = rest.subspan(length * unit);
  }
}

Bytes Front(Span rest, std::size_t size) { return {rest.begin(), rest.begin() + std::ptrdiff_t(size)}; }

}  // namespace

Bytes EncodeSgiRow(Span samples, bool wide) {
  ByteWriter out;
  const auto control = [&](std::size_t value) { (wide ? out.U8(0) : out).U8(unsigned(value)); };
  const auto sample = [&](unsigned char value) { wide ? out.U8(value).U8(0x5A) : out.U8(value); };
  Cut(samples, 1, 127, 127, [&](bool isRun, std::size_t length, Span rest) {
    control(isRun ? length : 128 + length);
    for (std::size_t i = 0; i < (isRun ? 1 : length); ++i) sample(rest[i]);
  });
  control(0);
  return out.Take();
}

Bytes EncodePicPure(Span samples, unsigned channels) {
  ByteWriter out;
  for (Span rest = samples; !rest.empty();) {
    const std::size_t length = RunLength(rest, channels, 255);
    out.U8(unsigned(length)).Raw(Front(rest, channels));
    rest = rest.subspan(length * channels);
  }
  return out.Take();
}

Bytes EncodePicMixed(Span samples, unsigned channels) {
  ByteWriter out;
  Cut(samples, channels, 65535, 128, [&](bool isRun, std::size_t length, Span rest) {
    if (!isRun) {
      out.U8(unsigned(length - 1)).Raw(Front(rest, length * channels));
    } else if (length <= 128) {
      out.U8(unsigned(length + 127)).Raw(Front(rest, channels));
    } else {
      out.U8(128).U16(unsigned(length)).Raw(Front(rest, channels));
    }
  });
  return out.Take();
}

Bytes EncodeByteRun1(Span bytes) {
  ByteWriter out;
  Cut(bytes, 1, 128, 128, [&](bool isRun, std::size_t length, Span rest) {
    if (isRun) {
      out.U8(unsigned(257 - length)).U8(rest[0]);
    } else {
      out.U8(unsigned(length - 1)).Raw(Front(rest, length));
    }
  });
  return out.Take();
}

Bytes RunnySamples(std::size_t size, unsigned seed) {
  Random random(seed);
  Bytes samples;
  while (samples.size() < size) {
    const unsigned longest = random.Below(4) == 0 ? 300 : 5;
    samples.insert(samples.end(), 1 + random.Below(longest), random.Byte());
  }
  samples.resize(size);
  return samples;
}

}  // namespace test

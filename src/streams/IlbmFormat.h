// The layout of IFF files of type ILBM, after "EA IFF 85" and "ILBM" by Electronic Arts. All numbers are
// big-endian.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "streams/RByteReader.h"
#include "streams/RRowWriter.h"

/// The id of a chunk from its four letters.
constexpr std::uint32_t IlbmId(const char (&letters)[5]) {
  std::uint32_t id = 0;
  for (int i = 0; i < 4; ++i) id = id << 8 | static_cast<unsigned char>(letters[i]);
  return id;
}

/// The first 8 bytes of a chunk.
struct IlbmChunk {
  static constexpr std::size_t kSize = 8;  ///< bytes

  std::uint32_t id = 0;    ///< four letters, see `IlbmId`
  std::uint32_t size = 0;  ///< bytes of data that follow

  /// Fails when the file ends within the chunk's head.
  [[nodiscard]] bool Read(RByteReader& in) { return in.Big(id) && in.Big(size); }
};

/// The chunk that all others are within, with the type of its contents.
struct IlbmForm {
  IlbmChunk chunk;         ///< FORM
  std::uint32_t type = 0;  ///< ILBM

  /// Fails when it is another chunk or type, or the file ends within it.
  [[nodiscard]] bool Read(RByteReader& in) {
    return chunk.Read(in) && in.Big(type) && chunk.id == IlbmId("FORM") && type == IlbmId("ILBM");
  }

  /// Returns how far the chunks in it go.
  long Length() const { return static_cast<long>(chunk.size) - 12; }
};

/// The chunk BMHD.
struct IlbmHeader {
  static constexpr std::size_t kSize = 20;  ///< bytes

  std::uint16_t width = 0;   ///< pixels a row
  std::uint16_t height = 0;  ///< rows, the top one first
  ///@{
  /// Place on the page; not used.
  std::int16_t x = 0, y = 0;
  ///@}
  std::uint8_t nPlanes = 0;            ///< bits of a pixel, each in a plane of its own
  std::uint8_t masking = 0;            ///< 1 where a mask plane follows; not consulted
  std::uint8_t compression = 0;        ///< 0 none, 1 ByteRun1
  std::uint8_t pad = 0;                ///< not used
  std::uint16_t transparentColor = 0;  ///< not used
  ///@{
  /// Of a pixel; not used.
  std::uint8_t xAspect = 0, yAspect = 0;
  ///@}
  ///@{
  /// Pixels; not used.
  std::int16_t pageWidth = 0, pageHeight = 0;
  ///@}

  /// Fails, leaving everything as it was, when there are fewer bytes.
  [[nodiscard]] bool Read(RByteReader& in) {
    return in.Remaining() >= kSize && in.Big(width) && in.Big(height) && in.Big(x) && in.Big(y) &&
           in.Big(nPlanes) && in.Big(masking) && in.Big(compression) && in.Big(pad) &&
           in.Big(transparentColor) && in.Big(xAspect) && in.Big(yAspect) && in.Big(pageWidth) &&
           in.Big(pageHeight);
  }

  /// Bytes of one plane of a row: whole 16-bit words.
  std::uint16_t BytesPerRow() const { return static_cast<std::uint16_t>(((width + 15) >> 3) & ~1); }
};

///@{
/// Colours of the chunk CMAP, and what it may hold at most.
inline constexpr std::size_t kIlbmColours = 256;
inline constexpr std::size_t kIlbmColourMapSize = 3 * kIlbmColours;
///@}

/// What the chunks before the rows say.
struct IlbmPreamble {
  IlbmHeader header;                                           ///< of the chunk BMHD
  std::array<unsigned char, kIlbmColourMapSize> colours = {};  ///< red, green and blue of each
  std::uint32_t bodySize = 0;                                  ///< bytes of the chunk BODY

  /// Reads the chunks of `length` bytes up to the first byte of BODY. Fails when a chunk leads out of the
  /// file, or BMHD, CMAP and BODY are not there in this order; what was read until then is kept.
  [[nodiscard]] bool Read(RByteReader& in, long length) {
    bool hasHeader = false;
    bool hasColours = false;
    const std::uint64_t end = length < 0 ? 0 : static_cast<std::uint64_t>(length);
    for (std::uint64_t consumed = 0; consumed < end;) {
      IlbmChunk chunk;
      if (!chunk.Read(in)) return false;
      if (chunk.id == IlbmId("BODY")) {
        bodySize = chunk.size;
        return hasColours;
      }
      if (chunk.id == IlbmId("BMHD")) {
        if (!header.Read(in)) return false;
        hasHeader = true;
      } else if (chunk.id == IlbmId("CMAP")) {
        if (!hasHeader || !ReadColours(in, chunk.size)) return false;
        hasColours = true;
      } else if (!in.Skip(chunk.size)) {
        return false;
      }
      // A pad byte behind data of odd size is neither skipped nor counted.
      consumed += std::uint64_t{chunk.size} + IlbmChunk::kSize;
    }
    return false;
  }

 private:
  bool ReadColours(RByteReader& in, std::uint64_t size) {
    const std::size_t held = std::min<std::uint64_t>(size, colours.size());
    if (!in.Bytes(colours.data(), held)) return false;
    // Deliberate: past a map that is too large it goes on by all of the size but 4 bytes, not by what was not
    // read.
    return size <= colours.size() || in.Skip(size - 4);
  }
};

/// Decodes ByteRun1 from the reader until `out` is full: a control byte below 128 comes before one byte more
/// than that which are taken as they are, one from 128 before a byte that is repeated 257 less the control
/// times. Bytes past the row are dropped. Returns false when the data end before the row is full or within a
/// run.
template <kRowTail kTail>
[[nodiscard]] bool IlbmDecodeRow(RByteReader& in, RBasicRowWriter<kTail>& out) {
  while (!out.IsFull()) {
    std::uint8_t control = 0;
    if (!in.Big(control)) return false;
    if (control < 128) {
      if (!out.Copy(in, control + std::size_t{1})) return false;
    } else {
      // Deliberate: 128 is a run of 129 like any other, though writers of the format use it for nothing.
      std::uint8_t value = 0;
      if (!in.Big(value)) return false;
      out.Fill(value, std::size_t{257} - control);
    }
  }
  return true;
}

/// Makes RGBA pixels of one row.
class IlbmPixels {
 public:
  /// `colourMap` holds red, green and blue of each colour; alpha is 255.
  explicit IlbmPixels(std::span<const unsigned char, kIlbmColourMapSize> colourMap) {
    for (std::size_t i = 0; i < kIlbmColours; ++i) {
      mColours[i] = {colourMap[3 * i], colourMap[3 * i + 1], colourMap[3 * i + 2], 255};
    }
  }

  /// Writes `pixels.size()` / 4 pixels, but no more than a plane has bits. `planes` holds up to 8 planes of
  /// `bytesPerRow` bytes, a bit for each pixel, the first pixel in a byte's most significant bit. The
  /// colour's number has plane p in bit p.
  void WriteRow(std::span<const unsigned char> planes, std::size_t bytesPerRow,
                std::span<unsigned char> pixels) const;

 private:
  using Colour = std::array<unsigned char, 4>;
  // Writes up to 8 pixels, the first pixel's number being in the most significant byte.
  void WriteColumn(std::uint64_t numbers, std::span<unsigned char> pixels) const;

  std::array<Colour, kIlbmColours> mColours;
};

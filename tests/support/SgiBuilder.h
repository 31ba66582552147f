// SGI files made by hand.
#pragma once

#include <cstdint>
#include <vector>

#include "support/ByteWriter.h"

namespace test {

/// An SGI file: the header's fields as they are stored, the tables and the rows. A bad field is one
/// assignment.
struct SgiBuilder {
  std::uint16_t magic = 474;
  std::uint8_t storage = 0;
  std::uint8_t bpc = 1;
  std::uint16_t dimension = 3;
  std::uint16_t xsize = 0;
  std::uint16_t ysize = 0;
  std::uint16_t zsize = 3;
  std::vector<std::uint32_t> rowStart;   ///< written after the header as it is
  std::vector<std::uint32_t> rowLength;  ///< written after the row starts
  Bytes body;

  /// A verbatim file with these samples, channel after channel.
  static SgiBuilder Verbatim(unsigned width, unsigned height, unsigned channels, Bytes samples);
  /// A run-length coded file whose compressed rows follow the tables, channel after channel, and are entered
  /// there.
  static SgiBuilder Rle(unsigned width, unsigned height, unsigned channels, const std::vector<Bytes>& rows);

  /// Returns where the body begins.
  std::uint32_t BodyOffset() const;
  Bytes Build() const;
};

}  // namespace test

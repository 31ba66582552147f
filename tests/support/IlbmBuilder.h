// IFF ILBM files made by hand.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/ByteWriter.h"

namespace test {

/// A chunk of an IFF file. Without a `size` the header says how many bytes of data there are.
struct IffChunk {
  std::string id;
  Bytes data;
  std::optional<std::uint32_t> size = std::nullopt;
};

/// The chunk BMHD.
struct IlbmBmhd {
  std::uint16_t width = 0;
  std::uint16_t height = 0;
  std::uint8_t planes = 0;
  std::uint8_t masking = 0;
  std::uint8_t compression = 0;

  IffChunk Chunk() const;
};

/// An IFF file: the outer header as it is stored and the chunks, with nothing between them. A bad field is
/// one assignment.
struct IlbmBuilder {
  std::string form = "FORM";
  std::string type = "ILBM";
  std::optional<std::uint32_t> size;  ///< of the outer chunk; unset for the right one
  std::vector<IffChunk> chunks;

  /// A file with header, colours and rows.
  static IlbmBuilder Make(const IlbmBmhd& header, Bytes colours, Bytes body);
  Bytes Build() const;
};

}  // namespace test

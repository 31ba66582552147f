// PIC files made by hand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/ByteWriter.h"

namespace test {

/// A channel packet of a PIC file.
struct PicPacket {
  std::uint8_t type = 0;     ///< 0 raw, 1 runs, 2 runs and raw
  std::uint8_t channel = 0;  ///< red 0x80, green 0x40, blue 0x20, alpha 0x10
  std::uint8_t size = 8;
  std::uint8_t chained = 1;  ///< stored where another packet follows
};

/// A PIC file: the header's fields as they are stored, the packets and the scanlines. A bad field is one
/// assignment.
struct PicBuilder {
  std::uint32_t magic = 0x5380F634;
  float version = 2.6F;
  std::string comment = "made by a test";
  std::uint32_t id = 0x50494354;
  std::uint16_t width = 0;
  std::uint16_t height = 0;
  float ratio = 1;
  std::uint16_t fields = 3;
  std::uint16_t padding = 0;
  std::vector<PicPacket> packets;
  bool endless = false;  ///< the last packet says that another one follows
  Bytes body;

  /// A file of that size with these packets and scanlines.
  static PicBuilder Make(unsigned width, unsigned height, std::vector<PicPacket> packets, Bytes body);
  Bytes Build() const;
};

}  // namespace test

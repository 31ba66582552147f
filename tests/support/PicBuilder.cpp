#include "support/PicBuilder.h"

namespace test {

PicBuilder PicBuilder::Make(unsigned width, unsigned height, std::vector<PicPacket> packets, Bytes body) {
  PicBuilder file;
  file.width = static_cast<std::uint16_t>(width);
  file.height = static_cast<std::uint16_t>(height);
  file.packets = std::move(packets);
  file.body = std::move(body);
  return file;
}

Bytes PicBuilder::Build() const {
  ByteWriter out;
  out.U32(magic).F32(version).Text(comment).PadTo(88).U32(id);
  out.U16(width).U16(height).F32(ratio).U16(fields).U16(padding);
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const bool chained = endless || i + 1 < packets.size();
    out.U8(chained ? packets[i].chained : 0).U8(packets[i].size).U8(packets[i].type).U8(packets[i].channel);
  }
  return out.Raw(body).Take();
}

}  // namespace test

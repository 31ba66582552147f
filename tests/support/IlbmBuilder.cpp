#include "support/IlbmBuilder.h"

namespace test {

IffChunk IlbmBmhd::Chunk() const {
  ByteWriter out;
  out.U16(width).U16(height).U16(0).U16(0).U8(planes).U8(masking).U8(compression).U8(0);
  out.U16(0).U8(10).U8(11).U16(320).U16(200);
  return {"BMHD", out.Take()};
}

IlbmBuilder IlbmBuilder::Make(const IlbmBmhd& header, Bytes colours, Bytes body) {
  IlbmBuilder file;
  file.chunks = {header.Chunk(), {"CMAP", std::move(colours)}, {"BODY", std::move(body)}};
  return file;
}

Bytes IlbmBuilder::Build() const {
  ByteWriter data;
  for (const IffChunk& chunk : chunks) {
    data.Text(chunk.id)
        .U32(chunk.size.value_or(static_cast<std::uint32_t>(chunk.data.size())))
        .Raw(chunk.data);
  }
  ByteWriter out;
  out.Text(form).U32(size.value_or(static_cast<std::uint32_t>(data.Size() + 4))).Text(type);
  return out.Raw(data.Take()).Take();
}

}  // namespace test

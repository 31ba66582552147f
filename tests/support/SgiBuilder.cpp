#include "support/SgiBuilder.h"

namespace test {

SgiBuilder SgiBuilder::Verbatim(unsigned width, unsigned height, unsigned channels, Bytes samples) {
  SgiBuilder file;
  file.xsize = static_cast<std::uint16_t>(width);
  file.ysize = static_cast<std::uint16_t>(height);
  file.zsize = static_cast<std::uint16_t>(channels);
  file.body = std::move(samples);
  return file;
}

SgiBuilder SgiBuilder::Rle(unsigned width, unsigned height, unsigned channels,
                           const std::vector<Bytes>& rows) {
  SgiBuilder file = Verbatim(width, height, channels, {});
  file.storage = 1;
  file.rowStart.resize(rows.size());
  file.rowLength.resize(rows.size());
  const std::uint32_t begin = file.BodyOffset();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    file.rowStart[i] = begin + static_cast<std::uint32_t>(file.body.size());
    file.rowLength[i] = static_cast<std::uint32_t>(rows[i].size());
    file.body.insert(file.body.end(), rows[i].begin(), rows[i].end());
  }
  return file;
}

std::uint32_t SgiBuilder::BodyOffset() const {
  return static_cast<std::uint32_t>(512 + 4 * (rowStart.size() + rowLength.size()));
}

Bytes SgiBuilder::Build() const {
  ByteWriter out;
  out.U16(magic).U8(storage).U8(bpc).U16(dimension).U16(xsize).U16(ysize).U16(zsize);
  out.U32(0).U32(255).PadTo(24).Text("made by a test").PadTo(512);
  for (const std::uint32_t start : rowStart) out.U32(start);
  for (const std::uint32_t length : rowLength) out.U32(length);
  return out.Raw(body).Take();
}

}  // namespace test

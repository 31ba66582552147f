// The layout of SGI image files, as in "The SGI Image File Format", version 1.00. All numbers are big-endian.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "streams/RByteReader.h"
#include "streams/RRowWriter.h"

/// Decodes one run-length coded row of samples of `kBytes` bytes each, from the reader's position, until
/// `out` is full; of a 2-byte sample the first byte, the most significant, is kept.
///
/// The data are units of a sample's size. A control unit holds in its last byte a count of 1 to 127, with the
/// top bit set when that many samples follow as they are, clear when one sample follows that is repeated.
/// Returns true when the runs filled the row exactly; false when a count was 0, the data ended or the last
/// run went past the row.
template <std::size_t kBytes, kRowTail kTail>
bool SgiDecodeRow(RByteReader in, RBasicRowWriter<kTail>& out) {
  static_assert(kBytes == 1 || kBytes == 2);
  while (!out.IsFull()) {
    std::span<const unsigned char> unit;
    if (!in.View(kBytes, unit)) return false;
    const unsigned control = unit[kBytes - 1];
    const std::size_t count = control & 127;
    if (count == 0) return false;
    if (control & 128) {
      if (!out.template Copy<kBytes>(in, count)) return false;
    } else {
      if (!in.View(kBytes, unit)) return false;
      out.Fill(unit[0], count);
    }
  }
  return out.IsExact();
}

/// An SGI file in memory: the header's fields, and where rows and samples are. It borrows the file's bytes.
///
///     0        512             512 + 4 x rows x channels
///     | header | start table   | length table, compressed rows ...          storage 1
///     | header | channel 0, row 0 | channel 0, row 1 ... | channel 1 ...    storage 0
///
/// The length table is not used: the end of a compressed row is found by decoding it.
struct SgiImageHeader {
  static constexpr std::uint16_t kMagic = 474;
  static constexpr std::size_t kHeaderSize = 512;

  std::uint8_t bpc = 0;  ///< bytes a sample: 1, any other number counts as 2
  std::uint8_t storage =
      0;  ///< 0 verbatim, 1 run-length coded; with any other there is a table but nothing decodes
  std::uint16_t dimension = 0;  ///< 1 one row, 2 one channel, 3 (or any other) several
  std::uint16_t xsize = 0;      ///< pixels a row
  std::uint16_t ysize = 0;      ///< rows, the bottom one first
  std::uint16_t zsize = 0;      ///< channels: 1 grey, 3 RGB, 4 RGBA
  std::span<const unsigned char>
      rowStart;                         ///< file offsets of the rows, channel after channel; may be cut short
  std::span<const unsigned char> data;  ///< the file from the data base on
  std::uint32_t dataBase =
      kHeaderSize;  ///< where `data` begins in the file: after the header or the start table

  /// Reads the header of the file `bytes`. Fails for a wrong magic number, a number of channels that is not
  /// 1, 3 or 4, and a file that ends before the data base.
  [[nodiscard]] bool Read(std::span<const unsigned char> bytes) {
    RByteReader in(bytes);
    if (!ReadFields(in) || !in.Seek(kHeaderSize)) return false;
    if (storage != 0) rowStart = in.ViewUpTo(std::size_t{4} * ysize * zsize);
    dataBase = static_cast<std::uint32_t>(in.Position());
    data = in.ViewUpTo(in.Remaining());
    return true;
  }

  /// Decodes row `y` of channel `z` to `xsize` 8-bit samples in `row`. Samples that the file does not have
  /// are those of `before`. Returns -1, leaving `row` as it was, when the row or the channel does not exist
  /// or one of the spans is not of that size; for run-length coded rows 1 or 0, whether the runs filled the
  /// row exactly; else 0.
  int FetchRow(std::span<unsigned char> row, std::span<const unsigned char> before, int y, int z) const {
    if (y < 0 || y >= ysize || z < 0 || z >= zsize || row.size() != xsize || before.size() != xsize)
      return -1;
    const std::size_t index = static_cast<std::size_t>(z) * ysize + static_cast<std::size_t>(y);
    RRowWriter out(row);
    if (storage == 0) FetchVerbatim(out, index);
    const bool exact = storage == 1 && DecodeRow(out, index);
    out.Finish(before);
    return exact ? 1 : 0;
  }

 private:
  bool ReadFields(RByteReader& in) {
    std::uint16_t magic = 0;
    if (!in.Big(magic) || !in.Big(storage) || !in.Big(bpc) || !in.Big(dimension) || !in.Big(xsize) ||
        !in.Big(ysize) || !in.Big(zsize) || magic != kMagic) {
      return false;
    }
    // Deliberate: the number of channels is tested as it is stored, before the dimension overrules it, so a
    // picture of one channel that stores 0 or 2 is refused.
    if (zsize != 1 && zsize != 3 && zsize != 4) return false;
    if (dimension < 3) zsize = 1;
    if (dimension < 2) ysize = 1;
    return true;
  }

  void FetchVerbatim(RRowWriter& out, std::size_t index) const {
    RByteReader in(data);
    // Deliberate: where the row starts is reckoned with the stored sample size, even when that is neither 1
    // nor 2.
    if (!in.Seek(index * bpc * xsize)) return;
    (void)(bpc == 1 ? out.Copy<1>(in, xsize)
                    : out.Copy<2>(in, xsize));  // a file that is cut short still loads
  }

  bool DecodeRow(RRowWriter& out, std::size_t index) const {
    std::uint32_t start = 0;
    RByteReader table(rowStart);
    if (table.Skip(4 * index)) (void)table.Big(start);  // a table that is cut short leaves 0, which is no row
    RByteReader in(data);
    if (start < dataBase || !in.Seek(start - dataBase)) return false;
    return bpc == 1 ? SgiDecodeRow<1>(in, out) : SgiDecodeRow<2>(in, out);
  }
};

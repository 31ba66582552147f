// Where BC6H blocks keep the bits of their endpoints.
#pragma once

#include "dds/blocks/BlockMath.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

/// The endpoint values of a block, four of each endpoint: red, green, blue and a place that no block fills.
/// It makes the channels of a pixel one unit to calculate with. First and second endpoint of one subset, then
/// of the other.
constexpr int kBc6hFields = 16;

/// A mode, by its number in the low 2 or 5 bits of a block.
struct Bc6hMode {
  int code;
  bool transformed;  ///< the other endpoints are offsets from the first
  int subsets;
  int bits;          ///< of the first endpoint
  int deltaBits[3];  ///< of the others: red, green, blue
  /// The fields after the mode, the lowest bit first: v[a:b] are bits a to b of value v with b stored first
  /// (so that a < b stores the high bit first), v[a] is bit a alone. r0 is red of the first endpoint.
  const char* layout;
};

// Tables "BPTC_FLOAT mode parameters" and "interpretation of endpoint bits": Table.MF and Table.F of
// ARB_texture_compression_bptc.
constexpr int kBc6hModeCount = 14;
// clang-format off
constexpr Bc6hMode kBc6hModes[kBc6hModeCount] = {
    {0, true, 2, 10, {5, 5, 5},
     "g2[4],b2[4],b3[4],r0[9:0],g0[9:0],b0[9:0],r1[4:0],g3[4],g2[3:0],"
     "g1[4:0],b3[0],g3[3:0],b1[4:0],b3[1],b2[3:0],r2[4:0],b3[2],r3[4:0],b3[3]"},
    {1, true, 2, 7, {6, 6, 6},
     "g2[5],g3[4],g3[5],r0[6:0],b3[0],b3[1],b2[4],g0[6:0],b2[5],b3[2],"
     "g2[4],b0[6:0],b3[3],b3[5],b3[4],r1[5:0],g2[3:0],g1[5:0],g3[3:0],b1[5:0],"
     "b2[3:0],r2[5:0],r3[5:0]"},
    {2, true, 2, 11, {5, 4, 4},
     "r0[9:0],g0[9:0],b0[9:0],r1[4:0],r0[10],g2[3:0],g1[3:0],g0[10],"
     "b3[0],g3[3:0],b1[3:0],b0[10],b3[1],b2[3:0],r2[4:0],b3[2],r3[4:0],b3[3]"},
    {6, true, 2, 11, {4, 5, 4},
     "r0[9:0],g0[9:0],b0[9:0],r1[3:0],r0[10],g3[4],g2[3:0],g1[4:0],"
     "g0[10],g3[3:0],b1[3:0],b0[10],b3[1],b2[3:0],r2[3:0],b3[0],b3[2],r3[3:0],"
     "g2[4],b3[3]"},
    {10, true, 2, 11, {4, 4, 5},
     "r0[9:0],g0[9:0],b0[9:0],r1[3:0],r0[10],b2[4],g2[3:0],g1[3:0],"
     "g0[10],b3[0],g3[3:0],b1[4:0],b0[10],b2[3:0],r2[3:0],b3[1],b3[2],r3[3:0],"
     "b3[4],b3[3]"},
    {14, true, 2, 9, {5, 5, 5},
     "r0[8:0],b2[4],g0[8:0],g2[4],b0[8:0],b3[4],r1[4:0],g3[4],g2[3:0],"
     "g1[4:0],b3[0],g3[3:0],b1[4:0],b3[1],b2[3:0],r2[4:0],b3[2],r3[4:0],b3[3]"},
    {18, true, 2, 8, {6, 5, 5},
     "r0[7:0],g3[4],b2[4],g0[7:0],b3[2],g2[4],b0[7:0],b3[3],b3[4],"
     "r1[5:0],g2[3:0],g1[4:0],b3[0],g3[3:0],b1[4:0],b3[1],b2[3:0],r2[5:0],"
     "r3[5:0]"},
    {22, true, 2, 8, {5, 6, 5},
     "r0[7:0],b3[0],b2[4],g0[7:0],g2[5],g2[4],b0[7:0],g3[5],b3[4],"
     "r1[4:0],g3[4],g2[3:0],g1[5:0],g3[3:0],b1[4:0],b3[1],b2[3:0],r2[4:0],"
     "b3[2],r3[4:0],b3[3]"},
    {26, true, 2, 8, {5, 5, 6},
     "r0[7:0],b3[1],b2[4],g0[7:0],b2[5],g2[4],b0[7:0],b3[5],b3[4],"
     "r1[4:0],g3[4],g2[3:0],g1[4:0],b3[0],g3[3:0],b1[5:0],b2[3:0],r2[4:0],"
     "b3[2],r3[4:0],b3[3]"},
    {30, false, 2, 6, {6, 6, 6},
     "r0[5:0],g3[4],b3[0],b3[1],b2[4],g0[5:0],g2[5],b2[5],b3[2],"
     "g2[4],b0[5:0],g3[5],b3[3],b3[5],b3[4],r1[5:0],g2[3:0],g1[5:0],g3[3:0],"
     "b1[5:0],b2[3:0],r2[5:0],r3[5:0]"},
    {3, false, 1, 10, {10, 10, 10},
     "r0[9:0],g0[9:0],b0[9:0],r1[9:0],g1[9:0],b1[9:0]"},
    {7, true, 1, 11, {9, 9, 9},
     "r0[9:0],g0[9:0],b0[9:0],r1[8:0],r0[10],g1[8:0],g0[10],b1[8:0],"
     "b0[10]"},
    {11, true, 1, 12, {8, 8, 8},
     "r0[9:0],g0[9:0],b0[9:0],r1[7:0],r0[10:11],g1[7:0],g0[10:11],"
     "b1[7:0],b0[10:11]"},
    {15, true, 1, 16, {4, 4, 4},
     "r0[9:0],g0[9:0],b0[9:0],r1[3:0],r0[10:15],g1[3:0],g0[10:15],"
     "b1[3:0],b0[10:15]"},
};
// clang-format on

/// Some of the bits of a field, in the order of the block.
struct Bc6hRun {
  u8 field = 0, lowest = 0, count = 0;
  bool reversed = false;
};

/// The layouts of all modes, parsed. A row's runs end with one of no bits.
struct Bc6hLayouts {
  static constexpr int kRuns = 24;
  Bc6hRun runs[kBc6hModeCount][kRuns];
};

constexpr int ParseNumber(const char*& text) {
  int number = 0;
  while (*text >= '0' && *text <= '9') number = 10 * number + (*text++ - '0');
  return number;
}

constexpr Bc6hRun ParseRun(const char*& text) {
  const int channel = *text == 'r' ? 0 : *text == 'g' ? 1 : 2;
  const int endpoint = *++text - '0';
  const int first = ParseNumber(text += 2);
  const int last = *text == ':' ? ParseNumber(++text) : first;
  text += text[1] == ',' ? 2 : 1;
  const bool reversed = first < last;
  return {static_cast<u8>(4 * endpoint + channel), static_cast<u8>(reversed ? first : last),
          static_cast<u8>((reversed ? last - first : first - last) + 1), reversed};
}

constexpr Bc6hLayouts ParseLayouts() {
  Bc6hLayouts layouts{};
  for (int row = 0; row < kBc6hModeCount; ++row) {
    const char* text = kBc6hModes[row].layout;
    for (int i = 0; *text; ++i) layouts.runs[row][i] = ParseRun(text);
  }
  return layouts;
}
constexpr Bc6hLayouts kBc6hLayouts = ParseLayouts();

/// Whether each layout fills its block: mode and fields are 77 bits before the partition, or 65 before the
/// indices.
constexpr bool LayoutsFillTheirBlocks() {
  for (int row = 0; row < kBc6hModeCount; ++row) {
    int bits = kBc6hModes[row].code < 2 ? 2 : 5;
    for (const Bc6hRun& run : kBc6hLayouts.runs[row]) bits += run.count;
    if (bits != (kBc6hModes[row].subsets == 2 ? 77 : 65)) return false;
  }
  return true;
}
static_assert(LayoutsFillTheirBlocks());

/// The table row of each value of a block's low five bits, -1 for reserved ones. Of modes 0 and 1 only two
/// bits count.
struct Bc6hRows {
  int row[32];
};
constexpr Bc6hRows MakeBc6hRows() {
  Bc6hRows rows{};
  for (int code = 0; code < 32; ++code) {
    rows.row[code] = -1;
    for (int row = 0; row < kBc6hModeCount; ++row) {
      const int mode = kBc6hModes[row].code;
      if (mode == (mode < 2 ? code & 3 : code)) rows.row[code] = row;
    }
  }
  return rows;
}
constexpr Bc6hRows kBc6hRows = MakeBc6hRows();

}  // namespace

// Encoders of the run-length codes that the module only reads. They are written from the format documents.
#pragma once

#include <span>

#include "support/ByteWriter.h"

namespace test {

/// A row of an SGI file: a control unit with a count of up to 127, its top bit set before literal samples,
/// clear before a sample that is repeated; a count of 0 ends the row. With `wide` every unit has two bytes,
/// the sample's value in the first of them.
Bytes EncodeSgiRow(std::span<const unsigned char> samples, bool wide = false);

/// A packet of a scanline of a PIC file of type 1: a count of 1 to 255 and a value for each channel.
/// `samples` holds the pixels one after the other, `channels` bytes each.
Bytes EncodePicPure(std::span<const unsigned char> samples, unsigned channels);

/// The same of type 2: a count below 128 before that many and one literal pixels; else, before the values of
/// a pixel, a count from 129 for a run of the count less 127, or 128 and a run's length in 2 bytes.
Bytes EncodePicMixed(std::span<const unsigned char> samples, unsigned channels);

/// A row of an ILBM body in ByteRun1: a count below 128 before that many and one literal bytes; a count above
/// 128 before a byte that is repeated 257 less the count times.
Bytes EncodeByteRun1(std::span<const unsigned char> bytes);

/// Returns `size` samples of runs of 1 to 300 and stretches without runs; equal seeds give equal samples.
Bytes RunnySamples(std::size_t size, unsigned seed);

}  // namespace test

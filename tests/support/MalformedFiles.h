// Good files that are damaged in the ways that files are damaged, and made to lie in the ways that readers
// believe.
#pragma once

#include <string>
#include <vector>

#include "support/ByteWriter.h"

namespace test {

/// How the parts of a format are found, to swap them and to repair what protects them.
enum class FileParts {
  kBlocks,     ///< none that can be told: any bytes
  kPngChunks,  ///< with their checksums
  kIffChunks,
};

/// A format with good files of it, two at least.
struct MalformedSource {
  std::vector<Bytes> good;
  FileParts parts = FileParts::kBlocks;
};

/// Returns the malformed file number `index` of a format, the same on every run and machine. Each of eight
/// kinds of damage comes with every eighth number: flipped bits anywhere, flipped bits in the header, the end
/// missing, almost nothing left, fields with extreme numbers, parts swapped, bytes missing or doubled, and
/// the end of another file.
Bytes MakeMalformed(const MalformedSource& source, unsigned index);

}  // namespace test

// The file formats that the loader keeps as they are or nearly so.
#pragma once

#include <cstdint>
#include <vector>

#include "dds/DdsFormat.h"
#include "dds/blocks/BlockFormat.h"
#include "image/RImage.h"

class RFile;

/// How the loader stores a file.
struct DdsDirectFormat {
  std::uint32_t format = 0;  ///< the recorded `nv_dds::kTextureFormat`
  int components = 0;
  bool compressed = false;
  kBlockFormat blocks = kBlockBC1;                    ///< of compressed formats
  kImageFormat fileLayout = kImageFormatUndefined;    ///< of RGB and RGBA: how the file has them
  kImageFormat storedLayout = kImageFormatUndefined;  ///< and how they are stored
};

/// The sizes of one level.
struct DdsLevel {
  int width, height, depth;
  int bytes;  ///< of all slices
};

/// Decides how the loader stores a file with this header. Returns false when it does not: then the general
/// reader takes the file.
[[nodiscard]] bool DdsFindDirectFormat(const DdsHeader& header, DdsDirectFormat& format);

/// Reads the magic characters and the header of a file from its start; what is cut off reads as zero. Returns
/// false when the loader does not keep such a file.
[[nodiscard]] bool DdsReadDirectHeader(RFile& file, DdsHeader& header, DdsDirectFormat& format);

/// Lists the levels of a texture. Fails, with the list cut short, when a dimension is below 1, there are more
/// than 32 levels, or a level is above INT32_MAX bytes.
[[nodiscard]] bool DdsListLevels(const DdsHeader& header, const DdsDirectFormat& format,
                                 std::vector<DdsLevel>& levels);

/// Returns the block layout of a recorded format, or null for one that is not compressed.
const kBlockFormat* DdsBlockFormatOf(std::uint32_t format);

// Pictures out of DDS files without OpenGL.
#pragma once

#include <cstdint>
#include <string>

#include "dds/TddsReader.h"
#include "dds/nv_dds.h"
#include "image/RImageExport.h"

/// What a DDS file holds; all 0 when nothing is loaded.
struct RDDSInfo {
  const char* format = "";  ///< the layout's name, such as "DXT5" or "BC7_UNORM"
  int width = 0;            ///< of the largest level
  int height = 0;           ///< of the largest level
  int depth = 0;            ///< slices of the largest level; 1 unless a volume
  int levels = 0;           ///< the largest included
  /// Textures: 1, 6 for a cube map, the elements of an array, 6 for each of an array of cube maps.
  int faces = 0;
  bool isCubemap = false;        ///< six faces each
  bool isVolume = false;         ///< slices
  bool isCompressed = false;     ///< blocks of 4 x 4 pixels
  bool isFloat = false;          ///< pixels are 32-bit floats
  bool isLuminance = false;      ///< pixels are grey
  bool hasAlpha = false;         ///< pixels without alpha are given as opaque
  bool isPremultiplied = false;  ///< colours are stored multiplied with alpha, and given so
};

/// Decodes any face, level and slice of a DDS file on the processor.
///
/// Pixels come in the file's order: rows from the top, each red, green, blue, alpha, tightly packed. Channels
/// that the layout lacks are 0, alpha is opaque then; luminance is grey. Colours multiplied with alpha stay
/// so. Files that the loader takes as luminance or RGBA are what it takes them for.
class RIMAGE_API RDDSDecoder {
 public:
  /// Loads the file at `path` (UTF-8), in place of what was held. Fails as `nv_dds::CDDSImage::load` does. A
  /// file that cannot be decoded does not fail: see `IsPlaceholder`.
  [[nodiscard]] bool Load(const char* path);

  /// Reads what the headers of the file at `path` (UTF-8) say, without its pixels, to `info`. Fails, leaving
  /// it as it was, for a file that cannot be opened or whose headers are those of no picture that can be
  /// decoded.
  [[nodiscard]] static bool ReadInfo(const char* path, RDDSInfo& info);

  /// Whether the file cannot be decoded; the only picture then is the 64 x 64 placeholder, (255, 0, 0, 0).
  bool IsPlaceholder() const { return !mIsKept && mReader.IsPlaceholder(); }
  /// Returns what the file holds, borrowed.
  const RDDSInfo& GetInfo() const { return mInfo; }

  /// Returns the size of a level along an axis that is `size` in the largest: halved for each, at least 1.
  static int LevelSize(int size, int level);

  /// Decodes to 4 bytes a pixel; floats are clamped to 0 to 1 and rounded. Returns null when there is no such
  /// picture, the file ends before it or memory runs out.
  RPixelBuffer DecodeBytes(int face, int level, int slice) const;
  /// Decodes to 4 floats a pixel, each in four bytes; bytes of the file span 0 to 1. Returns null as
  /// `DecodeBytes` does.
  RPixelBuffer DecodeFloats(int face, int level, int slice) const;

 private:
  struct Picture;

  bool Decode(int face, int level, int slice, Picture& picture) const;
  bool DecodeKept(const nv_dds::CTexture& texture, int level, int slice, Picture& picture) const;
  bool DecodeStored(int face, int level, int slice, Picture& picture) const;

  std::string mPath;
  RDDSInfo mInfo;
  bool mIsKept = false;      // the loader keeps the file's pixels
  nv_dds::CDDSImage mImage;  // of a kept file
  TddsReader mReader;        // of any other: its largest level
};

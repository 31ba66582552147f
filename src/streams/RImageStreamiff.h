// The stream of IFF ILBM files.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "streams/IlbmFormat.h"
#include "streams/RFileContents.h"
#include "streams/RImageStream.h"

/// The rows of a picture as the file has them: for each row all of its planes, one after the other.
struct RPrivateBitMap {
  static constexpr std::size_t kMaxRows = 1024;  ///< rows of the largest picture

  std::array<std::unique_ptr<unsigned char[]>, kMaxRows> row;  ///< bytesPerRow x depth bytes each, or null
  std::uint16_t bytesPerRow = 0;                               ///< of one plane, an even number
  std::uint16_t rows = 0;                                      ///< that the picture has
  std::uint16_t depth = 0;                                     ///< planes
  std::uint16_t flags = 0;                                     ///< not used
  std::uint16_t pad = 0;                                       ///< not used
};

/// Reads palette pictures of bitplanes. The class has the members of a writer, but they write nothing.
class RIMAGE_API RImageStreamiff : public RImageStream {
  R_CLASS(RImageStreamiff, RImageStream)

  RImageStreamiff();
  ~RImageStreamiff() override;

  /// Reads the file into `GetImage(true)` as RGBA, alpha 255, the file's first row in the last row. Colours
  /// that the file does not have are black. A mask plane is not known: every row is taken to hold as many
  /// planes as the header says. The options are not used.
  ///
  /// Fails for a file that cannot be opened, is no FORM of type ILBM, lacks the chunk BMHD, CMAP or BODY or
  /// has them in another order, is compressed in another way than ByteRun1, has more than 1024 rows or 8
  /// planes, claims more pixels than its size can justify, or ends before the last row. The image is touched
  /// only after all rows were read.
  bool StreamOpen(RStreamOptions* options) override;

  /// Reads the chunks of the open file up to BODY, then that. `length` is the size of the chunks as far as
  /// BODY may be. False when something is missing or wrong.
  bool read_ilbm(long length);
  /// Reads the rows of the open file into the plane store; false, with the store empty, when that fails. The
  /// argument, the chunk's size, is not used: the rows decide how much is read.
  bool read_body(long size);
  /// Frees all rows of `planes`; null is fine.
  void free_planes(RPrivateBitMap* planes);

  /// Writes nothing and returns 1.
  int Write(const char* path, unsigned short* colours, RPrivateBitMap* planes, short, short, short, short);
  /// Writes nothing and returns 0.
  short pack_bitmap(std::FILE* file, RPrivateBitMap* planes);
  /// Writes nothing and returns 0.
  short pack_row(std::FILE* file, char* row, int size);

 private:
  bool Open();
  void Close();
  bool ReadRow(std::size_t row);
  bool FillImage();

  RFileContents mFile;
  RByteReader mIn{{}};
  long mLength = 0;
  IlbmPreamble mPreamble;
  std::unique_ptr<RPrivateBitMap> mPlanes;
};

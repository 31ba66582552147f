// Reader of IFF ILBM files.
#include "streams/RImageStreamiff.h"

#include <algorithm>
#include <new>

#include "streams/RImageTarget.h"

RImageStreamiff::RImageStreamiff() = default;

RImageStreamiff::~RImageStreamiff() { RunTeardown(); }

bool RImageStreamiff::StreamOpen(RStreamOptions*) {
  const bool read = Open() && read_ilbm(mLength) && FillImage();
  Close();
  return read;
}

bool RImageStreamiff::Open() {
  if (!mFile.Read(GetFileName())) return false;
  mIn = RByteReader(mFile.Bytes());
  IlbmForm form;
  if (!form.Read(mIn)) return false;
  mLength = static_cast<long>(form.chunk.size) - 12;
  mPlanes.reset(new (std::nothrow) RPrivateBitMap);
  return mPlanes != nullptr;
}

void RImageStreamiff::Close() {
  mPlanes.reset();
  mIn = RByteReader({});
  mFile = {};
  mHeader = {};
  mColourMap = {};
}

bool RImageStreamiff::read_ilbm(long length) {
  if (!mPlanes || length < 1) return false;
  free_planes(mPlanes.get());
  bool hasHeader = false;
  bool hasColours = false;
  for (std::uint64_t consumed = 0; consumed < static_cast<std::uint64_t>(length);) {
    IlbmChunk chunk;
    if (!chunk.Read(mIn)) return false;
    if (chunk.id == IlbmId("BODY")) return hasColours && read_body(chunk.size);
    if (chunk.id == IlbmId("BMHD")) {
      if (!mHeader.Read(mIn)) return false;
      hasHeader = true;
    } else if (chunk.id == IlbmId("CMAP")) {
      if (!hasHeader || !ReadColourMap(chunk.size)) return false;
      hasColours = true;
    } else if (!mIn.Skip(chunk.size)) {
      return false;
    }
    // A pad byte behind data of odd size is neither skipped nor counted.
    consumed += std::uint64_t{chunk.size} + IlbmChunk::kSize;
  }
  return false;
}

bool RImageStreamiff::ReadColourMap(std::uint64_t size) {
  const std::size_t held = std::min<std::uint64_t>(size, mColourMap.size());
  if (!mIn.Bytes(mColourMap.data(), held)) return false;
  // Deliberate: past a map that is too large it goes on by all of the size but 4 bytes, not by what was not
  // read.
  return size <= mColourMap.size() || mIn.Skip(size - 4);
}

bool RImageStreamiff::read_body(long) {
  const std::uint64_t imageBytes = std::uint64_t{4} * mHeader.width * mHeader.height;
  if (!mPlanes || mHeader.compression > 1 || mHeader.nPlanes > 8 ||
      mHeader.height > RPrivateBitMap::kMaxRows || !RIsCredibleImage(imageBytes, mFile.Bytes().size())) {
    return false;
  }
  mPlanes->bytesPerRow = mHeader.BytesPerRow();
  mPlanes->rows = mHeader.height;
  mPlanes->depth = mHeader.nPlanes;
  for (std::size_t row = 0; row < mPlanes->rows; ++row) {
    if (ReadRow(row)) continue;
    free_planes(mPlanes.get());
    return false;
  }
  return true;
}

bool RImageStreamiff::ReadRow(std::size_t row) {
  const std::size_t size = std::size_t{mPlanes->depth} * mPlanes->bytesPerRow;
  mPlanes->row[row].reset(new (std::nothrow) unsigned char[size]);
  if (!mPlanes->row[row]) return false;
  RRowWriter out({mPlanes->row[row].get(), size});
  return mHeader.compression == 0 ? out.Copy(mIn, size) : IlbmDecodeRow(mIn, out);
}

void RImageStreamiff::free_planes(RPrivateBitMap* planes) {
  if (!planes) return;
  for (auto& row : planes->row) row.reset();
}

bool RImageStreamiff::FillImage() {
  RImage* image = GetImage(true);
  std::span<unsigned char> pixels;
  if (!image || !RInitImageTarget(*image, kImageFormatRGBA, mHeader.width, mHeader.height,
                                  mFile.Bytes().size(), pixels)) {
    return false;
  }
  const IlbmPixels converter(mColourMap);
  const std::size_t rowSize = std::size_t{mPlanes->depth} * mPlanes->bytesPerRow;
  for (std::size_t row = 0; row < mPlanes->rows; ++row) {
    const auto target = pixels.last(std::size_t{4} * mHeader.width);
    converter.WriteRow({mPlanes->row[row].get(), rowSize}, mPlanes->bytesPerRow, target);
    pixels = pixels.first(pixels.size() - target.size());
  }
  return true;
}

int RImageStreamiff::Write(const char*, unsigned short*, RPrivateBitMap*, short, short, short, short) {
  return 1;
}

short RImageStreamiff::pack_bitmap(std::FILE*, RPrivateBitMap*) { return 0; }

short RImageStreamiff::pack_row(std::FILE*, char*, int) { return 0; }

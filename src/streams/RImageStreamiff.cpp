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
  mLength = form.Length();
  mPlanes.reset(new (std::nothrow) RPrivateBitMap);
  return mPlanes != nullptr;
}

void RImageStreamiff::Close() {
  mPlanes.reset();
  mIn = RByteReader({});
  mFile = {};
  mPreamble = {};
}

bool RImageStreamiff::read_ilbm(long length) {
  if (!mPlanes || length < 1) return false;
  free_planes(mPlanes.get());
  return mPreamble.Read(mIn, length) && read_body(mPreamble.bodySize);
}

bool RImageStreamiff::read_body(long) {
  const IlbmHeader& header = mPreamble.header;
  const std::uint64_t imageBytes = std::uint64_t{4} * header.width * header.height;
  if (!mPlanes || header.compression > 1 || header.nPlanes > 8 || header.height > RPrivateBitMap::kMaxRows ||
      !RIsCredibleImage(imageBytes, mFile.Bytes().size())) {
    return false;
  }
  mPlanes->bytesPerRow = header.BytesPerRow();
  mPlanes->rows = header.height;
  mPlanes->depth = header.nPlanes;
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
  return mPreamble.header.compression == 0 ? out.Copy(mIn, size) : IlbmDecodeRow(mIn, out);
}

void RImageStreamiff::free_planes(RPrivateBitMap* planes) {
  if (!planes) return;
  for (auto& row : planes->row) row.reset();
}

bool RImageStreamiff::FillImage() {
  RImage* image = GetImage(true);
  std::span<unsigned char> pixels;
  if (!image || !RInitImageTarget(*image, kImageFormatRGBA, mPreamble.header.width, mPreamble.header.height,
                                  mFile.Bytes().size(), pixels)) {
    return false;
  }
  const IlbmPixels converter(mPreamble.colours);
  const std::size_t rowSize = std::size_t{mPlanes->depth} * mPlanes->bytesPerRow;
  for (std::size_t row = 0; row < mPlanes->rows; ++row) {
    const auto target = pixels.last(std::size_t{4} * mPreamble.header.width);
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

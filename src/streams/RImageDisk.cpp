// The image record's entries for files: reading through the registry, reading and writing through Qt.
#include "image/RImage.h"
#include "rbaselib/RFile.h"
#include "streams/RImageStreamQT.h"

RImage::ImageFileReadCallback RImage::sImageFileReader = nullptr;

void RImage::SetImageFileReadCallback(ImageFileReadCallback callback) { sImageFileReader = callback; }

RImage* RImage::ImageFileRead(const char* path) {
  if (sImageFileReader) return sImageFileReader(path);
  return static_cast<RImage*>(RStreamReadObject(path, nullptr, "Stream/Reader/Image", false));
}

bool RImage::ReadFromDisk(const char* path, RImage*& image, bool removeFile) {
  RImageStreamQT stream;
  stream.SetFileName(path);
  if (!stream.StreamOpen(nullptr)) {
    // The record that the stream made for itself is nobody else's.
    if (RImage* made = stream.GetImage(false)) made->Destroy(0);
    return false;
  }
  image = stream.GetImage(true);
  if (removeFile) RFile::Remove(path);
  return true;
}

bool RImage::WriteToDisk(RImage* image, const char* path, const char* text, int quality, int compression) {
  RImageStreamQT stream;
  stream.SetFileName(path);
  stream.SetImage(image);
  RStreamOptions options;
  options.text = text ? text : "";
  options.quality = quality;
  options.compression = compression;
  return stream.StreamCreate(&options);
}

#include "image/RImage.h"
#include "module/EntryPointrimage.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  EntryPointrimage(kDllStart);  // files the readers and writers in the host's registry
  RImage* image = RImage::ImageFileRead(argv[1]);
  if (!image) return 3;
  image->ConvertSize(320, 200);
  const bool written = RImage::WriteToDisk(image, argv[2], nullptr, 90, 0);
  image->Destroy(0);
  return written ? 0 : 4;
}

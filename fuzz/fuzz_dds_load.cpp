// Loads DDS files, flipped and not, and decodes pictures out of them.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "FuzzFile.h"
#include "dds/RDDSDecoder.h"
#include "dds/nv_dds.h"

namespace {

/// Touches the bytes that a surface says it has: all of a small one, the last ones and some more of a large
/// one.
unsigned Sum(const nv_dds::CSurface& surface) {
  const char* pixels = surface;
  unsigned sum = 0;
  const int step = surface.get_size() / 65536 + 1;
  for (int i = surface.get_size() - 1; i >= 0; i -= step) sum += static_cast<unsigned char>(pixels[i]);
  return sum;
}

unsigned Sum(const nv_dds::CDDSImage& image) {
  unsigned sum = 0;
  for (int i = 0; i < image.get_num_images(); ++i) {
    const nv_dds::CTexture& texture = image.get_image(i);
    sum += Sum(texture);
    for (int m = 0; m < texture.get_num_mipmaps(); ++m) sum += Sum(texture.get_mipmap(m));
  }
  return sum;
}

void Load(const char* path, bool flip) {
  nv_dds::CDDSImage image;
  if (image.load(path, flip) != image.is_valid()) std::abort();
  if (!image.is_valid()) {
    if (image.get_num_images() != 0) std::abort();
    return;
  }
  nv_dds::CDDSImage copy(image);
  if (Sum(copy) != Sum(image)) std::abort();
  for (const int level : {0, 16, -32768}) {
    std::vector<nv_dds::CSurface*> levels;
    nv_dds::CDDSImage::GetMipMapLevels(levels, copy.get_image(0), level);
    if (levels.empty()) std::abort();
  }
}

void Decode(const char* path) {
  RDDSDecoder decoder;
  if (!decoder.Load(path)) return;
  const RDDSInfo& info = decoder.GetInfo();
  // The loader fills up a short file to 64 MiB; to decode that takes ten seconds under the sanitizers.
  constexpr std::int64_t kMostPixels = std::int64_t{1} << 20;
  if (std::int64_t{info.width} * info.height > kMostPixels) return;
  (void)decoder.DecodeBytes(0, 0, 0);
  (void)decoder.DecodeFloats(info.faces - 1, info.levels - 1, 0);
  (void)decoder.DecodeBytes(info.faces - 1, 0, info.depth - 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzFile file(data, size);
  Load(file.Path().c_str(), false);
  Load(file.Path().c_str(), true);
  Decode(file.Path().c_str());
  return 0;
}

// Reading of texture files on the processor.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CommandLineFwd.h"
#include "Gpu.h"
#include "Picture.h"
#include "dds/RDDSDecoder.h"

/// Which picture of a texture is read, and how.
struct TextureOptions {
  int level = 0;             ///< mip level, 0 the largest
  int face = 0;              ///< of a cube map +x, -x, +y, -y, +z, -z; of an array the element
  int slice = 0;             ///< of a volume
  bool isFaceNamed = false;  ///< `face` was given by a name that only cube maps have
  /// Pictures of floats are multiplied by two to the power of this, then clamped to 0 to 1.
  double exposure = 0;
  GpuMode gpu = GpuMode::kAuto;
};

/// Adds --level, --face, --slice, --exposure and --gpu.
void AddTextureOptions(CLI::App& app, TextureOptions& options);

/// Returns the names of the faces of a cube map, in their order.
std::vector<std::string> FaceNames();

/// Fails, with a usage error that names the file, where options ask for what only textures have and the file,
/// as its extension tells, is none.
void CheckTextureOptions(const std::string& path, const TextureOptions& options);

/// Whether the file is one that `ReadTexture` reads.
bool IsTexture(const std::string& path);

/// Loads the file. Fails when it is damaged, or holds a layout that cannot be decoded.
void LoadTexture(const std::string& path, RDDSDecoder& decoder);

/// Returns an RGBA picture of the layout's alpha state, its pixels undefined; fails when memory runs out.
Picture MakeTexturePicture(const std::string& path, const RDDSInfo& info, int width, int height);

/// Decodes one picture, as RGBA; layouts without alpha give an opaque one. Fails when the texture has no such
/// picture, the file ends before it, or it takes more than `maxMemory` bytes.
Picture ReadTexture(const std::string& path, const RDDSDecoder& decoder, const TextureOptions& options,
                    std::uint64_t maxMemory);

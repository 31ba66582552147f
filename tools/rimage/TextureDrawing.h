// Reading of texture files through OpenGL.
#pragma once

#include <cstdint>
#include <string>

#include "Picture.h"
#include "dds/RDDSDecoder.h"

/// Lets the graphics driver decode the first picture of the file, which `info` describes, as RGBA; layouts
/// without alpha give an opaque one. To be called where OpenGL is there. Fails when the driver cannot draw
/// the picture, or it takes more than `maxMemory` bytes.
Picture DrawTexture(const std::string& path, const RDDSInfo& info, std::uint64_t maxMemory);

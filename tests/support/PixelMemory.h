// Pictures in memory for tests of nodes on the processor.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "fp/RFpNode.h"
#include "support/BlendFormula.h"
#include "support/Random.h"

namespace test {

/// A picture in memory with rows that are longer than it is wide, filled with 0xEE.
struct PixelMemory {
  PixelMemory(int width, int height, int gap, int glFormat = GL_RGBA, int pixelSize = 4)
      : bytes(static_cast<std::size_t>((width + gap) * height * pixelSize), 0xEE) {
    pixels = {bytes.data(), width + gap, height, width, glFormat, GL_UNSIGNED_BYTE, pixelSize};
  }
  unsigned char* At(int x, int y) {
    return bytes.data() + (static_cast<std::ptrdiff_t>(y) * pixels.rowLength + x) * pixels.pixelSize;
  }
  /// Returns an RGBA picture without the gaps.
  Picture Packed() {
    Picture picture{pixels.width, pixels.height, {}};
    for (int y = 0; y < pixels.height; ++y)
      picture.bytes.insert(picture.bytes.end(), At(0, y), At(pixels.width, y));
    return picture;
  }

  std::vector<unsigned char> bytes;
  RFpPixels pixels;
};

inline void FillNoise(PixelMemory& memory, unsigned seed) {
  Random random(seed);
  for (unsigned char& byte : memory.bytes) byte = random.Byte();
}

/// Draws one stage of a node from memory to memory; returns what binding answered.
inline int DrawInMemory(RFpNode& node, const std::vector<const PixelMemory*>& sources,
                        const PixelMemory& target) {
  RFpContext context;
  for (std::size_t i = 0; i < sources.size(); ++i) context.sources[i] = sources[i]->pixels;
  context.target = target.pixels;
  const int bound = node.Bind(&context, 0, 0x40000);
  if (!bound) return bound;
  node.Draw(&context, 0, 0x40000, target.pixels.width, target.pixels.height);
  node.Unbind(&context, 0, 0x40000);
  return bound;
}

}  // namespace test

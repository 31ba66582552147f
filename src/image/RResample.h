// Resampling of tightly packed pixels.
#pragma once

/// Resamples by nearest neighbour without filtering: destination pixel (x, y) is source pixel
/// (x * sourceWidth / width, y * sourceHeight / height), truncated.
///
/// All sizes are at least 1, pixels have 2, 3 or 4 bytes, and the two pictures do not overlap. Returns false,
/// with the destination undefined, when memory runs out.
[[nodiscard]] bool RResampleNearest(unsigned char* destination, int width, int height,
                                    const unsigned char* source, int sourceWidth, int sourceHeight,
                                    int pixelSize);

// Storage of pixel buffers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// A pixel buffer with any number of owners; freed with the last one. Null owns nothing.
using RPixelBuffer = std::shared_ptr<unsigned char>;

/// Returns `bytes` bytes with undefined contents, or null when memory runs out or `bytes` is above INT32_MAX
/// (no image is larger). Zero bytes give a valid empty buffer. Large buffers are placed so that the system
/// can back them with huge pages: faulting in fresh small pages costs more than most operations on the
/// pixels.
RPixelBuffer RAllocatePixels(std::uint64_t bytes);

/// The same with every byte zero.
RPixelBuffer RAllocateZeroedPixels(std::uint64_t bytes);

// Nodes that work on pictures in memory.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "BenchSupport.h"
#include "fp/RFpNode.h"

namespace bench {

using SharedBuffer = std::shared_ptr<unsigned char>;

/// Describes an RGBA picture.
inline RFpPixels DescribePixels(const SharedBuffer& buffer, const PictureSize& size) {
  constexpr int kRgba = 0x1908;
  constexpr unsigned kByte = 0x1401;
  return {buffer.get(), size.width, size.height, size.width, kRgba, kByte, 4};
}

/// The drawing of a node from memory to memory, as an operator runs it. `fill` puts something into each
/// input.
template <class Node>
Make DrawInMemory(const PictureSize& size, std::size_t inputs, void (*change)(Node& node),
                  void (*fill)(unsigned char* rgba, std::size_t pixels, std::size_t input) = nullptr) {
  return [=]() -> Action {
    const auto node = std::make_shared<Node>();
    change(*node);
    std::vector<SharedBuffer> buffers;
    RFpContext context;
    for (std::size_t i = 0; i < inputs; ++i) {
      buffers.emplace_back(MakeBuffer(4 * size.Pixels()));
      if (fill) fill(buffers.back().get(), size.Pixels(), i);
      context.sources[i] = DescribePixels(buffers.back(), size);
    }
    buffers.emplace_back(MakeBuffer(4 * size.Pixels()));
    context.target = DescribePixels(buffers.back(), size);
    // The context does not own the memory.
    return [=, keep = std::move(buffers)]() mutable {
      if (node->Bind(&context, 0, kFormRawToRaw))
        node->Draw(&context, 0, kFormRawToRaw, size.width, size.height);
    };
  };
}

}  // namespace bench

// How nodes draw their destination.
#pragma once

#include <algorithm>

#include "fp/RFpContext.h"

/// Pixels from `left` and `bottom` to before `right` and `top`.
struct RFpRectangle {
  int left = 0;
  int bottom = 0;
  int right = 0;
  int top = 0;

  bool IsEmpty() const { return left >= right || bottom >= top; }
  /// Returns what both cover, which is an empty rectangle when they have nothing in common.
  RFpRectangle Intersect(const RFpRectangle& other) const {
    return {std::max(left, other.left), std::max(bottom, other.bottom), std::min(right, other.right),
            std::min(top, other.top)};
  }
  friend bool operator==(const RFpRectangle&, const RFpRectangle&) = default;
};

/// Draws the rectangle, or, for the quad forms, a quad whose texture coordinates bring texel (x, y) of each
/// of the first `inputs` sources to pixel (x, y).
void RFpDrawRectangle(const RFpContext* context, int form, int inputs, const RFpRectangle& rectangle);

/// Makes `width` x `height` pixels from the lower left corner transparent black.
void RFpClearRectangle(int width, int height);

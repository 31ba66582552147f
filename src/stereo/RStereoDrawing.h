// The compositor's drawing.
#pragma once

#include "stereo/RStereoState.h"

/// Sets the viewport and the matrices for a picture, whose upper left corner is (0, 0) and lower right one
/// (1, 1); brings the matrices back.
class RStereoView {
 public:
  explicit RStereoView(const RStereoFrame& frame);
  ~RStereoView();
  RStereoView(const RStereoView&) = delete;
  RStereoView& operator=(const RStereoView&) = delete;
};

/// Draws a picture as the stored mode says.
void RStereoDraw(const RStereoState& state, const RStereoFrame& frame);

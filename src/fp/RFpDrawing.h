// How nodes draw their destination.
#pragma once

#include "fp/RFpContext.h"

/// Draws `width` x `height` pixels from the lower left corner: a rectangle, or, for the quad forms, a quad
/// whose texture coordinates bring texel (x, y) of each of the first `inputs` sources to pixel (x, y).
void RFpDrawRectangle(const RFpContext* context, int form, int inputs, int width, int height);

// A meadow before mountains, out of focus.
#pragma once

#include "Drawing.h"

Canvas DrawMeadow(int width, int height);

/// Returns the canvas as a lens out of focus draws it: points become bells of that width, in pixels.
Canvas Softened(const Canvas& canvas, double width);

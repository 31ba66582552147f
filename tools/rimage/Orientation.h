// Turning a picture the way its file asks for.
#pragma once

#include <QImageIOHandler>

#include "Picture.h"

/// Mirrors, flips and turns the first layer: mirrored (left to right) and flipped (top to bottom) first, then
/// turned clockwise.
void ApplyOrientation(Picture& picture, QImageIOHandler::Transformations orientation);

/// Returns the orientation in words, such as "turned right"; empty for an upright picture.
const char* OrientationName(QImageIOHandler::Transformations orientation);

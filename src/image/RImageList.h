// A list of images.
#pragma once

#include "image/RImage.h"
#include "image/RObjectListTemplate.h"

/// A list of images; it borrows them.
class RIMAGE_API RImageList : public RObjectListTemplate<RImage> {};

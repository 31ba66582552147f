// How the images behind plugs and operators are read and written.
#pragma once

#include "fp/RFpContext.h"
#include "fp/RFpForms.h"
#include "image/RImage.h"

/// Returns the forms in which the image is there: as a texture or as pixel memory.
int RAvailableForms(RImage& image);

/// Turns what there is into the form asked for. `available` are the forms in which the image is there; colour
/// buffer forms without texture forms mean that it lies in the current colour buffer alone, its lower left
/// corner at (0, 0). A texture form moves the image into its texture, a colour buffer form draws it into the
/// colour buffer, a raw form moves it into memory. Returns the forms reached, 0 when it fails.
int RTransferResult(RImage& image, int wanted, int available);

/// Binds the image as input `unit` of `count`: a texture with its matrix, environment and, for the rectangle
/// forms, generated coordinates, or pixel memory by its description in the context. Returns 1.
int RBindForReading(RImage& image, RFpContext* context, int form, int unit, int count);
int RUnBindForReading(int form, int unit, int count);

/// Makes the image `width` x `height` RGBA in the incarnation that `form` writes (the texture for colour
/// buffer forms); one that is so already counts an update. Returns 0 when that fails.
int RPrepareForWriting(RImage& image, int form, int width, int height);
/// Binds the image as the target and returns `form`.
int RBindForWriting(RImage& image, RFpContext* context, int form);

/// Makes texture unit `unit` active when `form` reads a texture and there is more than one input.
void RSelectTextureUnit(int form, int unit, int count);

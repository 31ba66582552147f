// Pictures on their way into effects and out of them.
#pragma once

#include <memory>

#include "Picture.h"

/// A picture that effects read: RGBA, premultiplied, in memory and, from the first time that it is wanted
/// there, in a texture.
class EffectPicture {
 public:
  /// Takes the first layer.
  explicit EffectPicture(Picture picture);

  /// Returns the image, borrowed; the operators that hold it must go first.
  RImage* InMemory() const { return mMemory.get(); }
  /// Needs an OpenGL context; null when the driver takes no such texture.
  RImage* AsTexture();

 private:
  RDestroyPtr<RImage> mMemory;
  RDestroyPtr<RImage> mTexture;
};

/// Returns the result of an effect as a picture in memory, leaving the result as it is. A result in a texture
/// lies in the lower left corner of powers of two, from which it is cut.
Picture TakeResult(RImage& result);

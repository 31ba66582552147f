// Two views of a scene in one picture.
#pragma once

#include "image/RImageExport.h"

/// How the two views are put together. Any other value draws nothing.
enum EStereoDisplayMode : unsigned int {
  eColorAnaglyph = 0,      ///< red from the left view, green and blue from the right one
  eGrayAnaglyph = 1,       ///< the left luminance in red, the right one in green and blue
  eRowInterleaved = 2,     ///< odd rows of the screen from the left view, even ones from the right one
  eCheckerboard = 3,       ///< alternate pixels of the screen
  eSideBySide = 4,         ///< half as large, the left view in the left half
  eSideBySideSwapped = 5,  ///< half as large, the right view in the left half
};

/// Where the picture is drawn. Any value but 0 means the compositor's own buffer.
enum EBufferPolicy : unsigned int {
  eCurrentBuffer = 0,    ///< the framebuffer that is bound
  eOffscreenBuffer = 1,  ///< a framebuffer object of the compositor
};

/// Puts a left and a right texture together for a stereo display.
///
/// All calls, the destructor's too, need one OpenGL context to be current, a compatibility context; the
/// objects that the compositor makes belong to it. The name is spelled as hosts know it.
class RIMAGE_API RImageStereoCompostior {
 public:
  ///@{
  /// Hosts name the values through the class as well.
  using EStereoDisplayMode = ::EStereoDisplayMode;
  using EBufferPolicy = ::EBufferPolicy;
  ///@}
  using enum ::EStereoDisplayMode;
  using enum ::EBufferPolicy;

  RImageStereoCompostior();
  ~RImageStereoCompostior();
  RImageStereoCompostior(const RImageStereoCompostior&) = delete;
  RImageStereoCompostior& operator=(const RImageStereoCompostior&) = delete;

  /// Draws the two views, 2D textures which are borrowed, into the viewport (x, y, width, height), in pixels
  /// from the lower left corner of the buffer. (xBase, yBase) is the viewport's offset on the screen, to
  /// which the patterns of rows and squares are locked.
  ///
  /// The state of OpenGL comes back, whatever the host had set, except that both textures keep linear filters
  /// and clamping to their edges. Nothing is cleared but the own buffer when it is new or has another size,
  /// to the clear colour. A mode whose programs cannot be made is told through the host's main message
  /// handler, once for each change to it; drawing goes on with what there is. Nothing is drawn when the own
  /// buffer cannot be made, or when the host's stacks of attributes or matrices are full.
  void Process(::EStereoDisplayMode mode, ::EBufferPolicy policy, unsigned int leftTexture,
               unsigned int rightTexture, unsigned int xBase, unsigned int yBase, unsigned int x,
               unsigned int y, unsigned int width, unsigned int height);

  /// Returns the texture of the own buffer, borrowed until the next `Process`; 0 when there is none.
  unsigned int GetCompostionTextureId() const;

 private:
  struct RStereoState* mState;
};

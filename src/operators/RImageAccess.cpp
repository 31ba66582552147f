#include "operators/RImageAccess.h"

#include <GL/gl.h>

#include <QOpenGLContext>

#include "operators/RGLHostState.h"
#include "operators/ROffscreen.h"
#include "rgl/RGLFunctions.h"

namespace {

// The forms that an image is bound for, as a texture and as pixel memory.
constexpr int kBoundTextureMask = kFormRectangleMask | kFormQuadMask;
constexpr int kBoundRawMask = kFormRawToBuffer | kFormRawOverBuffer | kFormRawToTexture | kFormProcessorMask;

struct TextureScale {
  GLdouble x = 1;
  GLdouble y = 1;
};

// Texture coordinates run from 0 to 1 over the texture's level, whose real size counts: a texture that was
// handed in need not have the smallest powers of two. The rectangle forms use pixel positions as coordinates,
// the others 0 to 1 over the picture.
TextureScale GetTextureScale(RImage& image, int form) {
  GLint width = 1;
  GLint height = 1;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
  if (width < 1 || height < 1) return {};
  if (form & kFormRectangleMask) return {1.0 / width, 1.0 / height};
  return {static_cast<GLdouble>(image.GetWidth()) / width, static_cast<GLdouble>(image.GetHeight()) / height};
}

void LoadTextureMatrix(TextureScale scale) {
  glPushAttrib(GL_TRANSFORM_BIT);
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  glScaled(scale.x, scale.y, 1);
  glPopAttrib();
}

void ResetTextureMatrix() {
  glPushAttrib(GL_TRANSFORM_BIT);
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  glPopAttrib();
}

void SampleNearest() {
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
}

// The pixel position becomes the texture coordinate.
void GenerateCoordinates() {
  static constexpr GLdouble kPlaneS[4] = {1, 0, 0, 0};
  static constexpr GLdouble kPlaneT[4] = {0, 1, 0, 0};
  glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
  glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
  glTexGendv(GL_S, GL_OBJECT_PLANE, kPlaneS);
  glTexGendv(GL_T, GL_OBJECT_PLANE, kPlaneT);
  glEnable(GL_TEXTURE_GEN_S);
  glEnable(GL_TEXTURE_GEN_T);
}

// Draws the texture over the picture's area of the colour buffer.
void DrawTexture(RImage& image) {
  glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
  LoadTextureMatrix(GetTextureScale(image, kFormNone));
  SampleNearest();
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  glEnable(GL_TEXTURE_2D);
  const int width = image.GetWidth();
  const int height = image.GetHeight();
  glBegin(GL_QUADS);
  glTexCoord2i(0, 0);
  glVertex2i(0, 0);
  glTexCoord2i(0, 1);
  glVertex2i(0, height);
  glTexCoord2i(1, 1);
  glVertex2i(width, height);
  glTexCoord2i(1, 0);
  glVertex2i(width, 0);
  glEnd();
  glDisable(GL_TEXTURE_2D);
}

void FillDescription(RImage& image, RFpPixels& pixels) {
  const bool raw = image.GetIncarnation() == RImage::kIncarnationRaw;
  pixels.bits = raw && image.HoldsPixels(1) ? image.GetImageBits() : nullptr;
  pixels.rowLength = image.GetWidth();
  pixels.height = image.GetHeight();
  pixels.width = image.GetWidth();
  pixels.glFormat = RImage::ImageFormatToGLFormat(image.GetFormat());
  pixels.glType = GL_UNSIGNED_BYTE;
  pixels.pixelSize = image.GetPixelSize();
}

bool FitsTexture(int width, int height) {
  GLint limit = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
  return width > 0 && height > 0 && width <= limit && height <= limit;
}

[[nodiscard]] bool MakeTexture(RImage& image) {
  if (image.GetIncarnation() == RImage::kIncarnationGL) return true;
  return FitsTexture(image.GetWidth(), image.GetHeight()) && image.RequestGLIncarnation(true);
}

// Whether there is something to draw the picture on: the operators' own area, with room made for it, or the
// caller's framebuffer.
[[nodiscard]] bool CanDraw(int width, int height) {
  if (ROffscreenTarget* const target = ROffscreenLock::GetTarget()) return target->Reserve(width, height);
  return opengl30()->glCheckFramebufferStatus(GL_DRAW_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

[[nodiscard]] bool CopyBufferToTexture(RImage& image) {
  if (!image.RequestGLIncarnation(false)) return false;
  glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
  SampleNearest();
  glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, image.GetWidth(), image.GetHeight());
  return true;
}

// The picture keeps its place in the lower left corner of an image that moving to memory has made larger.
void CopyBufferToMemory(RImage& image) {
  const int width = image.GetWidth();
  const int height = image.GetHeight();
  if (!image.RequestRawIncarnation(true) || !image.GetImageBits()) return;
  glPixelStorei(GL_PACK_ROW_LENGTH, image.GetWidth());
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, image.GetImageBits());
}

int UseTexture(RImage& image, int wanted) {
  if (wanted & kFormTextureMask) {
    glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
    SampleNearest();
    return wanted & kFormTextureMask;
  }
  if (!CanDraw(image.GetWidth(), image.GetHeight())) return 0;
  DrawTexture(image);
  return wanted & kFormFrameBufferMask;
}

int Transfer(RImage& image, int wanted, int available, bool hasContext) {
  const bool bufferOnly = (available & kFormFrameBufferMask) && !(available & kFormTextureMask);
  if ((wanted & kFormGLMask) && hasContext) {
    if (bufferOnly) return CopyBufferToTexture(image) ? available | kFormTextureMask : 0;
    if (MakeTexture(image)) return UseTexture(image, wanted);
  }
  if (!(wanted & kFormRawMask)) return 0;
  if (image.GetIncarnation() == RImage::kIncarnationGL && !hasContext) return 0;
  if (bufferOnly) {
    // Deliberate: the pixels arrive, yet the answer is failure; the next lock finds them in memory.
    CopyBufferToMemory(image);
    return 0;
  }
  return image.RequestRawIncarnation(true) ? wanted & kFormRawMask : 0;
}

// Puts the caller's texture binding back.
class ScopedTextureBinding {
 public:
  ScopedTextureBinding() { glGetIntegerv(GL_TEXTURE_BINDING_2D, &mTexture); }
  ~ScopedTextureBinding() { glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(mTexture)); }
  ScopedTextureBinding(const ScopedTextureBinding&) = delete;
  ScopedTextureBinding& operator=(const ScopedTextureBinding&) = delete;

 private:
  GLint mTexture = 0;
};

// A transfer on the caller's own account, outside an evaluation. What only looks up a texture has to be
// quick; everything else runs with the caller's state out of the way.
int TransferForCaller(RImage& image, int wanted, int available) {
  const bool isTexture = image.GetIncarnation() == RImage::kIncarnationGL;
  if (isTexture && (wanted & kFormTextureMask)) {
    const ScopedTextureBinding binding;
    return Transfer(image, wanted, available, true);
  }
  if (!isTexture && !(wanted & kFormGLMask)) return Transfer(image, wanted, available, true);
  const RGLHostState state;
  return state.IsSaved() ? Transfer(image, wanted, available, true) : 0;
}

// Where memory lacked, an image is described but has nothing to write to.
bool HasStorage(RImage& image) {
  return image.GetIncarnation() == RImage::kIncarnationGL ? image.GetTextureID() != 0 : image.HoldsPixels(1);
}

}  // namespace

int RAvailableForms(RImage& image) {
  return image.GetIncarnation() == RImage::kIncarnationGL ? kFormTextureMask : kFormRawMask;
}

int RTransferResult(RImage& image, int wanted, int available) {
  if (!QOpenGLContext::currentContext()) return Transfer(image, wanted, available, false);
  if (ROffscreenLock::GetTarget()) return Transfer(image, wanted, available, true);
  return TransferForCaller(image, wanted, available);
}

void RSelectTextureUnit(int form, int unit, int count) {
  if ((form & kFormTextureMask) && count >= 2)
    opengl20()->glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
}

int RBindForReading(RImage& image, RFpContext* context, int form, int unit, int count) {
  if (form & kBoundRawMask) glPixelStorei(GL_UNPACK_ROW_LENGTH, image.GetWidth());
  if (form & kBoundTextureMask) {
    RSelectTextureUnit(form, unit, count);
    glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
    LoadTextureMatrix(GetTextureScale(image, form));
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glEnable(GL_TEXTURE_2D);
  }
  if (form & kFormRectangleMask) GenerateCoordinates();
  if ((form & (kBoundRawMask | kBoundTextureMask)) && context) {
    FillDescription(image, context->target);
    if (unit >= 0 && unit < kFpMaxInputs) context->sources[static_cast<std::size_t>(unit)] = context->target;
  }
  return 1;
}

int RUnBindForReading(int form, int unit, int count) {
  if (form & kBoundTextureMask) {
    RSelectTextureUnit(form, unit, count);
    ResetTextureMatrix();
    glDisable(GL_TEXTURE_2D);
  }
  if (form & kFormRectangleMask) {
    glDisable(GL_TEXTURE_GEN_S);
    glDisable(GL_TEXTURE_GEN_T);
  }
  // Deliberate: the forms from memory to memory leave the row length as it is.
  if (form & kBoundRawMask & ~kFormProcessorMask) glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  return 1;
}

int RPrepareForWriting(RImage& image, int form, int width, int height) {
  const bool texture = (form & (kFormTextureWriteMask | kFormFrameBufferWriteMask)) != 0;
  if (!texture && !(form & kFormRawWriteMask)) return 0;
  const auto incarnation = texture ? RImage::kIncarnationGL : RImage::kIncarnationRaw;
  if (image.GetIncarnation() == incarnation && image.GetFormat() == kImageFormatRGBA &&
      image.GetWidth() == width && image.GetHeight() == height && HasStorage(image)) {
    image.Update();
    return 1;
  }
  if (texture && (!QOpenGLContext::currentContext() || !FitsTexture(width, height))) return 0;
  return image.Init(kImageFormatRGBA, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                    kInterpolationNone, incarnation);
}

int RBindForWriting(RImage& image, RFpContext* context, int form) {
  if (form & kFormTextureWriteMask) glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
  if (form & kFormRawWriteMask) {
    glPixelStorei(GL_PACK_ROW_LENGTH, image.GetWidth());
    if (context) FillDescription(image, context->target);
  }
  return form;
}

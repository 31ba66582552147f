#include "dds/RImageStreamDDS.h"

#include <GL/gl.h>

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <algorithm>
#include <cstring>
#include <mutex>

#include "dds/RImageDDS.h"
#include "image/RImageFormat.h"
#include "rgl/RGLFunctions.h"

namespace {

// Level selector of uploads: the top level alone, whatever its size up to 32768.
constexpr int kTopLevelOnly = -32768;

// A context for off-screen drawing, current from `Begin` on.
class DrawingContext {
 public:
  explicit DrawingContext(const QOpenGLContext& model) {
    mSurface.setFormat(model.format());
    mContext.setFormat(model.format());
  }
  // Also when it failed to begin: afterwards no context is current.
  ~DrawingContext() {
    if (QOpenGLContext* current = QOpenGLContext::currentContext()) current->doneCurrent();
  }
  DrawingContext(const DrawingContext&) = delete;
  DrawingContext& operator=(const DrawingContext&) = delete;

  // A core context has no function table: it would draw nothing and report nothing.
  [[nodiscard]] bool Begin() {
    return Create() && mContext.makeCurrent(&mSurface) && mSurface.isValid() && opengl20();
  }

 private:
  // Window systems do not like two threads that make contexts at the same time.
  bool Create() {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    mSurface.create();
    return mContext.create();
  }

  QOffscreenSurface mSurface;
  QOpenGLContext mContext;
};

// The viewport's sides are even and not below 64.
int ViewportSide(int size) { return std::max(64, size + size % 2); }

void SetUpDrawing(int width, int height) {
  glViewport(0, 0, width, height);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-0.5, width - 0.5, -0.5, height - 0.5, 0.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glTranslatef(-0.5F, -0.5F, 0.0F);
}

void SetUpTexturing(GLuint texture) {
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glEnable(GL_TEXTURE_2D);
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ZERO);
  glDisable(GL_DEPTH_TEST);
  glColor3d(1.0, 1.0, 1.0);
}

// The texture that is drawn, and the state to draw it with.
class DrawnTexture {
 public:
  DrawnTexture() {
    glGenTextures(1, &mName);
    SetUpTexturing(mName);
  }
  ~DrawnTexture() {
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, 0);
    glDeleteTextures(1, &mName);
  }
  DrawnTexture(const DrawnTexture&) = delete;
  DrawnTexture& operator=(const DrawnTexture&) = delete;
  GLuint Name() const { return mName; }

 private:
  GLuint mName = 0;
};

void DrawQuad(int width, int height) {
  glBegin(GL_QUADS);
  glTexCoord2f(0.0F, 0.0F);
  glVertex2i(0, 0);
  glTexCoord2f(1.0F, 0.0F);
  glVertex2i(width, 0);
  glTexCoord2f(1.0F, 1.0F);
  glVertex2i(width, height);
  glTexCoord2f(0.0F, 1.0F);
  glVertex2i(0, height);
  glEnd();
}

// Qt's pixels are B, G, R, A in memory, its rows here in the framebuffer's order.
bool CopyRows(const QImage& rows, int width, int height, unsigned char* pixels) {
  if (rows.width() != width || rows.height() != height || !pixels) return false;
  for (int y = 0; y < height; ++y) {
    // The converter takes its source without const and does not write to it.
    auto* row = const_cast<unsigned char*>(rows.constScanLine(y));
    RImageConvertFormat(pixels, kImageFormatRGBA, width, 1, row, kImageFormatBGRA);
    pixels += static_cast<std::ptrdiff_t>(width) * 4;
  }
  return true;
}

// Draws texture `slice` of the file into that slice of the image.
bool DrawSlice(RImageDDS& image, int slice, GLuint texture) {
  const int width = image.GetWidth();
  const int height = image.GetHeight();
  QOpenGLFramebufferObject target(width, height, QOpenGLFramebufferObject::NoAttachment, GL_TEXTURE_2D,
                                  GL_RGBA);
  if (!target.isValid() || !target.bind()) return false;
  // Making the framebuffer object has bound another texture.
  glBindTexture(GL_TEXTURE_2D, texture);
  image.DDSImage().upload_texture2D(slice, GL_TEXTURE_2D, kTopLevelOnly);
  DrawQuad(width, height);
  const QImage rows = target.toImage(false);
  target.release();
  return CopyRows(rows, width, height, image.GetImageBitsAtDepth(static_cast<unsigned>(slice)));
}

// Deliberate: a volume is one texture, of which the 2D target takes the first slice. The others have no
// texture to upload and would draw the last one again, so they are copies: a small file can name millions of
// slices.
bool RepeatSlice(RImageDDS& image, int slice) {
  const auto number = static_cast<unsigned>(slice);
  const auto bytes = static_cast<std::size_t>(RImageBytes(image.GetWidth(), image.GetHeight(), 1, 4));
  const unsigned char* before = image.GetImageBitsAtDepth(number - 1);
  unsigned char* pixels = image.GetImageBitsAtDepth(number);
  if (!before || !pixels) return false;
  std::memcpy(pixels, before, bytes);
  return true;
}

bool DrawSlices(RImageDDS& image) {
  SetUpDrawing(ViewportSide(image.GetWidth()), ViewportSide(image.GetHeight()));
  const DrawnTexture texture;
  bool drawn = true;
  const int textures = image.DDSImage().get_num_images();
  for (int slice = 0; slice < image.GetDepth() && drawn; ++slice)
    drawn = slice < textures ? DrawSlice(image, slice, texture.Name()) : RepeatSlice(image, slice);
  return drawn;
}

bool InitImage(RImageDDS& image) {
  const nv_dds::CDDSImage& file = image.DDSImage();
  const int width = file.get_width();
  const int height = file.get_height();
  const int depth = file.get_depth();
  // Decoded pixels can be eight times the file's.
  if (RImageBytes(width, height, std::max(depth, 1), RBytesPerPixel(kImageFormatRGBA)) < 1) return false;
  if (!image.Init(kImageFormatRGBA, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                  kInterpolationNone, RImage::kIncarnationRaw)) {
    return false;
  }
  if (depth > 1) image.SetDepth(depth);
  return image.GetImageBits() != nullptr;
}

}  // namespace

RImageStreamDDS::RImageStreamDDS() = default;
RImageStreamDDS::~RImageStreamDDS() { RunTeardown(); }

bool RImageStreamDDS::StreamOpen(RStreamOptions* /*options*/) {
  auto* image = new (std::nothrow) RImageDDS;
  SetImage(image);
  if (!image || !GetFileName() || !image->DDSImage().load(GetFileName(), true)) return false;
  const QOpenGLContext* share = QOpenGLContext::globalShareContext();
  if (!share || !InitImage(*image)) return false;
  DrawingContext context(*share);
  return context.Begin() && DrawSlices(*image);
}

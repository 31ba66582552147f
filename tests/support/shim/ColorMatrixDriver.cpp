// The colour matrix of GL_SGI_color_matrix: pixel transfers pass through it on the processor.
#include <algorithm>
#include <cstring>
#include <map>

#include "support/shim/GLShimDriver.h"

namespace test::shim {

namespace {

using Matrix = std::array<double, 16>;  // by columns

constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
constexpr std::size_t kStackDepth = 2;

// Scales of red, green, blue, alpha, then their biases.
using ScaleBias = std::array<double, 8>;
constexpr ScaleBias kNeutral = {1, 1, 1, 1, 0, 0, 0, 0};

struct Context {
  bool mode = false;  // the matrix calls are for the colour matrix
  std::vector<Matrix> stack = {kIdentity};
  ScaleBias post = kNeutral;
  std::vector<bool> pushedModes;
  std::vector<ScaleBias> pushedPosts;
};

bool IsPost(GLenum name) {
  return name >= GL_POST_COLOR_MATRIX_RED_SCALE && name <= GL_POST_COLOR_MATRIX_ALPHA_BIAS;
}

class ColorMatrixDriver : public ShimDriver {
 public:
  static ColorMatrixDriver& Get() { return *sInstance; }

  ColorMatrixDriver() { sInstance = this; }

  std::span<const char* const> Advertised() const override {
    static constexpr const char* kExtensions[] = {"GL_SGI_color_matrix"};
    return kExtensions;
  }
  std::span<const ShimFunction> Functions() const override;

  std::vector<double> GetValues(GLenum name) override {
    Context& here = Here();
    if (name == GL_COLOR_MATRIX) return {here.stack.back().begin(), here.stack.back().end()};
    if (name == GL_COLOR_MATRIX_STACK_DEPTH) return {static_cast<double>(here.stack.size())};
    if (name == GL_MAX_COLOR_MATRIX_STACK_DEPTH) return {static_cast<double>(kStackDepth)};
    if (IsPost(name)) return {here.post[name - GL_POST_COLOR_MATRIX_RED_SCALE]};
    if (name == GL_MATRIX_MODE && here.mode) return {GL_COLOR};
    return {};
  }
  void PushAttributes(GLbitfield mask) override {
    if (mask & GL_TRANSFORM_BIT) Here().pushedModes.push_back(Here().mode);
    if (mask & GL_PIXEL_MODE_BIT) Here().pushedPosts.push_back(Here().post);
  }
  void PopAttributes(GLbitfield mask) override {
    Context& here = Here();
    if ((mask & GL_TRANSFORM_BIT) && !here.pushedModes.empty()) {
      here.mode = here.pushedModes.back();
      here.pushedModes.pop_back();
    }
    if ((mask & GL_PIXEL_MODE_BIT) && !here.pushedPosts.empty()) {
      here.post = here.pushedPosts.back();
      here.pushedPosts.pop_back();
    }
  }
  void ForgetContext(void* context) override { mContexts.erase(context); }

  Context& Here() { return mContexts[CurrentContext()]; }

 private:
  static ColorMatrixDriver* sInstance;
  std::map<void*, Context> mContexts;
};

ColorMatrixDriver* ColorMatrixDriver::sInstance = nullptr;

Context& Here() { return ColorMatrixDriver::Get().Here(); }

// --- The matrix.

Matrix Multiply(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row) {
      for (std::size_t i = 0; i < 4; ++i) product[4 * column + row] += a[4 * i + row] * b[4 * column + i];
    }
  }
  return product;
}

template <class T>
Matrix Copy(const T* values) {
  Matrix matrix{};
  std::copy(values, values + 16, matrix.begin());
  return matrix;
}

void Load(const Matrix& matrix) { Here().stack.back() = matrix; }
void Mult(const Matrix& matrix) { Load(Multiply(Here().stack.back(), matrix)); }

void GLAPIENTRY MatrixMode(GLenum mode) {
  Here().mode = mode == GL_COLOR;
  if (mode != GL_COLOR) DRIVER(glMatrixMode)(mode);
}
void GLAPIENTRY LoadIdentity() { Here().mode ? Load(kIdentity) : DRIVER(glLoadIdentity)(); }
void GLAPIENTRY LoadMatrixf(const GLfloat* m) { Here().mode ? Load(Copy(m)) : DRIVER(glLoadMatrixf)(m); }
void GLAPIENTRY LoadMatrixd(const GLdouble* m) { Here().mode ? Load(Copy(m)) : DRIVER(glLoadMatrixd)(m); }
void GLAPIENTRY MultMatrixf(const GLfloat* m) { Here().mode ? Mult(Copy(m)) : DRIVER(glMultMatrixf)(m); }
void GLAPIENTRY MultMatrixd(const GLdouble* m) { Here().mode ? Mult(Copy(m)) : DRIVER(glMultMatrixd)(m); }

void GLAPIENTRY PushMatrix() {
  if (!Here().mode) return DRIVER(glPushMatrix)();
  if (Here().stack.size() == kStackDepth) return RaiseError(GL_STACK_OVERFLOW, "glPushMatrix");
  Here().stack.push_back(Here().stack.back());
}
void GLAPIENTRY PopMatrix() {
  if (!Here().mode) return DRIVER(glPopMatrix)();
  if (Here().stack.size() == 1) return RaiseError(GL_STACK_UNDERFLOW, "glPopMatrix");
  Here().stack.pop_back();
}

Matrix Scaling(double x, double y, double z) { return {x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1}; }
Matrix Moving(double x, double y, double z) { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}; }

void GLAPIENTRY Scalef(GLfloat x, GLfloat y, GLfloat z) {
  Here().mode ? Mult(Scaling(x, y, z)) : DRIVER(glScalef)(x, y, z);
}
void GLAPIENTRY Scaled(GLdouble x, GLdouble y, GLdouble z) {
  Here().mode ? Mult(Scaling(x, y, z)) : DRIVER(glScaled)(x, y, z);
}
void GLAPIENTRY Translatef(GLfloat x, GLfloat y, GLfloat z) {
  Here().mode ? Mult(Moving(x, y, z)) : DRIVER(glTranslatef)(x, y, z);
}
void GLAPIENTRY Translated(GLdouble x, GLdouble y, GLdouble z) {
  Here().mode ? Mult(Moving(x, y, z)) : DRIVER(glTranslated)(x, y, z);
}
void GLAPIENTRY Ortho(GLdouble l, GLdouble r, GLdouble b, GLdouble t, GLdouble n, GLdouble f) {
  if (Here().mode) Refuse("glOrtho on the colour matrix");
  DRIVER(glOrtho)(l, r, b, t, n, f);
}

void GLAPIENTRY PixelTransferf(GLenum name, GLfloat value) {
  if (!IsPost(name)) return DRIVER(glPixelTransferf)(name, value);
  Here().post[name - GL_POST_COLOR_MATRIX_RED_SCALE] = value;
}
void GLAPIENTRY PixelTransferi(GLenum name, GLint value) {
  if (!IsPost(name)) return DRIVER(glPixelTransferi)(name, value);
  Here().post[name - GL_POST_COLOR_MATRIX_RED_SCALE] = value;
}

// --- Pixels. Where the matrix and what follows it are neutral, the driver does everything.

bool IsNeutral() { return Here().stack.back() == kIdentity && Here().post == kNeutral; }

constexpr std::array<GLenum, 8> kTransferNames = {GL_RED_SCALE, GL_GREEN_SCALE, GL_BLUE_SCALE, GL_ALPHA_SCALE,
                                                  GL_RED_BIAS,  GL_GREEN_BIAS,  GL_BLUE_BIAS,  GL_ALPHA_BIAS};
constexpr std::array<std::pair<GLenum, GLint>, 8> kTightStore{{{GL_UNPACK_ROW_LENGTH, 0},
                                                               {GL_UNPACK_SKIP_ROWS, 0},
                                                               {GL_UNPACK_SKIP_PIXELS, 0},
                                                               {GL_UNPACK_ALIGNMENT, 4},
                                                               {GL_PACK_ROW_LENGTH, 0},
                                                               {GL_PACK_SKIP_ROWS, 0},
                                                               {GL_PACK_SKIP_PIXELS, 0},
                                                               {GL_PACK_ALIGNMENT, 4}}};

GLint StoreValue(GLenum name) {
  GLint value = 0;
  DRIVER(glGetIntegerv)(name, &value);
  return value;
}

// Takes over the driver's scales and biases and its layout of memory, so that it moves tight rows of RGBA
// numbers as they are.
class ScopedTransfer {
 public:
  ScopedTransfer() {
    if (StoreValue(GL_MAP_COLOR) || StoreValue(GL_PIXEL_PACK_BUFFER_BINDING) ||
        StoreValue(GL_PIXEL_UNPACK_BUFFER_BINDING))
      Refuse("colour maps and pixel buffers with a colour matrix");
    for (std::size_t i = 0; i < kTransferNames.size(); ++i) {
      GLfloat value = 0;
      DRIVER(glGetFloatv)(kTransferNames[i], &value);
      mScaleBias[i] = value;
      DRIVER(glPixelTransferf)(kTransferNames[i], i < 4 ? 1.0F : 0.0F);
    }
    for (std::size_t i = 0; i < kTightStore.size(); ++i) {
      mStore[i] = StoreValue(kTightStore[i].first);
      DRIVER(glPixelStorei)(kTightStore[i].first, kTightStore[i].second);
    }
  }
  ~ScopedTransfer() {
    for (std::size_t i = 0; i < kTransferNames.size(); ++i)
      DRIVER(glPixelTransferf)(kTransferNames[i], static_cast<GLfloat>(mScaleBias[i]));
    for (std::size_t i = 0; i < kTightStore.size(); ++i)
      DRIVER(glPixelStorei)(kTightStore[i].first, mStore[i]);
  }
  ScopedTransfer(const ScopedTransfer&) = delete;
  ScopedTransfer& operator=(const ScopedTransfer&) = delete;

  /// Scale and bias, matrix, scale and bias behind it, and the limits of what is stored.
  void Apply(std::vector<float>& rgba) const {
    const Matrix& m = Here().stack.back();
    const ScaleBias& post = Here().post;
    for (std::size_t pixel = 0; pixel < rgba.size(); pixel += 4) {
      std::array<double, 4> in{};
      for (std::size_t i = 0; i < 4; ++i)
        in[i] = static_cast<double>(rgba[pixel + i]) * mScaleBias[i] + mScaleBias[i + 4];
      for (std::size_t row = 0; row < 4; ++row) {
        double sum = 0;
        for (std::size_t i = 0; i < 4; ++i) sum += m[4 * i + row] * in[i];
        rgba[pixel + row] = static_cast<float>(std::clamp(sum * post[row] + post[row + 4], 0.0, 1.0));
      }
    }
  }

  /// The layout of the caller's memory, for unpacking and for packing.
  struct Layout {
    std::size_t rowLength, skipRows, skipPixels, alignment;
  };
  Layout Unpack() const { return At(0); }
  Layout Pack() const { return At(4); }

 private:
  Layout At(std::size_t first) const {
    const auto value = [&](std::size_t i) { return static_cast<std::size_t>(mStore[first + i]); };
    return {value(0), value(1), value(2), value(3)};
  }

  ScaleBias mScaleBias{};
  std::array<GLint, 8> mStore{};
};

// Where the bytes of a pixel go in RGBA; -1 for none.
struct Format {
  GLenum format;
  std::size_t size;
  std::array<int, 4> bytes;
};

const Format& FindFormat(GLenum format, GLenum type) {
  static constexpr Format kFormats[] = {{GL_RGBA, 4, {0, 1, 2, 3}},
                                        {GL_BGRA, 4, {2, 1, 0, 3}},
                                        {GL_ABGR_EXT, 4, {3, 2, 1, 0}},
                                        {GL_RGB, 3, {0, 1, 2, -1}},
                                        {GL_BGR, 3, {2, 1, 0, -1}}};
  for (const Format& row : kFormats) {
    if (row.format == format && type == GL_UNSIGNED_BYTE) return row;
  }
  Refuse("a pixel format of another kind with a colour matrix");
}

// Calls a function with the byte offset of every pixel of the caller's memory.
template <class Visit>
void ForEachPixel(const ScopedTransfer::Layout& layout, const Format& format, GLsizei width, GLsizei height,
                  const Visit& visit) {
  const auto columns = static_cast<std::size_t>(width);
  const std::size_t length = layout.rowLength > 0 ? layout.rowLength : columns;
  const std::size_t stride =
      (length * format.size + layout.alignment - 1) / layout.alignment * layout.alignment;
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    for (std::size_t x = 0; x < columns; ++x)
      visit(4 * (y * columns + x), (y + layout.skipRows) * stride + (x + layout.skipPixels) * format.size);
  }
}

std::vector<float> Numbers(GLsizei width, GLsizei height) {
  return std::vector<float>(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
}

std::vector<float> Decode(const ScopedTransfer& transfer, GLsizei width, GLsizei height, GLenum format,
                          GLenum type, const void* data) {
  const Format& layout = FindFormat(format, type);
  const auto* const bytes = static_cast<const unsigned char*>(data);
  std::vector<float> rgba = Numbers(width, height);
  ForEachPixel(transfer.Unpack(), layout, width, height, [&](std::size_t pixel, std::size_t offset) {
    for (std::size_t i = 0; i < 4; ++i)
      rgba[pixel + i] =
          layout.bytes[i] < 0
              ? 1.0F
              : static_cast<float>(bytes[offset + static_cast<std::size_t>(layout.bytes[i])]) / 255.0F;
  });
  return rgba;
}

void Encode(const ScopedTransfer& transfer, GLsizei width, GLsizei height, GLenum format, GLenum type,
            const std::vector<float>& rgba, void* data) {
  const Format& layout = FindFormat(format, type);
  auto* const bytes = static_cast<unsigned char*>(data);
  ForEachPixel(transfer.Pack(), layout, width, height, [&](std::size_t pixel, std::size_t offset) {
    for (std::size_t i = 0; i < 4; ++i) {
      if (layout.bytes[i] >= 0)
        bytes[offset + static_cast<std::size_t>(layout.bytes[i])] =
            static_cast<unsigned char>(rgba[pixel + i] * 255.0F + 0.5F);
    }
  });
}

std::vector<float> ReadBuffer(GLint x, GLint y, GLsizei width, GLsizei height) {
  std::vector<float> rgba = Numbers(width, height);
  DRIVER(glReadPixels)(x, y, width, height, GL_RGBA, GL_FLOAT, rgba.data());
  return rgba;
}

void GLAPIENTRY DrawPixels(GLsizei width, GLsizei height, GLenum format, GLenum type, const void* data) {
  if (IsNeutral()) return DRIVER(glDrawPixels)(width, height, format, type, data);
  const ScopedTransfer transfer;
  std::vector<float> rgba = Decode(transfer, width, height, format, type, data);
  transfer.Apply(rgba);
  DRIVER(glDrawPixels)(width, height, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY CopyPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum type) {
  if (IsNeutral() || type != GL_COLOR) return DRIVER(glCopyPixels)(x, y, width, height, type);
  const ScopedTransfer transfer;
  std::vector<float> rgba = ReadBuffer(x, y, width, height);
  transfer.Apply(rgba);
  DRIVER(glDrawPixels)(width, height, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY TexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                              GLenum format, GLenum type, const void* data) {
  if (IsNeutral()) return DRIVER(glTexSubImage2D)(target, level, x, y, width, height, format, type, data);
  const ScopedTransfer transfer;
  std::vector<float> rgba = Decode(transfer, width, height, format, type, data);
  transfer.Apply(rgba);
  DRIVER(glTexSubImage2D)(target, level, x, y, width, height, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY TexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
                           GLint border, GLenum format, GLenum type, const void* data) {
  if (IsNeutral() || !data)
    return DRIVER(glTexImage2D)(target, level, internalFormat, width, height, border, format, type, data);
  const ScopedTransfer transfer;
  std::vector<float> rgba = Decode(transfer, width, height, format, type, data);
  transfer.Apply(rgba);
  DRIVER(glTexImage2D)
  (target, level, internalFormat, width, height, border, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY CopyTexSubImage2D(GLenum target, GLint level, GLint toX, GLint toY, GLint x, GLint y,
                                  GLsizei width, GLsizei height) {
  if (IsNeutral()) return DRIVER(glCopyTexSubImage2D)(target, level, toX, toY, x, y, width, height);
  const ScopedTransfer transfer;
  std::vector<float> rgba = ReadBuffer(x, y, width, height);
  transfer.Apply(rgba);
  DRIVER(glTexSubImage2D)(target, level, toX, toY, width, height, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY CopyTexImage2D(GLenum target, GLint level, GLenum internalFormat, GLint x, GLint y,
                               GLsizei width, GLsizei height, GLint border) {
  if (IsNeutral())
    return DRIVER(glCopyTexImage2D)(target, level, internalFormat, x, y, width, height, border);
  const ScopedTransfer transfer;
  std::vector<float> rgba = ReadBuffer(x, y, width, height);
  transfer.Apply(rgba);
  DRIVER(glTexImage2D)
  (target, level, static_cast<GLint>(internalFormat), width, height, border, GL_RGBA, GL_FLOAT, rgba.data());
}

void GLAPIENTRY ReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                           void* data) {
  if (IsNeutral()) return DRIVER(glReadPixels)(x, y, width, height, format, type, data);
  const ScopedTransfer transfer;
  std::vector<float> rgba = ReadBuffer(x, y, width, height);
  transfer.Apply(rgba);
  Encode(transfer, width, height, format, type, rgba, data);
}

void GLAPIENTRY GetTexImage(GLenum target, GLint level, GLenum format, GLenum type, void* data) {
  if (IsNeutral()) return DRIVER(glGetTexImage)(target, level, format, type, data);
  const ScopedTransfer transfer;
  GLint width = 0;
  GLint height = 0;
  DRIVER(glGetTexLevelParameteriv)(target, level, GL_TEXTURE_WIDTH, &width);
  DRIVER(glGetTexLevelParameteriv)(target, level, GL_TEXTURE_HEIGHT, &height);
  std::vector<float> rgba = Numbers(width, height);
  DRIVER(glGetTexImage)(target, level, GL_RGBA, GL_FLOAT, rgba.data());
  transfer.Apply(rgba);
  Encode(transfer, width, height, format, type, rgba, data);
}

std::span<const ShimFunction> ColorMatrixDriver::Functions() const {
  static const ShimFunction kFunctions[] = {Carry("glCopyPixels", CopyPixels),
                                            Carry("glCopyTexImage2D", CopyTexImage2D),
                                            Carry("glCopyTexSubImage2D", CopyTexSubImage2D),
                                            Carry("glDrawPixels", DrawPixels),
                                            Carry("glGetTexImage", GetTexImage),
                                            Carry("glLoadIdentity", LoadIdentity),
                                            Carry("glLoadMatrixd", LoadMatrixd),
                                            Carry("glLoadMatrixf", LoadMatrixf),
                                            Carry("glMatrixMode", MatrixMode),
                                            Carry("glMultMatrixd", MultMatrixd),
                                            Carry("glMultMatrixf", MultMatrixf),
                                            Carry("glOrtho", Ortho),
                                            Carry("glPixelTransferf", PixelTransferf),
                                            Carry("glPixelTransferi", PixelTransferi),
                                            Carry("glPopMatrix", PopMatrix),
                                            Carry("glPushMatrix", PushMatrix),
                                            Carry("glReadPixels", ReadPixels),
                                            Carry("glScaled", Scaled),
                                            Carry("glScalef", Scalef),
                                            Carry("glTexImage2D", TexImage2D),
                                            Carry("glTexSubImage2D", TexSubImage2D),
                                            Carry("glTranslated", Translated),
                                            Carry("glTranslatef", Translatef)};
  return kFunctions;
}

}  // namespace

std::unique_ptr<ShimDriver> MakeColorMatrixDriver() { return std::make_unique<ColorMatrixDriver>(); }

}  // namespace test::shim

// Sequences of operations on an image record, each checked against a plain model of the pixels.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"

namespace {

using Pixels = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImage>;

// Takes numbers off the front of the input; zeros when it is used up.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}
  bool IsEmpty() const { return mSize == 0; }
  int Byte() { return mSize == 0 ? 0 : (--mSize, *mData++); }
  int Range(int count) { return Byte() % count; }
  int Signed() { return static_cast<std::int8_t>(Byte()) * (Byte() % 8 == 0 ? 1 << 24 : 1); }
  float Float() {
    std::uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) bits = bits << 8 | static_cast<std::uint32_t>(Byte());
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;
};

int BytesPerPixel(int format) {
  constexpr int kBytes[] = {4, 0, 4, 3, 4, 3, 2, 4, 4};
  return kBytes[format];
}

// What the record should hold.
struct Model {
  int width = 0;
  int height = 0;
  int format = 0;
  int type = 0;
  bool hasMemory = false;
  Pixels memory;  // the capacity, of which the picture is the beginning

  int PixelSize() const { return BytesPerPixel(format); }
  std::size_t Bytes() const { return static_cast<std::size_t>(width * height * PixelSize()); }
  const unsigned char* At(int x, int y) const { return memory.data() + (y * width + x) * PixelSize(); }
  unsigned char* At(int x, int y) { return memory.data() + (y * width + x) * PixelSize(); }
  void Replace(int newWidth, int newHeight, Pixels pixels) {
    width = newWidth;
    height = newHeight;
    memory = std::move(pixels);
    hasMemory = true;
  }
};

[[noreturn]] void Fail(const char* operation) {
  std::fprintf(stderr, "record and model differ after %s\n", operation);
  std::abort();
}

void Check(bool condition, const char* operation) {
  if (!condition) Fail(operation);
}

void Compare(RImage& image, const Model& model, const char* operation) {
  Check(image.GetWidth() == model.width && image.GetHeight() == model.height, operation);
  Check(image.GetFormat() == model.format && image.GetPixelSize() == model.PixelSize(), operation);
  Check((image.GetImageBits() != nullptr) == model.hasMemory, operation);
  if (model.Bytes() == 0) return;
  Check(model.hasMemory, operation);
  Check(std::memcmp(image.GetImageBits(), model.memory.data(), model.Bytes()) == 0, operation);
}

Pixels Noise(std::size_t count, int seed) {
  Pixels bytes(count);
  auto state = static_cast<std::uint32_t>(seed) * 747796405U + 1;
  for (unsigned char& byte : bytes)
    byte = static_cast<unsigned char>((state = state * 1664525U + 1013904223U) >> 24);
  return bytes;
}

// Fills both with the same noise.
void Fill(RImage& image, Model& model, int seed) {
  if (model.Bytes() == 0) return;
  Pixels noise = Noise(model.Bytes(), seed);
  image.SetImageBits(noise.data());
  model.memory = std::move(noise);
  model.hasMemory = true;
}

// --- The model's operations, one pixel at a time.

// Which byte of the source each byte of the destination is; F is 255, R G B are the channels of RGB555.
const std::map<std::pair<int, int>, std::string>& Conversions() {
  static const std::map<std::pair<int, int>, std::string> kTable = {
      {{2, 4}, "2103"}, {{2, 8}, "1230"}, {{2, 7}, "3210"}, {{2, 3}, "012F"},
      {{2, 5}, "210F"}, {{2, 6}, "RGBF"}, {{4, 2}, "2103"}, {{4, 5}, "012F"},
      {{8, 7}, "0321"}, {{7, 8}, "0321"}, {{3, 5}, "210"},  {{3, 2}, "012"},
      {{3, 6}, "RGB"},  {{5, 3}, "210"},  {{5, 4}, "012"},  {{5, 2}, "210"}};
  return kTable;
}

unsigned char ConvertedByte(char code, const unsigned char* pixel) {
  const int word = pixel[0] + 256 * pixel[1];
  switch (code) {
    case 'F':
      return 255;
    case 'R':
      return static_cast<unsigned char>(word / 128 & 0xF0);
    case 'G':
      return static_cast<unsigned char>(word / 4 & 0xF8);
    case 'B':
      return static_cast<unsigned char>(word * 8 & 0xFF);
    default:
      return pixel[code - '0'];
  }
}

bool ModelConvert(Model& model, int format) {
  const auto row = Conversions().find({format, model.format});
  if (!model.hasMemory || row == Conversions().end()) return false;
  Pixels converted;
  for (int i = 0; i < model.width * model.height; ++i) {
    for (const char code : row->second)
      converted.push_back(ConvertedByte(code, model.memory.data() + i * model.PixelSize()));
  }
  model.format = format;
  model.Replace(model.width, model.height, std::move(converted));
  return true;
}

bool ModelResize(Model& model, int width, int height) {
  if (!model.hasMemory || (width == model.width && height == model.height)) return false;
  Pixels resized(static_cast<std::size_t>(width * height * model.PixelSize()), 0);
  for (int y = 0; y < height && model.Bytes() > 0; ++y) {
    for (int x = 0; x < width; ++x) {
      std::memcpy(&resized[static_cast<std::size_t>((y * width + x) * model.PixelSize())],
                  model.At(x * model.width / width, y * model.height / height),
                  static_cast<std::size_t>(model.PixelSize()));
    }
  }
  model.Replace(width, height, std::move(resized));
  return true;
}

bool ModelSquare(Model& model, const unsigned char* fill) {
  if (model.width == model.height) return true;
  if (!model.hasMemory) return false;
  const int side = std::max(model.width, model.height);
  const int left = (side - model.width) / 2;
  const int below = (side - model.height) / 2;
  Pixels square;
  for (int y = -below; y < side - below; ++y) {
    for (int x = -left; x < side - left; ++x) {
      const bool inside = x >= 0 && x < model.width && y >= 0 && y < model.height;
      const unsigned char* pixel = inside ? model.At(x, y) : fill;
      square.insert(square.end(), pixel, pixel + model.PixelSize());
    }
  }
  model.Replace(side, side, std::move(square));
  return true;
}

void ModelPremultiply(Model& model, bool divide) {
  if (model.PixelSize() != 4) return;
  for (std::size_t i = 0; i < model.Bytes(); ++i) {
    const int alpha = model.memory[i | 3];
    int value = model.memory[i];
    if ((i & 3) == 3 || (divide && alpha == 0)) continue;
    value = divide ? std::min(255, value * 255 / alpha)
                   : static_cast<int>(static_cast<float>(value) * (static_cast<float>(alpha) / 255.0F));
    model.memory[i] = static_cast<unsigned char>(value);
  }
}

void ModelApplyAlpha(Model& model, float factor) {
  for (std::size_t i = 3; i < model.Bytes(); i += 4) {
    const float scaled = static_cast<float>(model.memory[i]) * factor;
    const bool fits = scaled > -2147483904.0F && scaled < 2147483648.0F;
    const auto whole = static_cast<long long>(fits ? scaled : 0.0F);
    model.memory[i] = static_cast<unsigned char>(static_cast<unsigned long long>(whole) & 0xFF);
  }
}

Pixels ModelTranslate(const Model& model, int dx, int dy, bool wrap) {
  Pixels moved(model.Bytes(), 0);
  for (std::int64_t y = 0; y < model.height; ++y) {
    for (std::int64_t x = 0; x < model.width; ++x) {
      std::int64_t fromX = x - dx;
      std::int64_t fromY = y + dy;
      if (wrap) {
        fromX = (fromX % model.width + model.width) % model.width;
        fromY = (fromY % model.height + model.height) % model.height;
      }
      if (fromX < 0 || fromX >= model.width || fromY < 0 || fromY >= model.height) continue;
      std::memcpy(&moved[static_cast<std::size_t>((y * model.width + x) * model.PixelSize())],
                  model.At(static_cast<int>(fromX), static_cast<int>(fromY)),
                  static_cast<std::size_t>(model.PixelSize()));
    }
  }
  return moved;
}

Pixels ModelAlphaPicture(const Model& model, bool invert) {
  Pixels picture(model.Bytes(), 0);
  const bool last = model.format == 2 || model.format == 4;
  const bool first = model.format == 7 || model.format == 8;
  for (std::size_t i = 0; (first || last) && i < picture.size(); i += 4) {
    const int alpha = model.memory[i + (last ? 3 : 0)];
    std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>(i), 3,
                static_cast<unsigned char>(last && invert ? 255 - alpha : alpha));
    picture[i + 3] = 255;
  }
  return picture;
}

// Returns the rows of the converted picture; none when there is no such conversion.
bool ModelFields(const Model& model, int type, int interleave, int interpolation, Pixels& pixels,
                 int& height) {
  const int key = model.type * 1000 + type * 100 + interleave * 10 + interpolation;
  constexpr int kKnown[] = {0, 11, 21, 30, 110, 120, 1001, 1110, 1120};
  if (std::find(std::begin(kKnown), std::end(kKnown), key) == std::end(kKnown)) return false;
  height = model.height;
  if (key == 0 || key == 1110 || key == 1120) {
    pixels.assign(model.memory.begin(), model.memory.begin() + static_cast<std::ptrdiff_t>(model.Bytes()));
    return true;
  }
  if (key == 110 || key == 120) height /= 2;
  if (key == 1001) height *= 2;
  const int first = interleave == 2 ? 1 : 0;
  for (int y = first; y < model.height; y += model.type == 0 ? 2 : 1) {
    Pixels row;
    const int partner = interleave == 3 ? std::min(y + 1, model.height - 1) : y;
    for (int i = 0; i < model.width * model.PixelSize(); ++i) {
      row.push_back(static_cast<unsigned char>((model.At(0, y)[i] + model.At(0, partner)[i]) / 2));
    }
    for (int copy = 0; copy < (type == 0 ? 2 : 1); ++copy)
      pixels.insert(pixels.end(), row.begin(), row.end());
  }
  pixels.resize(static_cast<std::size_t>(model.width * height * model.PixelSize()));
  return true;
}

// --- The sequence.

class Session {
 public:
  explicit Session(Input& input) : mInput(input), mImage(RImageCreate()) { Start(); }

  void Step() {
    switch (mInput.Range(14)) {
      case 0:
        return Start();
      case 1:
        return ConvertFormat();
      case 2:
        return ConvertSize();
      case 3:
        return ConvertToSquare();
      case 4:
        return Premultiply();
      case 5:
        return ApplyAlpha();
      case 6:
        return Flip();
      case 7:
        return Translate();
      case 8:
        return AlphaPicture();
      case 9:
        return MergeAlpha();
      case 10:
        return Fields();
      case 11:
        return Clone();
      case 12:
        return Copy();
      default:
        return Reinterpret();
    }
  }

 private:
  void Start() {
    mModel = Model();
    mModel.format = mInput.Range(9);
    mModel.width = mInput.Range(70);
    mModel.height = mInput.Range(40);
    mModel.type = mInput.Range(2);
    mImage.reset(RImageCreate());
    Check(mImage->Init(static_cast<kImageFormat>(mModel.format), mModel.width, mModel.height, 0, 0, true,
                       static_cast<kImageType>(mModel.type), kInterleaveNone, kInterpolationNone,
                       RImage::kIncarnationRaw),
          "Init");
    mModel.hasMemory = mModel.Bytes() > 0;
    mModel.memory.assign(mModel.Bytes(), 0);
    Compare(*mImage, mModel, "Init");
    Fill(*mImage, mModel, mInput.Byte());
    Compare(*mImage, mModel, "SetImageBits");
  }

  // Takes a new record over, which must be as the model says.
  void Adopt(RImage* image, Model model, const char* operation) {
    Check(image != nullptr, operation);
    mImage.reset(image);
    mModel = std::move(model);
    mModel.hasMemory = mModel.Bytes() > 0;
    mModel.memory.resize(mModel.Bytes());
    Compare(*mImage, mModel, operation);
  }

  void ConvertFormat() {
    const int format = mInput.Range(10) - (mInput.Range(8) == 0 ? 1 : 0);
    Check(mImage->ConvertFormat(static_cast<kImageFormat>(format)) == ModelConvert(mModel, format),
          "ConvertFormat");
    Compare(*mImage, mModel, "ConvertFormat");
  }

  void ConvertSize() {
    int width = mInput.Range(100);
    int height = mInput.Range(60);
    if (mInput.Range(4) == 0) width = mModel.width * 2, height = mModel.height;
    if (width * height > 10000) return;
    Check(mImage->ConvertSize(width, height) == ModelResize(mModel, width, height), "ConvertSize");
    Compare(*mImage, mModel, "ConvertSize");
  }

  void ConvertToSquare() {
    unsigned char fill[4];
    for (unsigned char& byte : fill) byte = static_cast<unsigned char>(mInput.Byte());
    Check(mImage->ConvertToSquare(fill) == ModelSquare(mModel, fill), "ConvertToSquare");
    Compare(*mImage, mModel, "ConvertToSquare");
  }

  void Premultiply() {
    const bool divide = mInput.Range(2) != 0;
    if (divide)
      mImage->RemovePremultiply();
    else
      mImage->Premultiply();
    ModelPremultiply(mModel, divide);
    Compare(*mImage, mModel, "Premultiply");
  }

  void ApplyAlpha() {
    const float factor = mInput.Range(2) ? mInput.Float() : static_cast<float>(mInput.Byte()) / 64.0F;
    Check(mImage->ApplyAlpha(factor), "ApplyAlpha");
    ModelApplyAlpha(mModel, factor);
    Compare(*mImage, mModel, "ApplyAlpha");
  }

  void Flip() {
    mImage->ImageVerticalFlip();
    for (int y = 0; y < mModel.height / 2; ++y) {
      std::swap_ranges(mModel.At(0, y), mModel.At(0, y) + mModel.width * mModel.PixelSize(),
                       mModel.At(0, mModel.height - 1 - y));
    }
    Compare(*mImage, mModel, "ImageVerticalFlip");
  }

  void Translate() {
    const int dx = mInput.Signed();
    const int dy = mInput.Signed();
    const bool wrap = mInput.Range(2) != 0;
    ImagePtr moved(RImageCreate());
    Check(mImage->ImageTranslate(moved.get(), dx, dy, wrap, true), "ImageTranslate");
    Model model = mModel;
    if (mModel.Bytes() > 0) model.memory = ModelTranslate(mModel, dx, dy, wrap);
    Adopt(moved.release(), std::move(model), "ImageTranslate");
  }

  void AlphaPicture() {
    const bool invert = mInput.Range(2) != 0;
    Model model = mModel;
    model.memory = ModelAlphaPicture(mModel, invert);
    Adopt(mImage->CreateFromAlphaChannel(invert), std::move(model), "CreateFromAlphaChannel");
  }

  void MergeAlpha() {
    const ImagePtr alpha(RImageCreate());
    Model mask;
    mask.format = mInput.Range(9);
    mask.width = mInput.Range(70);
    mask.height = mInput.Range(40);
    Check(alpha->Init(static_cast<kImageFormat>(mask.format), mask.width, mask.height, 0, 0, true,
                      kImageTypeFrame, kInterleaveNone, kInterpolationNone, RImage::kIncarnationRaw),
          "Init");
    Fill(*alpha, mask, mInput.Byte());
    const std::size_t used = mModel.Bytes() / 4 * 4;
    RImage* merged = mImage->MergeAlphaChannel(alpha.get());
    Check((merged != nullptr) == (mask.Bytes() >= used), "MergeAlphaChannel");
    if (!merged) return;
    Model model = mModel;
    model.type = 0;
    for (std::size_t i = 0; i < used; i += 4) model.memory[i + 3] = mask.memory[i + 2];
    Adopt(merged, std::move(model), "MergeAlphaChannel");
  }

  void Fields() {
    const int type = mInput.Range(2);
    const int interleave = mInput.Range(4);
    const int interpolation = mInput.Range(3);
    Model model = mModel;
    model.memory.clear();
    const bool known = ModelFields(mModel, type, interleave, interpolation, model.memory, model.height);
    RImage* converted =
        mImage->CloneFromType(static_cast<kImageType>(type), static_cast<kInterleaveType>(interleave),
                              static_cast<kInterpolationType>(interpolation));
    Check((converted != nullptr) == known, "CloneFromType");
    if (!converted) return;
    model.type = converted->GetImageType();
    Adopt(converted, std::move(model), "CloneFromType");
  }

  void Clone() {
    Model model = mModel;
    model.type = 0;
    Adopt(mImage->Clone(), std::move(model), "Clone");
  }

  // Copies share the pixels, whoever goes first.
  void Copy() {
    ImagePtr copy(mInput.Range(2) ? new RImage(*mImage) : new RImage);
    *copy = *mImage;
    Compare(*copy, mModel, "copy");
    if (mInput.Range(2)) copy.swap(mImage);
    copy->Clear();
    Compare(*mImage, mModel, "clearing a copy");
  }

  // Setters keep the bytes as long as they fit.
  void Reinterpret() {
    const int width = mInput.Range(70);
    const int format = mInput.Range(9);
    const std::size_t bytes = static_cast<std::size_t>(width * mModel.height * BytesPerPixel(format));
    mImage->SetWidth(0);
    mImage->SetFormat(static_cast<kImageFormat>(format));
    mImage->SetWidth(width);
    mModel.width = width;
    mModel.format = format;
    if (bytes <= mModel.memory.size()) return Compare(*mImage, mModel, "setters");
    mModel.hasMemory = true;
    mModel.memory.resize(bytes);
    Fill(*mImage, mModel, width);
    Compare(*mImage, mModel, "setters that grow");
  }

  Input& mInput;
  ImagePtr mImage;
  Model mModel;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  Session session(input);
  for (int step = 0; step < 64 && !input.IsEmpty(); ++step) session.Step();
  return 0;
}

#include "support/SampleManifest.h"

#include <QImage>
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "image/RImage.h"
#include "support/TestData.h"

namespace test {
namespace {

using Json = nlohmann::json;

struct ExpectName {
  const char* name;
  Expect value;
};
constexpr std::array kExpectNames{
    ExpectName{"pixels", Expect::kPixels},
    ExpectName{"pixels or placeholder", Expect::kPixelsOrPlaceholder},
    ExpectName{"advisory pixels", Expect::kAdvisoryPixels},
    ExpectName{"float pixels", Expect::kFloatPixels},
    ExpectName{"snorm pixels", Expect::kSnormPixels},
    ExpectName{"refuse", Expect::kRefuse},
    ExpectName{"no crash", Expect::kNoCrash},
};

// Fields that are read below, then those that only document where a sample and its expectation come from.
constexpr std::array kFields{
    "file",     "width",   "height",    "expect",        "expected_file", "placeholder_file", "float_file",
    "channels", "compare", "tolerance", "premultiplied", "levels",        "origin",           "licence",
    "oracles",  "variant", "notes",     "sha256",        "confidence",    "float_layout"};

[[noreturn]] void Fail(const std::string& message) {
  std::cerr << message << '\n';
  std::exit(EXIT_FAILURE);
}

Expect ParseExpect(const std::string& name) {
  const auto row = std::ranges::find_if(kExpectNames, [&](const ExpectName& r) { return name == r.name; });
  if (row == kExpectNames.end()) Fail("unknown expectation: " + name);
  return row->value;
}

// A number for every channel, or an object of named bounds.
Tolerance ParseTolerance(const Json& json) {
  Tolerance tolerance;
  if (json.is_number()) tolerance.channel = json.get<int>();
  if (!json.is_object()) return tolerance;
  tolerance.interior = json.contains("interior");
  if (tolerance.interior) tolerance.channel = json.at("interior").get<int>();
  tolerance.mean = json.value("mean", tolerance.mean);
  tolerance.relative = json.value("relative", 0.0);
  tolerance.absolute = json.value("absolute", 0.0);
  return tolerance;
}

std::string PathOf(const std::string& folder, const Json& entry, const char* key) {
  return entry.contains(key) ? DataPath(folder + '/' + entry.at(key).get<std::string>()) : std::string();
}

SampleLevel ParseLevel(const std::string& folder, const Json& json) {
  return {json.value("face", 0),       json.value("mip", 0),         json.value("slice", 0),
          json.at("width").get<int>(), json.at("height").get<int>(), PathOf(folder, json, "file")};
}

Sample ParseSample(const std::string& folder, const Json& entry) {
  for (const auto& item : entry.items()) {
    if (std::ranges::find(kFields, item.key()) == kFields.end())
      Fail(folder + "/manifest.json: unknown field: " + item.key());
  }
  Sample sample;
  sample.name = entry.at("file").get<std::string>();
  sample.path = PathOf(folder, entry, "file");
  sample.width = entry.value("width", 0);
  sample.height = entry.value("height", 0);
  sample.expect = ParseExpect(entry.at("expect").get<std::string>());
  sample.expected = PathOf(folder, entry, "expected_file");
  sample.placeholder = PathOf(folder, entry, "placeholder_file");
  sample.floats = PathOf(folder, entry, "float_file");
  sample.channels = entry.value("channels", 0);
  sample.compare = entry.value("compare", "RGBA");
  sample.premultiplied = entry.value("premultiplied", false);
  if (entry.contains("tolerance")) sample.tolerance = ParseTolerance(entry.at("tolerance"));
  for (const Json& level : entry.value("levels", Json::array()))
    sample.levels.push_back(ParseLevel(folder, level));
  return sample;
}

// --- Pictures.

// Where red, green, blue and alpha stand in a pixel; -1: not there.
struct ChannelOrder {
  kImageFormat format;
  int size;
  std::array<int, 4> offsets;
};
constexpr std::array kChannelOrders{
    ChannelOrder{kImageFormatRGBA, 4, {0, 1, 2, 3}}, ChannelOrder{kImageFormatRGB, 3, {0, 1, 2, -1}},
    ChannelOrder{kImageFormatBGRA, 4, {2, 1, 0, 3}}, ChannelOrder{kImageFormatBGR, 3, {2, 1, 0, -1}},
    ChannelOrder{kImageFormatABGR, 4, {3, 2, 1, 0}}, ChannelOrder{kImageFormatARGB, 4, {1, 2, 3, 0}},
};

std::size_t PixelCount(const Picture& picture) {
  return static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
}

unsigned char At(const Picture& picture, std::size_t pixel, std::size_t channel) {
  return picture.rgba[4 * pixel + channel];
}

std::string Text(const Picture& picture, std::size_t pixel) {
  std::string text = "(";
  for (std::size_t c = 0; c < 4; ++c) text += std::to_string(At(picture, pixel, c)) + (c < 3 ? ", " : ")");
  return text;
}

Picture Premultiplied(Picture picture) {
  for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
    const int alpha = picture.rgba[i | 3];
    if (i % 4 != 3) picture.rgba[i] = static_cast<unsigned char>((picture.rgba[i] * alpha + 127) / 255);
  }
  return picture;
}

// Whether all pixels around (x, y), itself included, equal it; the pixels outside count as equal.
bool IsFlat(const Picture& picture, int x, int y) {
  const auto index = [&](int column, int row) {
    return 4 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(picture.width) +
                static_cast<std::size_t>(column));
  };
  const unsigned char* centre = &picture.rgba[index(x, y)];
  for (int row = std::max(y - 1, 0); row <= std::min(y + 1, picture.height - 1); ++row) {
    for (int column = std::max(x - 1, 0); column <= std::min(x + 1, picture.width - 1); ++column) {
      if (std::memcmp(centre, &picture.rgba[index(column, row)], 4) != 0) return false;
    }
  }
  return true;
}

// The channels that count, as indices. Unknown letters ("float") are for the callers.
std::vector<std::size_t> ComparedChannels(const std::string& compare) {
  std::vector<std::size_t> channels;
  for (std::size_t c = 0; c < 4; ++c) {
    if (compare.find("RGBA"[c]) != std::string::npos) channels.push_back(c);
  }
  return channels;
}

// Collects the differences of two pictures of one size.
class Comparison {
 public:
  Comparison(const Picture& actual, const Picture& expected, const std::string& compare,
             const Tolerance& tolerance)
      : mActual(actual), mExpected(expected), mTolerance(tolerance), mChannels(ComparedChannels(compare)) {
    for (std::size_t pixel = 0; pixel < PixelCount(expected); ++pixel) Add(pixel);
  }

  testing::AssertionResult Result() const {
    const double mean = mCompared == 0 ? 0 : mSum / static_cast<double>(mCompared);
    if (mBad == 0 && mean <= mTolerance.mean) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure();
    if (mBad > 0) {
      failure << mBad << " of " << PixelCount(mExpected) << " pixels differ by more than "
              << mTolerance.channel << "; first: " << Describe(mFirst) << "; worst: " << Describe(mWorst);
    }
    if (mean > mTolerance.mean) failure << "; mean difference " << mean << " above " << mTolerance.mean;
    return failure;
  }

 private:
  void Add(std::size_t pixel) {
    int worst = 0;
    for (const std::size_t channel : mChannels) {
      const int difference = std::abs(At(mActual, pixel, channel) - At(mExpected, pixel, channel));
      mSum += difference;
      ++mCompared;
      worst = std::max(worst, difference);
    }
    if (worst <= mTolerance.channel || (mTolerance.interior && !IsFlat(mExpected, X(pixel), Y(pixel))))
      return;
    if (mBad++ == 0) mFirst = pixel;
    if (worst > mWorstDifference) mWorst = pixel;
    mWorstDifference = std::max(worst, mWorstDifference);
  }

  int X(std::size_t pixel) const {
    return static_cast<int>(pixel % static_cast<std::size_t>(mExpected.width));
  }
  int Y(std::size_t pixel) const {
    return static_cast<int>(pixel / static_cast<std::size_t>(mExpected.width));
  }

  std::string Describe(std::size_t pixel) const {
    return "x " + std::to_string(X(pixel)) + ", y " + std::to_string(Y(pixel)) +
           " from the top: " + Text(mActual, pixel) + ", expected " + Text(mExpected, pixel);
  }

  const Picture& mActual;
  const Picture& mExpected;
  Tolerance mTolerance;
  std::vector<std::size_t> mChannels;
  std::size_t mBad = 0;
  std::size_t mFirst = 0;
  std::size_t mWorst = 0;
  int mWorstDifference = 0;
  double mSum = 0;
  std::size_t mCompared = 0;
};

testing::AssertionResult CheckPicture(const Sample& sample, RImage* image, const std::string& expected) {
  Picture wanted = LoadPicture(expected);
  if (sample.premultiplied) wanted = Premultiplied(std::move(wanted));
  return Matches(ToPicture(image), wanted, sample.compare, sample.tolerance);
}

testing::AssertionResult CheckFloats(const Sample& sample, RImage* image) {
  // Rounding to 8 bits may fall on either side where the numbers may differ at all.
  Tolerance tolerance;
  tolerance.channel = 1;
  return Matches(ToPicture(image), LoadPicture(sample.expected), sample.compare, tolerance);
}

}  // namespace

void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

std::string SampleName(const testing::TestParamInfo<Sample>& info) {
  std::string name = info.param.name;
  std::ranges::replace_if(
      name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

std::vector<Sample> LoadSamples(const std::string& folder) {
  const std::string path = DataPath(folder + "/manifest.json");
  std::ifstream file(path);
  const Json json = Json::parse(file, nullptr, false);
  if (!json.is_object() || !json.contains("entries") || json.at("entries").empty())
    Fail(path + ": no entries");
  std::vector<Sample> samples;
  for (const Json& entry : json.at("entries")) samples.push_back(ParseSample(folder, entry));
  return samples;
}

Picture LoadPicture(const std::string& path) {
  const QImage image = QImage(QString::fromStdString(path)).convertToFormat(QImage::Format_RGBA8888);
  EXPECT_FALSE(image.isNull()) << path << " cannot be read";
  Picture picture{image.width(), image.height(), {}};
  for (int y = 0; y < image.height(); ++y) {
    const unsigned char* row = image.constScanLine(y);
    picture.rgba.insert(picture.rgba.end(), row, row + qsizetype{4} * image.width());
  }
  return picture;
}

std::vector<float> LoadFloats(const std::string& path) {
  const std::vector<unsigned char> bytes = ReadFile(path);
  std::vector<float> numbers(bytes.size() / sizeof(float));
  if (!numbers.empty()) std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(float));
  return numbers;
}

Picture ToPicture(RImage* image, int layer) {
  const unsigned char* bits = image ? image->GetImageBitsAtDepth(static_cast<unsigned>(layer)) : nullptr;
  const auto order = std::ranges::find(kChannelOrders, bits ? image->GetFormat() : kImageFormatUndefined,
                                       &ChannelOrder::format);
  if (order == kChannelOrders.end() || image->GetIncarnation() != RImage::kIncarnationRaw) {
    ADD_FAILURE() << "no image with raw 8-bit pixels";
    return {};
  }
  Picture picture{image->GetWidth(), image->GetHeight(), {}};
  picture.rgba.resize(4 * PixelCount(picture));
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  const auto size = static_cast<std::size_t>(order->size);
  for (std::size_t i = 0; i < width * height; ++i) {
    const std::size_t row = height - 1 - i / width;
    const unsigned char* pixel = bits + size * (row * width + i % width);
    for (std::size_t c = 0; c < 4; ++c) {
      picture.rgba[4 * i + c] = order->offsets[c] < 0 ? 255 : pixel[order->offsets[c]];
    }
  }
  return picture;
}

testing::AssertionResult Matches(const Picture& actual, const Picture& expected, const std::string& compare,
                                 const Tolerance& tolerance) {
  if (actual.width != expected.width || actual.height != expected.height) {
    return testing::AssertionFailure() << actual.width << " x " << actual.height << " pixels, expected "
                                       << expected.width << " x " << expected.height;
  }
  return Comparison(actual, expected, compare, tolerance).Result();
}

testing::AssertionResult MatchesFloats(const std::vector<float>& actual, const std::vector<float>& expected,
                                       const Tolerance& tolerance) {
  if (actual.size() != expected.size()) {
    return testing::AssertionFailure() << actual.size() << " numbers, expected " << expected.size();
  }
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const double difference = std::abs(double{actual[i]} - double{expected[i]});
    const bool bothNan = std::isnan(actual[i]) && std::isnan(expected[i]);
    if (bothNan || actual[i] == expected[i]) continue;  // equal infinities have no difference
    if (!(difference <= tolerance.absolute + tolerance.relative * std::abs(double{expected[i]}))) {
      return testing::AssertionFailure()
             << "number " << i << ": " << actual[i] << ", expected " << expected[i];
    }
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult Check(const Sample& sample, RImage* image) {
  if (sample.expect == Expect::kNoCrash) return testing::AssertionSuccess();
  if (sample.expect == Expect::kRefuse) {
    return (image ? testing::AssertionFailure() : testing::AssertionSuccess())
           << "a file that must be refused was read";
  }
  if (!image) return testing::AssertionFailure() << "the file was refused";
  if (sample.expect == Expect::kFloatPixels || sample.expect == Expect::kSnormPixels)
    return CheckFloats(sample, image);
  const auto result = CheckPicture(sample, image, sample.expected);
  if (result || sample.expect != Expect::kPixelsOrPlaceholder) return result;
  return CheckPicture(sample, image, sample.placeholder);
}

}  // namespace test

#include "TextureReader.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "FileFormats.h"
#include "NumberCheck.h"
#include "dds/RImageStreamDDS.h"

namespace {

// By the place in a cube map.
constexpr std::array<std::string_view, 6> kFaceNames = {"+x", "-x", "+y", "-y", "+z", "-z"};

std::optional<int> FindFace(std::string name) {
  std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto* const found = std::ranges::find(kFaceNames, name);
  if (found == kFaceNames.end()) return std::nullopt;
  return static_cast<int>(found - kFaceNames.begin());
}

// Takes the name of a face, or a number.
CLI::Validator FaceName() {
  const auto number = WholeNumber(0);
  const std::string hint = fmt::format("{} or {}", fmt::join(kFaceNames, ", "), number.get_description());
  const auto take = [number, hint](std::string& word) -> std::string {
    return FindFace(word) || number(word).empty() ? "" : WrongValue("", word, hint).Reason();
  };
  return {take, hint};
}

void CheckIndex(const std::string& path, const char* what, int index, int count) {
  if (index < count) return;
  throw Failure(ExitCode::kRead, path, fmt::format("there is no {} {}", what, index),
                fmt::format("the texture has {}, counted from 0", count));
}

unsigned char ToByte(float value) {
  // Written so that what is no number becomes 0.
  if (!(value > 0)) return 0;
  return static_cast<unsigned char>(std::lround(std::min(value, 1.0F) * 255));
}

// Colours follow the exposure, alpha does not.
void Expose(std::span<const unsigned char> floats, double exposure, unsigned char* rgba) {
  const auto factor = static_cast<float>(std::exp2(exposure));
  for (std::size_t i = 0; i < floats.size() / sizeof(float); ++i) {
    float value = 0;
    std::memcpy(&value, floats.data() + i * sizeof(float), sizeof(float));
    rgba[i] = ToByte(i % 4 == 3 ? value : value * factor);
  }
}

// Fills an RGBA image of the picture's size, top row first; false when the file does not have the picture.
bool Decode(const RDDSDecoder& decoder, const TextureOptions& options, RImage& image) {
  if (!decoder.GetInfo().isFloat) {
    const RPixelBuffer bytes = decoder.DecodeBytes(options.face, options.level, options.slice);
    return bytes && image.SetImageBits(bytes.get());
  }
  const RPixelBuffer floats = decoder.DecodeFloats(options.face, options.level, options.slice);
  if (!floats) return false;
  const auto width = static_cast<std::size_t>(image.GetWidth());
  const auto height = static_cast<std::size_t>(image.GetHeight());
  Expose({floats.get(), 4 * sizeof(float) * width * height}, options.exposure, image.GetImageBits());
  return true;
}

void CheckOptions(const std::string& path, const RDDSInfo& info, const TextureOptions& options) {
  CheckIndex(path, "level", options.level, info.levels);
  if (options.isFaceNamed && !info.isCubemap) {
    throw Failure(ExitCode::kRead, path, "the texture is no cube map, whose faces have names",
                  "the elements of arrays have numbers");
  }
  CheckIndex(path, "face", options.face, info.faces);
  CheckIndex(path, "slice", options.slice, RDDSDecoder::LevelSize(info.depth, options.level));
}

}  // namespace

void AddTextureOptions(CLI::App& app, TextureOptions& options) {
  const auto group = [](CLI::Option* option) { option->group("Textures (dds)"); };
  const auto index = [&](const char* name, int& value, const char* help) {
    group(app.add_option(name, value, help)->type_name("N")->transform(WholeNumber(0)));
  };
  index("--level", options.level, "Mip level, 0 the largest (0)");
  group(app.add_option_function<std::string>(
               "--face",
               [&options](const std::string& word) {
                 const auto face = FindFace(word);
                 options.isFaceNamed = face.has_value();
                 options.face = face ? *face : std::stoi(word);
               },
               "Face of a cube map, +x -x +y -y +z -z or 0 to 5, or element of an array (0)")
            ->type_name("FACE")
            ->transform(FaceName()));
  index("--slice", options.slice, "Slice of a volume (0)");
  group(app.add_option("--exposure", options.exposure, "Stops by which pictures of floats are brightened (0)")
            ->type_name("STOPS")
            ->transform(Number(-64, 64)));
  AddGpuOption(app, options.gpu,
               "auto and never decode textures on the processor, require with OpenGL or not at all; other "
               "pictures need none");
}

void CheckTextureOptions(const std::string& path, const TextureOptions& options) {
  if (IsTexture(path)) return;
  const std::array asked{
      std::pair{"--level", options.level != 0}, std::pair{"--face", options.face != 0 || options.isFaceNamed},
      std::pair{"--slice", options.slice != 0}, std::pair{"--exposure", options.exposure != 0}};
  for (const auto& [option, isAsked] : asked) {
    if (isAsked)
      throw Failure(ExitCode::kUsage, path, "this is no texture", fmt::format("{} is for dds", option));
  }
}

std::vector<std::string> FaceNames() { return {kFaceNames.begin(), kFaceNames.end()}; }

bool IsTexture(const std::string& path) {
  return StreamClass(kReaderGroup, path) == RImageStreamDDS::ClassName;
}

void LoadTexture(const std::string& path, RDDSDecoder& decoder) {
  if (!decoder.Load(path.c_str())) throw Failure(ExitCode::kRead, path, "the dds file is damaged");
  if (decoder.IsPlaceholder()) {
    throw Failure(ExitCode::kRead, path, "the dds file is damaged or of a layout that cannot be decoded",
                  "readers show a 64 x 64 placeholder for it");
  }
}

Picture MakeTexturePicture(const std::string& path, const RDDSInfo& info, int width, int height) {
  Picture picture{RDestroyPtr<RImage>(RImageCreate())};
  if (!picture.image || !picture.image->Init(kImageFormatRGBA, width, height, 0, 0, false, kImageTypeFrame,
                                             kInterleaveNone, kInterpolationNone, RImage::kIncarnationRaw)) {
    throw Failure(ExitCode::kRead, path, "memory ran out");
  }
  picture.alpha = info.isPremultiplied ? AlphaState::kPremultiplied : AlphaState::kStraight;
  return picture;
}

Picture ReadTexture(const std::string& path, const RDDSDecoder& decoder, const TextureOptions& options,
                    std::uint64_t maxMemory) {
  const RDDSInfo& info = decoder.GetInfo();
  CheckOptions(path, info, options);
  const int width = RDDSDecoder::LevelSize(info.width, options.level);
  const int height = RDDSDecoder::LevelSize(info.height, options.level);
  constexpr int kFloatPixelBytes = 16;
  CheckMemory(ExitCode::kRead, path, width, height, info.isFloat ? kFloatPixelBytes : 4, maxMemory);

  Picture picture = MakeTexturePicture(path, info, width, height);
  if (!Decode(decoder, options, *picture.image)) {
    throw Failure(ExitCode::kRead, path, "the file ends before this picture");
  }
  picture.image->ImageVerticalFlip();
  return picture;
}

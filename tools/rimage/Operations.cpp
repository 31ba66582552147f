#include "Operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <string_view>
#include <utility>

#include "Arguments.h"
#include "Suggestion.h"

namespace {

void Adopt(Picture& picture, RImage* image) {
  if (!image) throw std::bad_alloc();
  picture.image.reset(image);
}

void CheckResult(const char* operation, const Picture& picture, std::int64_t width, std::int64_t height,
                 const OperationContext& context) {
  CheckMemory(ExitCode::kUsage, operation, width, height, std::max(picture.image->GetPixelSize(), 4),
              context.readOptions.maxMemory);
}

// What to say of a word that is none of the names of some rows.
template <class Rows, class NameOf>
Failure UnknownWord(const char* operation, const std::string& word, const Rows& rows, NameOf nameOf) {
  std::vector<std::string> names;
  std::ranges::transform(rows, std::back_inserter(names), nameOf);
  return WrongValue(operation, word, SuggestOrList(word, names));
}

// --- Layout and size.

constexpr std::array kFormats = {kImageFormatRGBA, kImageFormatRGB,  kImageFormatBGRA,  kImageFormatBGR,
                                 kImageFormatABGR, kImageFormatARGB, kImageFormatRGB555};

Step MakeFormat(const std::string& value, const OperationContext&) {
  const auto* const format =
      std::ranges::find_if(kFormats, [&](kImageFormat known) { return value == FormatName(known); });
  if (format == kFormats.end()) throw UnknownWord("--format", value, kFormats, FormatName);
  return [target = *format](Picture& picture) {
    const char* from = FormatName(picture.image->GetFormat());
    if (ConvertTo(picture, target)) return;
    throw Failure(ExitCode::kUsage, "--format",
                  fmt::format("{} pixels cannot be converted to {}", from, FormatName(target)),
                  "RGBA, RGB, BGRA and BGR can be reached");
  };
}

Step MakeResize(const std::string& value, const OperationContext& context) {
  const auto size = ParseSize(value);
  if (!size) throw WrongValue("--resize", value, "WxH in pixels, such as 640x480");
  return [size = *size, context](Picture& picture) {
    RImage& image = *picture.image;
    CheckResult("--resize", picture, size.width, size.height, context);
    const bool vector = !image.GetVectorSourcePath().IsEmpty();
    const bool sameSize = image.GetWidth() == size.width && image.GetHeight() == size.height;
    if (sameSize && !vector) return;
    if (!image.ConvertSize(size.width, size.height)) throw std::bad_alloc();
    // A vector picture was drawn anew, as its stream draws it.
    if (vector) picture.alpha = AlphaState::kPremultiplied;
  };
}

Step MakeSquare(const std::string& value, const OperationContext& context) {
  const auto colour = ParseColour(value);
  if (!colour) throw WrongValue("--square", value, "#RRGGBB, #RRGGBBAA or a colour name");
  return [colour = *colour, context](Picture& picture) {
    const std::int64_t side = std::max(picture.image->GetWidth(), picture.image->GetHeight());
    CheckResult("--square", picture, side, side, context);
    // The fill goes the way of the picture: it is made a picture of one pixel in the same layout and state.
    Picture fill{RDestroyPtr<RImage>(RImageCreate())};
    if (!fill.image || !fill.image->Init(kImageFormatRGBA, 1, 1, 0, 0, false, kImageTypeFrame,
                                         kInterleaveNone, kInterpolationNone, RImage::kIncarnationRaw)) {
      throw std::bad_alloc();
    }
    std::ranges::copy(colour, fill.image->GetImageBits());
    if (picture.alpha == AlphaState::kPremultiplied) MakePremultiplied(fill);
    if (!ConvertTo(fill, picture.image->GetFormat())) {
      GiveAlpha(picture);
      if (!ConvertTo(fill, picture.image->GetFormat())) throw std::bad_alloc();
    }
    if (!picture.image->ConvertToSquare(fill.image->GetImageBits())) throw std::bad_alloc();
  };
}

// --- Moving pixels.

Step MakeFlip(const std::string&, const OperationContext&) {
  return [](Picture& picture) { picture.image->ImageVerticalFlip(); };
}

Step MakeTranslate(const std::string& value, const OperationContext&) {
  const auto offset = ParseOffset(value);
  if (!offset) throw WrongValue("--translate", value, "X,Y or X,Y,wrap in pixels, such as 10,-4");
  return [offset = *offset](Picture& picture) {
    RDestroyPtr<RImage> moved(RImageCreate());
    // Rows are stored from the bottom: towards row 0 is down.
    if (!moved || !picture.image->ImageTranslate(moved.get(), offset.x, offset.y, offset.wrap, true)) {
      throw std::bad_alloc();
    }
    picture.image = std::move(moved);
  };
}

// --- Alpha.

Step MakePremultiply(const std::string&, const OperationContext&) { return MakePremultiplied; }

Step MakeUnpremultiply(const std::string&, const OperationContext&) { return MakeStraight; }

Step MakeApplyAlpha(const std::string& value, const OperationContext&) {
  const auto factor = ParseFraction(value);
  if (!factor) throw WrongValue("--apply-alpha", value, "a number from 0 to 1");
  return [factor = *factor](Picture& picture) {
    GiveAlpha(picture);
    MakeStraight(picture);
    (void)picture.image->ApplyAlpha(factor);
  };
}

Step MakeAlpha(const std::string& value, const OperationContext&) {
  if (!value.empty() && value != "invert") throw WrongValue("--alpha", value, "--alpha or --alpha=invert");
  return [invert = !value.empty()](Picture& picture) {
    GiveAlpha(picture);
    Adopt(picture, picture.image->CreateFromAlphaChannel(invert));
    picture.alpha = AlphaState::kStraight;
  };
}

// The merged image is a frame by itself; a field stays a field.
void KeepFieldType(RImage& from, RImage& to) {
  (void)to.Init(to.GetFormat(), to.GetWidth(), to.GetHeight(), 0, 0, false, from.GetImageType(),
                from.GetInterleaveType(), from.GetInterpolationType(), RImage::kIncarnationRaw);
}

Step MakeMergeAlpha(const std::string& value, const OperationContext& context) {
  const std::string name = context.files.Input(value);
  PrepareToRead(context.host, name, context.readOptions);
  return [name, context](Picture& picture) {
    RImage& image = *picture.image;
    Picture mask = ReadPicture(context.host, name, context.readOptions);
    if (mask.image->GetWidth() != image.GetWidth() || mask.image->GetHeight() != image.GetHeight()) {
      throw Failure(
          ExitCode::kUsage, name,
          fmt::format("the alpha picture has {} x {} pixels, the picture {} x {}", mask.image->GetWidth(),
                      mask.image->GetHeight(), image.GetWidth(), image.GetHeight()));
    }
    DropAlpha(mask);
    GiveAlpha(mask);
    GiveAlpha(picture);
    MakeStraight(picture);
    RDestroyPtr<RImage> merged(image.MergeAlphaChannel(mask.image.get()));
    if (!merged) throw std::bad_alloc();
    KeepFieldType(image, *merged);
    picture.image = std::move(merged);
  };
}

// --- Fields.

struct FieldKind {
  const char* name;
  kImageType type;
  kInterleaveType interleave;
};
constexpr std::array kFieldKinds{
    FieldKind{"one", kImageTypeField, kInterleaveFieldOne},
    FieldKind{"two", kImageTypeField, kInterleaveFieldTwo},
    FieldKind{"average", kImageTypeFrame, kInterleaveAverage},
};

Step MakeField(const std::string& value, const OperationContext&) {
  const auto* const kind = std::ranges::find(kFieldKinds, value, &FieldKind::name);
  if (kind == kFieldKinds.end()) throw UnknownWord("--field", value, kFieldKinds, &FieldKind::name);
  return [kind = *kind](Picture& picture) {
    RImage& image = *picture.image;
    if (image.GetImageType() != kImageTypeFrame) {
      throw Failure(ExitCode::kUsage, "--field", "the picture is a field already",
                    "--frame makes a frame of it");
    }
    if (image.GetHeight() < 2) throw Failure(ExitCode::kUsage, "--field", "the picture has a single row");
    Adopt(picture, image.CloneFromType(kind.type, kind.interleave, kInterpolationNone));
  };
}

Step MakeFrame(const std::string&, const OperationContext& context) {
  return [context](Picture& picture) {
    RImage& image = *picture.image;
    if (image.GetImageType() != kImageTypeField) {
      throw Failure(ExitCode::kUsage, "--frame", "the picture is a frame already",
                    "--field one or --field two makes a field of it");
    }
    CheckResult("--frame", picture, image.GetWidth(), std::int64_t{image.GetHeight()} * 2, context);
    Adopt(picture, image.CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationDouble));
  };
}

constexpr std::array kOperations{
    Operation{"--format", ValueKind::kRequired, "RGBA|RGB|BGRA|BGR",
              "Convert the pixels; without alpha the picture is put over black", MakeFormat},
    Operation{"--resize", ValueKind::kRequired, "WxH",
              "Resize by nearest neighbour; an untouched vector picture is drawn anew", MakeResize},
    Operation{"--square", ValueKind::kRequired, "COLOUR", "Pad to a square: #RRGGBB, #RRGGBBAA or a name",
              MakeSquare},
    Operation{"--flip", ValueKind::kNone, "", "Exchange top and bottom", MakeFlip},
    Operation{"--translate", ValueKind::kRequired, "X,Y[,wrap]",
              "Move right and down; uncovered pixels become transparent or black", MakeTranslate},
    Operation{"--premultiply", ValueKind::kNone, "", "Multiply the colours by alpha", MakePremultiply},
    Operation{"--unpremultiply", ValueKind::kNone, "", "Divide the colours by alpha", MakeUnpremultiply},
    Operation{"--apply-alpha", ValueKind::kRequired, "F", "Multiply alpha by 0 to 1", MakeApplyAlpha},
    Operation{"--alpha", ValueKind::kOptional, "[=invert]", "Make a picture of the alpha", MakeAlpha},
    Operation{"--merge-alpha", ValueKind::kRequired, "FILE", "Take the blue of a (grey) picture as alpha",
              MakeMergeAlpha},
    Operation{"--field", ValueKind::kRequired, "one|two|average",
              "Take one field of an interlaced frame, or average both", MakeField},
    Operation{"--frame", ValueKind::kNone, "", "Make a frame of a field by doubling its rows", MakeFrame},
};

}  // namespace

std::span<const Operation> Operations() { return kOperations; }

Step MakeStep(const Operation& operation, const std::string& value, const OperationContext& context) {
  Step step = operation.make(value, context);
  if (operation.make == MakeResize) return step;
  return [step = std::move(step)](Picture& picture) {
    step(picture);
    picture.image->SetVectorSourcePath("");
  };
}

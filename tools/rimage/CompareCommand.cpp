// rimage compare: whether two pictures are the same, and where they are not.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <QImage>
#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "Commands.h"
#include "FileFormats.h"
#include "NumberCheck.h"
#include "Statistics.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::string a;
  std::string b;
  std::string diff;
  int tolerance = 0;
  bool json = false;
  ReadOptions read;
};

std::string SizeText(RImage& image) {
  return fmt::format("{} x {} pixels in {} layer{}", image.GetWidth(), image.GetHeight(), image.GetDepth(),
                     image.GetDepth() == 1 ? "" : "s");
}

// Why the pictures cannot be compared pixel by pixel; empty when they can.
std::string SizeReason(RImage& a, RImage& b) {
  if (a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight() && a.GetDepth() == b.GetDepth())
    return "";
  return fmt::format("the sizes differ: {} and {}", SizeText(a), SizeText(b));
}

// --- The heat map: black for equal pixels, then dark blue through red and yellow to white.

using Rgb = std::array<int, 3>;
constexpr std::array kHeat{Rgb{0, 0, 128}, Rgb{160, 0, 160}, Rgb{255, 0, 0}, Rgb{255, 255, 0},
                           Rgb{255, 255, 255}};

Rgb HeatOf(int amount) {
  if (amount == 0) return {0, 0, 0};
  constexpr int kSpan = 254;  // from 1 to 255
  const int position = (amount - 1) * static_cast<int>(kHeat.size() - 1);
  const auto stop = std::min(static_cast<std::size_t>(position / kSpan), kHeat.size() - 2);
  const int part = position - static_cast<int>(stop) * kSpan;
  Rgb colour{};
  for (std::size_t c = 0; c < 3; ++c) {
    colour[c] = (kHeat[stop][c] * (kSpan - part) + kHeat[stop + 1][c] * part) / kSpan;
  }
  return colour;
}

void PaintRow(QImage& map, int y, std::span<const unsigned char> amounts) {
  unsigned char* pixel = map.scanLine(y);
  for (const unsigned char amount : amounts) {
    for (const int value : HeatOf(amount)) *pixel++ = static_cast<unsigned char>(value);
  }
}

// --- The report.

Json ToJson(const std::optional<Difference>& difference) {
  if (!difference) return nullptr;
  return {{"x", difference->x}, {"y", difference->y}, {"layer", difference->layer},
          {"a", difference->a}, {"b", difference->b}, {"difference", difference->amount}};
}

Json ToJson(const Comparison& result) {
  Json channels = Json::object();
  for (std::size_t c = 0; c < 4; ++c) {
    const ChannelDifference& channel = result.channels[c];
    channels[kChannelNames[c]] = {{"max", channel.most}, {"mean", channel.mean}};
    channels[kChannelNames[c]]["psnr"] = channel.psnr ? Json(*channel.psnr) : Json(nullptr);
  }
  return {{"pixels", result.pixels},       {"different", result.different}, {"channels", channels},
          {"first", ToJson(result.first)}, {"worst", ToJson(result.worst)}, {"origin", "top left"}};
}

void PrintJson(const Options& options, const std::string& reason, const std::optional<Comparison>& result) {
  const bool same = result && result->different == 0;
  Json json = {{"a", options.a}, {"b", options.b}, {"same", same}, {"tolerance", options.tolerance}};
  if (!reason.empty()) json["reason"] = reason;
  if (result) json.update(ToJson(*result));
  fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

void PrintDifference(const char* name, const std::optional<Difference>& difference, bool layers) {
  if (!difference) return;
  fmt::print("{} difference at ({}, {}){} from the top left: {} against {}\n", name, difference->x,
             difference->y, layers ? fmt::format(" of layer {}", difference->layer) : "",
             fmt::join(difference->a, " "), fmt::join(difference->b, " "));
}

void PrintText(const Options& options, const Comparison& result, bool layers) {
  const auto names = fmt::format("{} and {}", Printable(options.a), Printable(options.b));
  if (result.different == 0) {
    fmt::print("{} are the same{}\n", names,
               result.worst ? fmt::format(" within {}", options.tolerance) : "");
  } else {
    fmt::print("{} differ: {} of {} pixels by more than {}\n", names, result.different, result.pixels,
               options.tolerance);
  }
  if (!result.worst) return;
  fmt::print("        max      mean      PSNR\n");
  for (std::size_t c = 0; c < 4; ++c) {
    const ChannelDifference& channel = result.channels[c];
    fmt::print("{:<6}{:>5}{:>10.4f}{:>10}\n", kChannelNames[c], channel.most, channel.mean,
               channel.psnr ? fmt::format("{:.2f} dB", *channel.psnr) : "-");
  }
  PrintDifference("first", result.first, layers);
  PrintDifference("worst", result.worst, layers);
}

ExitCode Run(Host& host, const Options& options) {
  if (!options.diff.empty()) CheckWriter(options.diff);
  for (const std::string& path : {options.a, options.b}) PrepareToRead(host, path, options.read);
  Picture a = ReadPicture(host, options.a, options.read);
  Picture b = ReadPicture(host, options.b, options.read);
  const std::string reason = SizeReason(*a.image, *b.image);
  if (!reason.empty()) {
    if (options.json) PrintJson(options, reason, std::nullopt);
    ShowNote(options.b, fmt::format("differs from {}: {}", Printable(options.a), reason));
    return ExitCode::kDifferent;
  }
  // Straight and premultiplied colours meet where they look the same.
  if (a.alpha != b.alpha) {
    MakePremultiplied(a);
    MakePremultiplied(b);
  }
  QImage map;
  if (!options.diff.empty()) {
    map = QImage(a.image->GetWidth(), a.image->GetHeight() * a.image->GetDepth(), QImage::Format_RGB888);
    if (map.isNull()) throw Failure(ExitCode::kWrite, options.diff, "not enough memory");
  }
  const int height = a.image->GetHeight();
  const Comparison result = Compare(a, b, options.tolerance, [&](int layer, int y, auto amounts) {
    if (!map.isNull()) PaintRow(map, layer * height + y, amounts);
  });
  if (options.json) PrintJson(options, "", result);
  if (!options.json) PrintText(options, result, a.image->GetDepth() > 1);
  if (!map.isNull()) {
    NamingMemoryFailure(ExitCode::kWrite, options.diff,
                        [&] { WritePicture(FromQImage(map), options.diff, {}); });
  }
  return result.different == 0 ? ExitCode::kOk : ExitCode::kDifferent;
}

}  // namespace

Command AddCompareCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("compare", "Tell whether two pictures are the same: 0 yes, 1 no");
  const auto options = std::make_shared<Options>();
  command->add_option("A", options->a, "Picture")->type_name("");
  command->add_option("B", options->b, "Picture")->type_name("");
  command
      ->add_option("--tolerance", options->tolerance,
                   "Largest difference of a channel that counts as the same")
      ->transform(WholeNumber(0, 255));
  command
      ->add_option("--diff", options->diff,
                   "Write a heat map: black where equal, then blue, red, yellow, white")
      ->type_name("OUT");
  command->add_flag("--json", options->json, "Print JSON");
  AddReadOptions(*command, options->read);
  command->footer(
      "Pixels are counted from the top left, (0, 0). Colours are compared as they are stored, but multiplied "
      "with\n"
      "alpha when only one of the pictures stores them so.");
  return {command,
          [command, options](Host& host) {
            Require(*command, "A", !options->a.empty());
            Require(*command, "B", !options->b.empty());
            return Run(host, *options);
          },
          {{"Whether a conversion lost anything", "rimage compare waves.png waves.tga"},
           {"Where two pictures differ",
            "rimage compare hopper.jpg hopper.sgi --tolerance 64 --diff heat.png || true"}}};
}

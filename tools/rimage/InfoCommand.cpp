// rimage info: what a picture file holds.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "FileFormats.h"
#include "Orientation.h"
#include "Statistics.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::vector<std::string> files;
  bool json = false;
  bool list = false;
  ReadOptions read;
};

const char* AlphaName(const Picture& picture) {
  if (!HasAlpha(picture.image->GetFormat())) return "none";
  if (IsOpaque(picture)) return "opaque";
  return picture.alpha == AlphaState::kPremultiplied ? "premultiplied" : "straight";
}

Json DescribeTexture(const RDDSInfo& info) {
  return {{"format", info.format},     {"width", info.width},     {"height", info.height},
          {"depth", info.depth},       {"levels", info.levels},   {"faces", info.faces},
          {"cubemap", info.isCubemap}, {"volume", info.isVolume}, {"compressed", info.isCompressed},
          {"float", info.isFloat}};
}

Json Describe(const std::string& path, const FilePicture& file) {
  RImage& image = *file.picture.image;
  const auto measured = MeasureChannels(file.picture);
  Json channels = Json::object();
  const std::size_t count = HasAlpha(image.GetFormat()) ? 4 : 3;
  for (std::size_t c = 0; c < count; ++c) {
    channels[kChannelNames[c]] = {
        {"min", measured[c].least}, {"max", measured[c].most}, {"mean", measured[c].mean}};
  }
  Json info = {{"file", path},
               {"width", image.GetWidth()},
               {"height", image.GetHeight()},
               {"layers", image.GetDepth()},
               {"format", FormatName(image.GetFormat())},
               {"stream", StreamClass(kReaderGroup, path).value_or("")},
               {"alpha", AlphaName(file.picture)},
               {"orientation", OrientationName(file.orientation)},
               {"channels", channels}};
  if (file.texture) info["texture"] = DescribeTexture(*file.texture);
  return info;
}

void PrintTexture(const Json& texture) {
  fmt::print("  texture: {} {} x {} x {}, levels: {}, faces: {}{}\n", texture["format"].get<std::string>(),
             texture["width"].get<int>(), texture["height"].get<int>(), texture["depth"].get<int>(),
             texture["levels"].get<int>(), texture["faces"].get<int>(),
             texture["cubemap"].get<bool>() ? " (cube map)" : "");
}

// One line for each picture that --level, --face and --slice can ask for.
void ListPictures(const RDDSInfo& info) {
  for (int level = 0; level < info.levels; ++level) {
    const int slices = RDDSDecoder::LevelSize(info.depth, level);
    fmt::print("  level {}: {} x {}, faces: {}, slices: {}\n", level,
               RDDSDecoder::LevelSize(info.width, level), RDDSDecoder::LevelSize(info.height, level),
               info.faces, slices);
  }
}

void PrintText(const Json& info) {
  fmt::print("{}: {} x {} {}, {} layer{}, {}\n", Printable(info["file"].get<std::string>()),
             info["width"].get<int>(), info["height"].get<int>(), info["format"].get<std::string>(),
             info["layers"].get<int>(), info["layers"] == 1 ? "" : "s", info["stream"].get<std::string>());
  fmt::print("  alpha: {}\n", info["alpha"].get<std::string>());
  if (info.contains("texture")) PrintTexture(info["texture"]);
  const auto orientation = info["orientation"].get<std::string>();
  if (!orientation.empty()) fmt::print("  stored: {}\n", orientation);
  for (const auto& [name, channel] : info["channels"].items()) {
    fmt::print("  {:<6}min {:>3}  max {:>3}  mean {:7.3f}\n", name, channel["min"].get<int>(),
               channel["max"].get<int>(), channel["mean"].get<double>());
  }
}

// File names need not be UTF-8; JSON must be.
void PrintJson(const Json& json) {
  fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

ExitCode Run(Host& host, const Options& options) {
  for (const std::string& path : options.files) PrepareToRead(host, path, options.read);
  Json all = Json::array();
  std::size_t failed = 0;
  ExitCode worst = ExitCode::kOk;
  for (const std::string& path : options.files) {
    try {
      CheckTextureOptions(path, options.read.texture);
      const FilePicture file = ReadPictureFile(host, path, options.read);
      Json info = Describe(path, file);
      if (!options.json) PrintText(info);
      if (options.list && !options.json && file.texture) ListPictures(*file.texture);
      if (options.json) all.push_back(std::move(info));
    } catch (const Failure& failure) {
      Show(failure);
      all.push_back({{"file", path}, {"error", failure.Reason()}});
      worst = failure.Code();
      ++failed;
    }
  }
  if (options.json) PrintJson(all);
  return failed == 0 || failed == options.files.size() ? worst : ExitCode::kDifferent;
}

}  // namespace

Command AddInfoCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("info", "Show size, layout, alpha and statistics of pictures");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE...", options->files, "Pictures")->type_name("");
  command->add_flag("--json", options->json, "Print JSON: a list with an object for each file");
  command->add_flag("--list", options->list, "List the levels of textures");
  AddReadOptions(*command, options->read);
  AddTextureOptions(*command, options->read.texture);
  return {
      command,
      [command, options](Host& host) {
        Require(*command, "FILE", !options->files.empty());
        return Run(host, *options);
      },
      {{"Size, layout and range of some pictures", "rimage info hopper.sgi waves.pic bars.yuv"},
       {"A picture from a stranger", "rimage info --isolate --max-memory 256 --max-seconds 10 hopper.iff"}}};
}

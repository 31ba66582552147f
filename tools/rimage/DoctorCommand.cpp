// rimage doctor: what this machine offers to the tool.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <QLibraryInfo>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "Commands.h"
#include "FileFormats.h"
#include "Gpu.h"

namespace {

using Json = nlohmann::ordered_json;

struct Purpose {
  std::string_view extension;
  const char* text;
};

constexpr std::array kPurposes{
    Purpose{"GL_NV_fragment_program", "colour correction, keyer (first choice)"},
    Purpose{"GL_NV_register_combiners2", "colour correction, keyer (second choice)"},
    Purpose{"GL_ATI_fragment_shader", "colour correction, keyer (third choice)"},
    Purpose{"GL_SGI_color_matrix", "colour correction (fourth choice)"},
    Purpose{"GL_ARB_imaging", "colour correction (fourth choice)"},
    Purpose{"GL_ARB_framebuffer_object", "all effects, DDS pictures"},
    Purpose{"GL_ARB_texture_float", "colour correction in several steps, float DDS pictures"},
    Purpose{"GL_EXT_texture_compression_s3tc", "DDS pictures with DXT blocks"},
    Purpose{"GL_ARB_texture_compression_rgtc", "DDS pictures with BC4 and BC5 blocks"},
    Purpose{"GL_ARB_texture_compression_bptc", "not needed: BC6H and BC7 blocks are read by the processor"},
};

const char* PurposeOf(std::string_view extension) {
  for (const Purpose& purpose : kPurposes) {
    if (purpose.extension == extension) return purpose.text;
  }
  return "";
}

Json OpenGLJson(const Gpu& gpu) {
  Json json = {{"usable", gpu.IsUsable()}};
  if (!gpu.IsUsable()) {
    json["reason"] = gpu.Reason();
    return json;
  }
  const GpuDescription& driver = gpu.Description();
  json["version"] = driver.version;
  json["renderer"] = driver.renderer;
  json["vendor"] = driver.vendor;
  json["shading_language"] = driver.shadingLanguage;
  json["profile"] = "compatibility";
  json["share_context"] = driver.hasShareContext;
  for (const auto& [name, offered] : driver.extensions) json["extensions"][name] = offered;
  for (const auto& [name, value] : driver.limits) json["limits"][name] = value;
  return json;
}

void PrintJson(const Gpu& gpu) {
  const Json json = {
      {"rimage", RIMAGE_VERSION},
      {"qt", {{"version", qVersion()}, {"reads", ListQtReaders()}, {"writes", ListQtEncoders()}}},
      {"display",
       {{"platform", gpu.IsUsable() ? Json(gpu.Description().platform) : Json(nullptr)},
        {"name", gpu.Display().empty() ? Json(nullptr) : Json(gpu.Display())},
        {"private", gpu.IsPrivate()}}},
      {"opengl", OpenGLJson(gpu)},
      {"effects", gpu.IsUsable() ? "opengl" : "processor"},
      {"notes", gpu.Notes()},
  };
  fmt::print("{}\n", json.dump(2));
}

void PrintRow(const char* name, const std::string& value) { fmt::print("{:<13}{}\n", name, value); }

std::string DisplayText(const Gpu& gpu) {
  if (gpu.Display().empty()) return "none";
  return gpu.Display() + (gpu.IsPrivate() ? " (a private Xvfb)" : "");
}

void PrintDriver(const GpuDescription& driver) {
  PrintRow("Platform", driver.platform);
  PrintRow("OpenGL", driver.version);
  PrintRow("Renderer", fmt::format("{} ({})", driver.renderer, driver.vendor));
  PrintRow("Context", driver.hasShareContext ? "compatibility, shared" : "compatibility, not shared");
  fmt::print("Extensions:\n");
  for (const auto& [name, offered] : driver.extensions) {
    fmt::print("  {:<3} {:<32} {}\n", offered ? "yes" : "no", name, PurposeOf(name));
  }
  fmt::print("Limits:\n");
  for (const auto& [name, value] : driver.limits) fmt::print("  {:<24}{}\n", name, value);
}

void PrintText(const Gpu& gpu) {
  PrintRow("rimage", RIMAGE_VERSION);
  PrintRow("Qt", qVersion());
  PrintRow("Display", DisplayText(gpu));
  for (const std::string& note : gpu.Notes()) PrintRow("Not used", note);
  PrintRow("Effects run", gpu.IsUsable() ? "with OpenGL" : "on the processor: " + gpu.Reason());
  if (gpu.IsUsable()) PrintDriver(gpu.Description());
  fmt::print("Qt reads:\n  {}\nQt writes:\n  {}\n", fmt::join(ListQtReaders(), ", "),
             fmt::join(ListQtEncoders(), ", "));
}

struct Options {
  bool json = false;
  GpuMode gpu = GpuMode::kAuto;
};

ExitCode Run(const Options& options) {
  const Gpu gpu(options.gpu);
  options.json ? PrintJson(gpu) : PrintText(gpu);
  if (gpu.IsUsable() || options.gpu != GpuMode::kRequire) return ExitCode::kOk;
  throw Failure(ExitCode::kNoGpu, "doctor", gpu.Reason());
}

}  // namespace

Command AddDoctorCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("doctor", "Show what this machine offers: display, OpenGL, formats");
  const auto options = std::make_shared<Options>();
  command->add_flag("--json", options->json, "Print JSON");
  AddGpuOption(*command, options->gpu,
               "auto looks for OpenGL, never does without, and require fails where there is none");
  return {command, [options](Host&) { return Run(*options); }, {{"What draws here", "rimage doctor"}}};
}

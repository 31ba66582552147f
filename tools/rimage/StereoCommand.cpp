// rimage stereo: two views of a scene in one picture.
#include <GL/gl.h>
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>

#include "Cg/cg.h"
#include "Choice.h"
#include "Commands.h"
#include "GLContext.h"
#include "NumberCheck.h"
#include "Sequence.h"
#include "rbaselib/RMessageHandler.h"
#include "rgl/RGLFunctions.h"
#include "stereo/RImageStereoCompostior.h"

namespace {

struct Options {
  std::string left;
  std::string right;
  std::string out;
  EStereoDisplayMode mode = eColorAnaglyph;
  bool hasMode = false;
  unsigned int xBase = 0;
  unsigned int yBase = 0;
  ReadOptions read;
  WriteOptions write;
  SequenceOptions sequence;
};

const std::map<std::string, EStereoDisplayMode>& Modes() {
  static const std::map<std::string, EStereoDisplayMode> kModes = {
      {"color-anaglyph", eColorAnaglyph},   {"gray-anaglyph", eGrayAnaglyph},
      {"row-interleaved", eRowInterleaved}, {"checkerboard", eCheckerboard},
      {"side-by-side", eSideBySide},        {"side-by-side-swapped", eSideBySideSwapped}};
  return kModes;
}

std::string ModeNames() {
  std::string names;
  for (const auto& [name, mode] : Modes()) names += (names.empty() ? "" : "|") + name;
  return names;
}

/// Keeps the module's warnings, which become failures here.
class WarningKeeper : public RMessageHandler {
 public:
  WarningKeeper() { SetMainMessageHandler(this); }
  ~WarningKeeper() override { SetMainMessageHandler(nullptr); }
  WarningKeeper(const WarningKeeper&) = delete;
  WarningKeeper& operator=(const WarningKeeper&) = delete;

  void DisplayWarning(const char* title, const char* text, const char*) override {
    if (mWarning.empty()) mWarning = fmt::format("{}: {}", title, text);
  }
  /// The first one; empty when there is none.
  const std::string& Warning() const { return mWarning; }

 private:
  std::string mWarning;
};

/// Returns what the Cg runtime says of the last failure, and clears it; empty when there was none.
std::string TakeCgError() {
  CGerror error = CG_NO_ERROR;
  const char* const text = cgGetLastErrorString(&error);  // null in some runtimes where there is no error
  if (error == CG_NO_ERROR) return "";
  std::string copy = text;
  (void)cgGetError();  // some runtimes keep it until it is asked for so
  return copy;
}

/// A view on a texture, the rows as the record has them: the bottom one first.
class ViewTexture {
 public:
  explicit ViewTexture(RImage& image) {
    glGenTextures(1, &mTexture);
    glBindTexture(GL_TEXTURE_2D, mTexture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, image.GetWidth(), image.GetHeight(), 0, GL_RGB, GL_UNSIGNED_BYTE,
                 image.GetImageBits());
    glBindTexture(GL_TEXTURE_2D, 0);
  }
  ~ViewTexture() { glDeleteTextures(1, &mTexture); }
  ViewTexture(const ViewTexture&) = delete;
  ViewTexture& operator=(const ViewTexture&) = delete;

  GLuint Name() const { return mTexture; }

 private:
  GLuint mTexture = 0;
};

/// Reads a view as a display shows it: over black and without alpha.
Picture ReadView(Host& host, const std::string& path, const ReadOptions& options) {
  Picture view = ReadPicture(host, path, options);
  if (!ConvertTo(view, kImageFormatRGB)) throw std::bad_alloc();
  return view;
}

void CheckSizes(const Options& options, RImage& left, RImage& right) {
  if (left.GetWidth() != right.GetWidth() || left.GetHeight() != right.GetHeight()) {
    throw Failure(ExitCode::kRead, options.right,
                  fmt::format("is {} x {}, but {} is {} x {}", right.GetWidth(), right.GetHeight(),
                              Printable(options.left), left.GetWidth(), left.GetHeight()),
                  "rimage convert --resize makes them equal");
  }
  GLint limit = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
  if (std::max(left.GetWidth(), left.GetHeight()) > limit) {
    throw Failure(ExitCode::kNoGpu, options.left,
                  fmt::format("the graphics driver takes pictures up to {} x {}", limit, limit));
  }
}

/// Composes the views and stores the frame in the place of the left one.
void Compose(const Options& options, RImage& left, RImage& right) {
  const ViewTexture leftTexture(left);
  const ViewTexture rightTexture(right);
  const WarningKeeper warnings;
  RImageStereoCompostior compositor;
  compositor.Process(options.mode, eOffscreenBuffer, leftTexture.Name(), rightTexture.Name(), options.xBase,
                     options.yBase, 0, 0, static_cast<unsigned int>(left.GetWidth()),
                     static_cast<unsigned int>(left.GetHeight()));
  // The compositor warns of what fails in its set-up; drivers link programs only when they are drawn with.
  const std::string drawing = TakeCgError();
  const std::string failure = warnings.Warning().empty() ? drawing : warnings.Warning();
  if (!failure.empty())
    throw Failure(ExitCode::kNoGpu, "stereo", Printable(failure), "rimage doctor tells more");
  if (compositor.GetCompostionTextureId() == 0)
    throw Failure(ExitCode::kNoGpu, "stereo", "the graphics driver has no room for the frame");
  glBindTexture(GL_TEXTURE_2D, compositor.GetCompostionTextureId());
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, left.GetImageBits());
  glBindTexture(GL_TEXTURE_2D, 0);
}

ExitCode Run(Host& host, const Options& options) {
  for (const std::string& view : {options.left, options.right}) PrepareToRead(host, view, options.read);
  (void)host.StartGpu(GpuMode::kAuto);
  Picture left = ReadView(host, options.left, options.read);
  const Picture right = ReadView(host, options.right, options.read);
  {
    const GLContext context("stereo");
    if (!opengl30())
      throw Failure(ExitCode::kNoGpu, "stereo", "it needs OpenGL 3.0", "rimage doctor tells more");
    CheckSizes(options, *left.image, *right.image);
    Compose(options, *left.image, *right.image);
  }
  WritePicture(std::move(left), options.out, options.write);
  return ExitCode::kOk;
}

void Prepare(Host& host, const Options& options) {
  CheckWriting(options.out, options.write);
  const Gpu& gpu = host.FindGpu(GpuMode::kAuto);
  if (gpu.IsUsable()) return;
  throw Failure(ExitCode::kNoGpu, "stereo", "it needs OpenGL: " + gpu.Reason(), "rimage doctor tells more");
}

// The options with the files of one frame.
Options ForFrame(Options options, const FrameFiles& files) {
  for (std::string* name : {&options.left, &options.right}) *name = files.Input(*name);
  options.out = files.Output();
  options.read = files.Reading(options.read);
  return options;
}

void AddBase(CLI::App& command, const char* name, unsigned int& base, const char* help) {
  command.add_option(name, base, help)->type_name("N")->transform(WholeNumber(0));
}

}  // namespace

Command AddStereoCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("stereo", "Put a left and a right view together for a stereo display");
  const auto options = std::make_shared<Options>();
  command->add_option("LEFT", options->left, "The left eye's view")->type_name("");
  command->add_option("RIGHT", options->right, "The right eye's view, as large")->type_name("");
  command->add_option("OUT", options->out, "The frame to write")->type_name("");
  command
      ->add_option_function<EStereoDisplayMode>(
          "--mode",
          [options](const EStereoDisplayMode& mode) {
            options->mode = mode;
            options->hasMode = true;
          },
          "How the views are put together")
      ->transform(OneOf(Modes()))
      ->type_name(ModeNames());
  AddBase(*command, "--x-base", options->xBase, "Column of the screen where the frame begins (0)");
  AddBase(*command, "--y-base", options->yBase, "Row of the screen where the frame begins, from the top (0)");
  AddWriteOptions(*command, options->write);
  AddReadOptions(*command, options->read);
  AddSequenceOptions(*command, options->sequence);
  command->footer(
      "Anaglyphs are for glasses with red before the left eye. Row r of the screen (from 0, the top) shows "
      "the left\n"
      "view when r is odd, with row-interleaved; with checkerboard, a pixel does when row plus column is "
      "odd.");
  return {command,
          [command, options](Host& host) {
            Require(*command, "LEFT", !options->left.empty());
            Require(*command, "RIGHT", !options->right.empty());
            Require(*command, "OUT", !options->out.empty());
            Require(*command, "--mode", options->hasMode);
            return RunFrames(options->sequence, {"stereo",
                                                 {{options->left, options->right}, options->out},
                                                 [&host, options] { Prepare(host, *options); },
                                                 [&host, options](const FrameFiles& files) {
                                                   return Run(host, ForFrame(*options, files));
                                                 }});
          },
          {{"Two views for red and cyan glasses",
            "rimage stereo stereo-left.png stereo-right.png frame.png --mode color-anaglyph"}}};
}

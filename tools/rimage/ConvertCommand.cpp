// rimage convert: one picture file to another, with operations in between.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "Commands.h"
#include "Operations.h"
#include "Sequence.h"

namespace {

struct Options {
  std::string input;
  std::string output;
  ReadOptions read;
  WriteOptions write;
  SequenceOptions sequence;
  std::map<const CLI::Option*, const Operation*> operations;
};

void AddOperation(CLI::App& command, Options& options, const Operation& operation) {
  CLI::Option* option = nullptr;
  if (operation.valueKind == ValueKind::kRequired) {
    option = command.add_option(operation.name, operation.help)->type_name(operation.valueName)->expected(1);
    option->allow_extra_args(false);
  } else {
    // A flag takes a value after an equals sign only, so that it does not swallow the next file name.
    option = command.add_flag(operation.name, operation.help)->type_name(operation.valueName);
  }
  option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->group("Operations, applied from left to right");
  options.operations[option] = &operation;
}

// The command line names each use of an option in order; the values of one option are in order, too.
std::vector<Step> MakeSteps(const CLI::App& command, const Options& options,
                            const OperationContext& context) {
  std::vector<Step> steps;
  std::map<const CLI::Option*, std::size_t> used;
  for (const CLI::Option* option : command.parse_order()) {
    const auto found = options.operations.find(option);
    if (found == options.operations.end()) continue;
    const Operation& operation = *found->second;
    const std::string value = option->results().at(used[option]++);
    // What a flag without a value counts as.
    const bool bare = operation.valueKind != ValueKind::kRequired && value == "true";
    steps.push_back(MakeStep(operation, bare ? "" : value, context));
  }
  return steps;
}

ExitCode Run(Host& host, const CLI::App& command, const Options& options, const FrameFiles& files) {
  const std::string input = files.Input(options.input);
  const ReadOptions read = files.Reading(options.read);
  PrepareToRead(host, input, read);
  const OperationContext context{host, read, files};
  const auto steps = MakeSteps(command, options, context);
  Picture picture = ReadPicture(host, input, read);
  NamingMemoryFailure(ExitCode::kRead, input, [&] {
    for (const Step& step : steps) step(picture);
  });
  WritePicture(std::move(picture), files.Output(), options.write);
  return ExitCode::kOk;
}

FrameTask MakeTask(Host& host, const CLI::App& command, const Options& options) {
  FrameTask task{command.get_name(), {{options.input}, options.output}, {}, {}};
  for (const std::string& mask : command.get_option("--merge-alpha")->results())
    task.names.inputs.push_back(mask);
  task.prepare = [&host, &options, inputs = task.names.inputs] {
    CheckWriting(options.output, options.write);
    if (std::ranges::none_of(inputs, IsTexture)) CheckTextureOptions(options.input, options.read.texture);
    if (options.sequence.IsGiven() && options.read.texture.gpu == GpuMode::kRequire)
      (void)host.FindGpu(GpuMode::kRequire);
  };
  task.run = [&](const FrameFiles& files) { return Run(host, command, options, files); };
  return task;
}

}  // namespace

Command AddConvertCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("convert", "Read a picture, apply operations, write it");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->input, "Picture to read")->type_name("");
  command->add_option("OUT", options->output, "Picture to write; its extension tells the format")
      ->type_name("");
  for (const Operation& operation : Operations()) AddOperation(*command, *options, operation);
  AddWriteOptions(*command, options->write);
  AddReadOptions(*command, options->read);
  AddTextureOptions(*command, options->read.texture);
  AddSequenceOptions(*command, options->sequence);
  command->footer(
      "What is seen stays as it is: whether colours are multiplied with alpha follows the formats, and "
      "formats\n"
      "without alpha (jpg, bmp) get the picture over black. OUT may be IN; it is replaced when it is "
      "complete.");
  return {command,
          [command, options](Host& host) {
            Require(*command, "IN", !options->input.empty());
            Require(*command, "OUT", !options->output.empty());
            return RunFrames(options->sequence, MakeTask(host, *command, *options));
          },
          {{"Another format", "rimage convert waves.png waves.tga"},
           {"One field of a frame, as a frame again, smaller",
            "rimage convert fractal.tif --field one --frame --resize 320x240 field.png"},
           {"One picture of a texture", "rimage convert cat.dds --level 1 level.png"},
           {"A still as a sequence of twelve frames",
            "rimage convert lighthouse.svg --frames 1-12 shot.####.png"},
           {"Every second frame, by two processes, going on where an earlier run ended",
            "rimage convert shot.####.png small.####.jpg --resize 96x64 --frames 1-12x2 --jobs 2 --resume"}}};
}

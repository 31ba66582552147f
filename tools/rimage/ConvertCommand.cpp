// rimage convert: one picture file to another, with operations in between.
#include <map>
#include <memory>

#include "Commands.h"
#include "FileFormats.h"
#include "Operations.h"

namespace {

struct Options {
  std::string input;
  std::string output;
  ReadOptions read;
  WriteOptions write;
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
    std::string value = option->results().at(used[option]++);
    const bool bare = operation.valueKind != ValueKind::kRequired && value == "true";
    if (operation.valueKind == ValueKind::kNone && !bare) {
      throw Failure(ExitCode::kUsage, operation.name, "takes no value");
    }
    steps.push_back(MakeStep(operation, bare ? "" : value, context));
  }
  return steps;
}

ExitCode Run(Host& host, const CLI::App& command, const Options& options) {
  PrepareToRead(host, options.input, options.read);
  const OperationContext context{host, options.read};
  const auto steps = MakeSteps(command, options, context);
  CheckWriter(options.output);
  Picture picture = ReadPicture(host, options.input, options.read);
  NamingMemoryFailure(ExitCode::kRead, options.input, [&] {
    for (const Step& step : steps) step(picture);
  });
  WritePicture(std::move(picture), options.output, options.write);
  return ExitCode::kOk;
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
  command->footer(
      "What is seen stays as it is: whether colours are multiplied with alpha follows the formats, and "
      "formats\n"
      "without alpha (jpg, bmp) get the picture over black. OUT may be IN; it is replaced when it is "
      "complete.\n"
      "Example: rimage convert in.tif --field one --frame --resize 640x480 out.png");
  return {command, [command, options](Host& host) {
            Require(*command, "IN", !options->input.empty());
            Require(*command, "OUT", !options->output.empty());
            return Run(host, *command, *options);
          }};
}

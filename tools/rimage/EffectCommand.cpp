#include "EffectCommand.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "EffectOperators.h"
#include "FileFormats.h"
#include "GraphFile.h"
#include "GraphRun.h"
#include "OutputFile.h"
#include "RealNames.h"
#include "SharedFlag.h"

namespace {

struct Options {
  std::vector<std::string> files;  // the last one is written
  std::vector<std::string> settings;
  EffectOptions effect;
};

std::string Usage(const EffectCommand& effect) {
  std::string usage;
  for (std::size_t i = 0; i < effect.inputs.size(); ++i)
    usage += (i < effect.leastInputs ? effect.inputs[i] : fmt::format("[{}]", effect.inputs[i])) + " ";
  return usage + "OUT";
}

void CheckCount(const CLI::App& app, const EffectCommand& effect, std::size_t count) {
  for (std::size_t i = 0; i < effect.leastInputs; ++i) Require(app, effect.inputs[i], count > i);
  Require(app, "OUT", count > effect.leastInputs);
  if (count <= effect.inputs.size() + 1) return;
  throw Failure(ExitCode::kUsage, effect.name, fmt::format("{} files are too many", count), Usage(effect));
}

Graph MakeGraph(const EffectCommand& effect, const Options& options) {
  GraphNode node;
  node.name = effect.name;
  node.operatorName = OperatorOfCommand(effect.name);
  node.inputNames.assign(effect.inputs.begin(), effect.inputs.end());
  node.fixedInputs = effect.leastInputs;
  for (auto file = options.files.begin(); file != options.files.end() - 1; ++file) {
    CheckReader(*file);
    node.inputs.push_back(*file);
  }
  for (const std::string& setting : options.settings) node.settings.push_back(ParseSetting(setting));
  return {effect.name, {std::move(node)}, effect.name};
}

// The graph with the files of one frame.
Graph ForFrame(Graph graph, const FrameFiles& files) {
  for (GraphNode& node : graph.nodes) {
    for (std::string& input : node.inputs) {
      if (!IsNodeName(input)) input = files.Input(input);
    }
  }
  return graph;
}

ExitCode RunFrame(Host& host, const Graph& graph, const EffectOptions& options, const FrameFiles& files,
                  SharedFlag& toldUnread) {
  const ReadOptions read = files.Reading(options.read);
  PrepareToRead(host, "", read);
  // Neither file takes its place before the other one is sure to.
  std::optional<OutputFile> saved;
  if (!options.save.empty()) saved.emplace(options.save);
  GraphRun run(host, ForFrame(graph, files), options.gpu);
  if (toldUnread.IsFirst()) run.TellUnread();
  Picture picture = run.Evaluate(read);
  if (saved) NamingMemoryFailure(ExitCode::kWrite, options.save, [&] { WriteGraph(run.Record(), *saved); });
  WritePicture(std::move(picture), files.Output(), options.write);
  if (saved) saved->Commit();
  if (options.explain) (void)std::fputs(run.Explain().c_str(), stdout);
  return ExitCode::kOk;
}

// The graph must replace none of the files that make it.
void CheckSave(const std::string& save, const FrameNames& names) {
  if (ExtensionOf(save) != "json") throw WrongValue("--save", save, "a name that ends in .json");
  const bool isRead =
      std::ranges::any_of(names.inputs, [&](const std::string& input) { return IsSameFile(input, save); });
  if (!isRead && !IsSameFile(names.output, save)) return;
  throw Failure(ExitCode::kUsage, "--save",
                fmt::format("{} is {}", Printable(save), isRead ? "a file that is read" : "OUT"),
                "the graph needs a file of its own");
}

}  // namespace

void AddEffectOptions(CLI::App& app, EffectOptions& options) {
  AddGpuOption(app, options.gpu, "Draw with OpenGL: auto (when there is a driver), never, or require");
  app.add_flag("--explain", options.explain,
               "Tell what each effect reads, what it draws with and why, in which form and how large");
  app.add_option("--save", options.save,
                 "Write the graph, with all properties, for rimage graph; its name ends in .json")
      ->type_name("GRAPH");
  AddReadOptions(app, options.read);
  AddWriteOptions(app, options.write);
  AddSequenceOptions(app, options.sequence);
}

ExitCode RunGraph(Host& host, const Graph& graph, const std::vector<std::string>& files,
                  const std::string& output, const EffectOptions& options) {
  FrameTask task{graph.subject, {files, output}, {}, {}};
  for (const GraphNode& node : graph.nodes)
    std::ranges::remove_copy_if(node.inputs, std::back_inserter(task.names.inputs), IsNodeName);
  task.prepare = [&] {
    CheckWriting(output, options.write);
    if (!options.sequence.IsGiven()) {
      if (!options.save.empty()) CheckSave(options.save, task.names);
      return;
    }
    if (options.explain || !options.save.empty()) {
      throw Failure(ExitCode::kUsage, options.explain ? "--explain" : "--save", "it is for one picture",
                    "leave out --frames");
    }
    (void)host.FindGpu(options.gpu);
  };
  SharedFlag toldUnread;
  task.run = [&](const FrameFiles& frame) { return RunFrame(host, graph, options, frame, toldUnread); };
  return RunFrames(options.sequence, task);
}

Command AddEffectCommand(CLI::App& app, const EffectCommand& effect) {
  CLI::App* command = app.add_subcommand(effect.name, effect.help);
  const auto options = std::make_shared<Options>();
  command->add_option(Usage(effect), options->files, "Pictures to read, and the one to write")->type_name("");
  command->add_option("--set", options->settings, "Set a property; as often as needed, in this order")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  AddEffectOptions(*command, options->effect);
  command->footer(effect.footer);
  return {command,
          [command, options, effect](Host& host) {
            CheckCount(*command, effect, options->files.size());
            return RunGraph(host, MakeGraph(effect, *options), {}, options->files.back(), options->effect);
          },
          effect.examples, OperatorOfCommand(effect.name)};
}

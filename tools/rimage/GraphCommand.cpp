// rimage graph: a graph of effects from a file.
#include <CLI/CLI.hpp>
#include <memory>

#include "EffectCommand.h"
#include "GraphFile.h"

namespace {

struct Options {
  std::string graph;
  std::string output;
  EffectOptions effect;
};

}  // namespace

Command AddGraphCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("graph", "Evaluate a graph of effects");
  const auto options = std::make_shared<Options>();
  command->add_option("GRAPH", options->graph, "Graph to read, as JSON")->type_name("");
  command->add_option("OUT", options->output, "Picture to write; its extension tells the format")
      ->type_name("");
  AddEffectOptions(*command, options->effect);
  command->footer(
      "A graph names its nodes. Each is an effect with its inputs, which are nodes or files (found from the "
      "graph's\nfolder), and its properties, which apply in the order in which they are written:\n"
      "  {\"nodes\": {\"over\": {\"operator\": \"RImOpBlend\", \"inputs\": [\"a.png\", \"b.png\"],\n"
      "                      \"properties\": {\"Preset\": \"A over B\"}},\n"
      "             \"mix\":  {\"operator\": \"RImOpBlend\", \"inputs\": [\"over\", \"c.png\"],\n"
      "                      \"properties\": {\"Preset\": \"blend\", \"Alpha\": 50}}},\n"
      "   \"output\": \"mix\"}\n"
      "\"record\" holds the properties as --save writes them; \"properties\" apply after it.");
  return {command,
          [command, options](Host& host) {
            Require(*command, "GRAPH", !options->graph.empty());
            Require(*command, "OUT", !options->output.empty());
            return RunGraph(host, ReadGraph(options->graph), {options->graph}, options->output,
                            options->effect);
          },
          {{"What rimage blend has saved, once more, and how it was drawn",
            "rimage graph graph.json again.png --explain"}}};
}

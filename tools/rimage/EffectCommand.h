// Sub-commands that put pictures through effects.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"
#include "Graph.h"

/// What evaluating a graph takes beside the graph.
struct EffectOptions {
  ReadOptions read;
  WriteOptions write;
  GpuMode gpu = GpuMode::kAuto;
  bool explain = false;
  std::string save;  ///< a file for the graph; empty: none
};

/// Adds --gpu, --explain, --save and what reading and writing take.
void AddEffectOptions(CLI::App& app, EffectOptions& options);

/// Evaluates a graph into a picture file.
ExitCode RunGraph(Host& host, const Graph& graph, const std::string& output, const EffectOptions& options);

/// A sub-command that is one effect.
struct EffectCommand {
  const char* name;                 ///< of the sub-command
  const char* operatorName;         ///< of the class
  std::vector<const char*> inputs;  ///< names of the pictures that it reads, by input plug
  const char* help;
  const char* footer;
  std::size_t leastInputs;  ///< how many of them must be given
};

/// Adds the sub-command: rimage NAME INPUT... OUT [--set Name=Value ...].
Command AddEffectCommand(CLI::App& app, const EffectCommand& effect);

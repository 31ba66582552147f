// Sub-commands that put pictures through effects.
#pragma once

#include <string>
#include <vector>

#include "Commands.h"
#include "Graph.h"
#include "Sequence.h"

/// What evaluating a graph takes beside the graph.
struct EffectOptions {
  ReadOptions read;
  WriteOptions write;
  GpuMode gpu = GpuMode::kAuto;
  bool explain = false;
  std::string save;  ///< a file for the graph; empty: none
  SequenceOptions sequence;
};

/// Adds --gpu, --explain, --save and what reading, writing and sequences take.
void AddEffectOptions(CLI::App& app, EffectOptions& options);

/// Evaluates a graph into a picture file, or for each frame into one. `files` are what it reads beside the
/// files of its nodes.
ExitCode RunGraph(Host& host, const Graph& graph, const std::vector<std::string>& files,
                  const std::string& output, const EffectOptions& options);

/// A sub-command that is one effect.
struct EffectCommand {
  const char* name;                 ///< of the sub-command, one that `OperatorOfCommand` knows
  std::vector<const char*> inputs;  ///< names of the pictures that it reads, by input plug
  const char* help;
  const char* footer;
  std::size_t leastInputs;  ///< how many of them must be given
  std::vector<Example> examples = {};
};

/// Adds the sub-command: rimage NAME INPUT... OUT [--set Name=Value ...].
Command AddEffectCommand(CLI::App& app, const EffectCommand& effect);

// Files that hold graphs of effects.
#pragma once

#include <string>

#include "Graph.h"
#include "OutputFile.h"

/// Reads a graph from JSON:
///
///     {"nodes": {"NAME": {"operator": "RImOpBlend", "inputs": ["a.png", "OTHER NODE"],
///                         "properties": {"Preset": "A over B", "Alpha": 50}, "record": ["Preset 6"]}},
///      "output": "NAME"}
///
/// Files are found from the graph file's folder. Fails when the file cannot be read, and for whatever is not
/// known or written twice.
Graph ReadGraph(const std::string& path);

/// Writes a graph so that `ReadGraph` brings the same one back. The file is complete then, and takes the
/// place of an earlier one when the caller commits it.
void WriteGraph(const Graph& graph, OutputFile& output);

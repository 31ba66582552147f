// A graph of effects, as it is written down.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "OperatorProperties.h"

/// An effect and what it reads.
struct GraphNode {
  std::string name;
  std::string operatorName;                  ///< of its class
  std::vector<std::string> inputs;           ///< by input plug: the name of a node, or the path of a file
  std::string record;                        ///< as the host stores the operator; may be empty
  std::vector<PropertySetting> settings;     ///< applied in this order, after the record
  std::vector<std::string> inputNames = {};  ///< what messages call the inputs; empty: as the plugs
  std::size_t fixedInputs = 0;               ///< that must be there whether they are read or not
};

struct Graph {
  std::string subject;  ///< the file or sub-command that failures name
  std::vector<GraphNode> nodes;
  std::string output;  ///< the node whose result is wanted; empty: the only one that no other reads
};

/// The most nodes of a graph. Effects that are asked for their state ask those before them in turn, which
/// takes stack.
inline constexpr std::size_t kMostNodes = 1000;

/// Whether an input is a node: the names of nodes have neither dots nor slashes, those of files have.
bool IsNodeName(const std::string& input);

/// The places of the nodes that the output needs, each behind all those that it reads; the output is the
/// last. Fails when a name is wrong, there is no output, nodes go in a circle, or there are too many; says
/// which nodes are not needed.
std::vector<std::size_t> OrderNodes(const Graph& graph);

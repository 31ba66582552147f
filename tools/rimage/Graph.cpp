#include "Graph.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Suggestion.h"

namespace {

// By node: the places of the nodes that it reads.
using Links = std::vector<std::vector<std::size_t>>;

Failure Mistake(const Graph& graph, const std::string& reason, const std::string& hint = {}) {
  return {ExitCode::kUsage, graph.subject, reason, hint};
}

std::size_t FindNode(const Graph& graph, const std::string& reader, const std::string& name) {
  std::vector<std::string> known;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    if (graph.nodes[i].name == name) return i;
    known.push_back(graph.nodes[i].name);
  }
  const std::string hint = Suggest(name, known);
  throw Mistake(graph, fmt::format("{}: there is no node '{}'", Printable(reader), Printable(name)),
                hint.empty() ? "names of files have an extension" : hint);
}

Links FindLinks(const Graph& graph) {
  Links links(graph.nodes.size());
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    for (const std::string& input : graph.nodes[i].inputs) {
      if (IsNodeName(input)) links[i].push_back(FindNode(graph, "node " + graph.nodes[i].name, input));
    }
  }
  return links;
}

std::size_t FindOutput(const Graph& graph, const Links& links) {
  if (!graph.output.empty()) return FindNode(graph, "output", graph.output);
  std::vector<bool> isRead(links.size());
  for (const auto& inputs : links) {
    for (const std::size_t input : inputs) isRead[input] = true;
  }
  std::vector<std::string> ends;
  std::size_t end = 0;
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (isRead[i]) continue;
    ends.push_back(Printable(graph.nodes[i].name));
    end = i;
  }
  if (ends.size() == 1) return end;
  throw Mistake(graph, "the output is missing",
                ends.empty() ? "" : fmt::format("nodes that no other reads: {}", fmt::join(ends, ", ")));
}

// Walks the graph against its links, without recursion.
class Walk {
 public:
  Walk(const Graph& graph, const Links& links)
      : mGraph(graph), mLinks(links), mStates(links.size()), mNext(links.size()) {}

  // Appends the node behind all those that it reads, as far as they are not there yet.
  void From(std::size_t start) {
    Enter(start);
    while (!mPath.empty()) {
      const std::size_t node = mPath.back();
      if (mNext[node] < mLinks[node].size()) {
        Enter(mLinks[node][mNext[node]++]);
      } else {
        mStates[node] = State::kDone;
        mOrder.push_back(node);
        mPath.pop_back();
      }
    }
  }

  const std::vector<std::size_t>& Order() const { return mOrder; }
  bool Has(std::size_t node) const { return mStates[node] == State::kDone; }

 private:
  enum class State { kNew, kOnPath, kDone };

  void Enter(std::size_t node) {
    if (mStates[node] == State::kOnPath) FailCircle(node);
    if (mStates[node] != State::kNew) return;
    mStates[node] = State::kOnPath;
    mPath.push_back(node);
  }

  [[noreturn]] void FailCircle(std::size_t node) const {
    std::string circle = Printable(mGraph.nodes[node].name);
    for (std::size_t i = mPath.size(); i-- > 0;) {
      circle = fmt::format("{} -> {}", Printable(mGraph.nodes[mPath[i]].name), circle);
      if (mPath[i] == node) break;
    }
    throw Mistake(mGraph, "nodes go in a circle: " + circle, "an arrow goes from a node to what it reads");
  }

  const Graph& mGraph;
  const Links& mLinks;
  std::vector<State> mStates;
  std::vector<std::size_t> mNext;  // by node: the input to look at next
  std::vector<std::size_t> mPath;
  std::vector<std::size_t> mOrder;
};

}  // namespace

bool IsNodeName(const std::string& input) { return input.find_first_of("./") == std::string::npos; }

std::vector<std::size_t> OrderNodes(const Graph& graph) {
  if (graph.nodes.empty()) throw Mistake(graph, "there are no nodes");
  if (graph.nodes.size() > kMostNodes) {
    throw Mistake(graph, fmt::format("{} nodes are more than {}", graph.nodes.size(), kMostNodes));
  }
  const Links links = FindLinks(graph);
  // Circles are mistakes wherever they are, and the reason why there may be no output.
  Walk all(graph, links);
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) all.From(i);
  Walk needed(graph, links);
  needed.From(FindOutput(graph, links));
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    if (!needed.Has(i))
      ShowNote(graph.subject, fmt::format("node {} is not used", Printable(graph.nodes[i].name)));
  }
  return needed.Order();
}

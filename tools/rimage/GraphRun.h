// The evaluation of a graph of effects.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "EffectPicture.h"
#include "GLContext.h"
#include "Graph.h"
#include "Host.h"
#include "PictureFile.h"
#include "operators/RImageOperator.h"

/// A graph made of the module's operators, at work.
///
/// Effects run with OpenGL where there is some and they have a form for it, else on the processor. Between
/// effects in the same place the operators are connected; from one place to the other the first is evaluated
/// and its picture handed over.
class GraphRun {
 public:
  /// Makes the operators and sets their properties. Fails for properties and values that are wrong, for
  /// missing or surplus inputs, and for effects that can run neither here nor there; no picture is read.
  GraphRun(Host& host, Graph graph, GpuMode mode);
  ~GraphRun();
  GraphRun(const GraphRun&) = delete;
  GraphRun& operator=(const GraphRun&) = delete;

  /// Shows which of the given inputs are not read, as the properties are.
  void TellUnread() const;
  /// Reads the pictures, evaluates the graph and returns the output's picture.
  Picture Evaluate(const ReadOptions& options);
  /// Tells for each effect what it read, what it drew with and why, where, in which form and how large.
  std::string Explain() const;
  /// Returns the graph with all properties as the records that the host stores.
  Graph Record() const;

 private:
  enum class Place { kGpu, kProcessor };
  struct Source;
  struct Step;

  void StartContext(GpuMode mode);
  Step MakeStep(const GraphNode& node) const;
  Place ChoosePlace(const Step& step, GpuMode mode) const;
  void Link(Step& step);
  void Read(const std::string& path, const ReadOptions& options);
  void Attach(Step& step);
  RImage* AsTexture(const std::string& name, EffectPicture& picture) const;
  void Compute(Step& step) const;
  static RImage& ResultOf(const Step& step);
  std::string ExplainInput(const Step& step, std::size_t index) const;
  static std::string ExplainProperties(const Step& step);
  static std::string ExplainResult(const Step& step);

  Host& mHost;
  const Graph mGraph;
  const Gpu* mGpu = nullptr;
  std::string mReason;                     // why there is no context
  std::unique_ptr<GLContext> mContext;     // current until all textures are gone
  std::map<std::string, Source> mSources;  // by path
  std::vector<std::unique_ptr<Step>> mSteps;
};

#include "GraphRun.h"

#include <GL/gl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <new>

#include "BackEnds.h"
#include "EffectOperators.h"
#include "FileFormats.h"
#include "rbaselib/RArc.h"
#include "rbaselib/RProperty.h"
#include "rgl/RGLFunctions.h"

// A file that effects read.
struct GraphRun::Source {
  std::unique_ptr<EffectPicture> picture;
  std::string description;
};

struct GraphRun::Step {
  const GraphNode* node = nullptr;
  std::string subject;  // of failures
  RDestroyPtr<RImageOperator> op;
  Place place = Place::kProcessor;
  std::vector<std::string> unread = {};  // inputs that are given
  std::vector<const Step*> from = {};    // by input: the step that it is the result of; null for a file
  bool isHandedOver = false;             // to a step in the other place
  std::unique_ptr<EffectPicture> result = {};
};

namespace {

// The forms in which results are asked for.
constexpr int kGpuForm = kFormRectangleToBuffer;
constexpr int kProcessorForm = kFormRawToRaw;

// The forms in which every stage can work, as far as it is all of them.
int FormsOf(const RFpNode& node) {
  int forms = ~0;
  for (int stage = 0; stage < node.GetStageCount(); ++stage) forms &= node.GetRequirementFlags(stage);
  return node.GetStageCount() > 0 ? forms : 0;
}

void RestoreRecord(const std::string& subject, RImageOperator& op, const std::string& record) {
  if (record.empty()) return;
  RArc arc;
  if (!arc.SetText(record)) throw Failure(ExitCode::kUsage, subject, "the record is malformed");
  (void)op.ArcRetrieve(&arc, kArcPassFields);
  if (!op.PropertiesRestore(&arc))
    throw Failure(ExitCode::kUsage, subject, "a value of the record does not fit its property");
}

std::string StoreRecord(RImageOperator& op) {
  RArc arc;
  (void)op.ArcStore(&arc, kArcPassFields);
  (void)op.PropertiesStore(&arc);
  return arc.GetText();
}

// How many inputs an effect reads depends on its properties. Returns the names of those that are given and
// not read.
std::vector<std::string> CheckInputs(const std::string& subject, const RImageOperator& op,
                                     const GraphNode& node) {
  const auto plugs = PlugNames(op, RImageOperator::kPlugInput);
  const auto& names = node.inputNames.empty() ? plugs : node.inputNames;
  const std::size_t given = node.inputs.size();
  const auto least = static_cast<std::size_t>(std::max(op.GetProcessingNode()->GetInputCount(), 0));
  if (given < least && given < names.size() && !node.inputNames.empty()) {
    throw Failure(ExitCode::kUsage, subject, fmt::format("{} is missing", names[given]),
                  fmt::format("{} reads {} inputs with these properties", op.GetClassIdName(), least));
  }
  if (given >= least && given <= plugs.size()) {
    const std::size_t first = std::min(std::max(least, node.fixedInputs), given);
    return {names.begin() + static_cast<std::ptrdiff_t>(first),
            names.begin() + static_cast<std::ptrdiff_t>(given)};
  }
  const bool any = least != plugs.size();
  throw Failure(ExitCode::kUsage, subject,
                fmt::format("{} input{} given, {} reads {}{}", given, given == 1 ? "" : "s",
                            op.GetClassIdName(), any ? fmt::format("{} to ", least) : "", plugs.size()),
                fmt::format("{}", fmt::join(plugs, ", ")));
}

std::string Describe(const Picture& picture) {
  RImage& image = *picture.image;
  std::string text =
      fmt::format("{} x {} {}", image.GetWidth(), image.GetHeight(), FormatName(image.GetFormat()));
  if (!HasAlpha(image.GetFormat())) return text;
  return text + (picture.alpha == AlphaState::kStraight ? ", straight, premultiplied before use"
                                                        : ", premultiplied");
}

}  // namespace

GraphRun::GraphRun(Host& host, Graph graph, GpuMode mode) : mHost(host), mGraph(std::move(graph)) {
  const std::vector<std::size_t> order = OrderNodes(mGraph);
  StartContext(mode);
  for (const std::size_t i : order) {
    auto step = std::make_unique<Step>(MakeStep(mGraph.nodes[i]));
    step->place = ChoosePlace(*step, mode);
    Link(*step);
    mSteps.push_back(std::move(step));
  }
}

void GraphRun::StartContext(GpuMode mode) {
  mGpu = &mHost.StartGpu(mode);
  mReason = mGpu->Reason();
  if (!mGpu->IsUsable()) return;
  mContext = std::make_unique<GLContext>(mGraph.subject);
  if (opengl30()) return;
  mContext.reset();
  mReason = "the driver has no OpenGL 3.0";
}

GraphRun::~GraphRun() {
  // Readers first: a plug borrows the operator and the image that it reads.
  while (!mSteps.empty()) mSteps.pop_back();
}

void GraphRun::TellUnread() const {
  for (const auto& step : mSteps) {
    for (const std::string& name : step->unread)
      ShowNote(step->subject, fmt::format("{} is not read with these properties", name));
  }
}

GraphRun::Step GraphRun::MakeStep(const GraphNode& node) const {
  // A sub-command that is one effect names itself.
  const std::string subject =
      node.name == mGraph.subject ? mGraph.subject : fmt::format("{}: node {}", mGraph.subject, node.name);
  Step step{&node, subject, CreateOperator(node.operatorName)};
  RestoreRecord(subject, *step.op, node.record);
  for (const PropertySetting& setting : node.settings) SetProperty(subject, *step.op, setting);
  if (!step.op->GetProcessingNode()) throw std::bad_alloc();
  step.unread = CheckInputs(subject, *step.op, node);
  for (const std::string& input : node.inputs) {
    if (!IsNodeName(input)) CheckReader(input);
  }
  return step;
}

GraphRun::Place GraphRun::ChoosePlace(const Step& step, GpuMode mode) const {
  const int forms = FormsOf(*step.op->GetProcessingNode());
  if (mContext && (forms & ~kFormProcessorMask)) return Place::kGpu;
  const char* name = step.op->GetClassIdName();
  if (!mContext && !(forms & kFormProcessorMask)) {
    throw Failure(ExitCode::kNoGpu, step.subject, fmt::format("{} runs with OpenGL only: {}", name, mReason),
                  mode == GpuMode::kNever ? "" : "rimage doctor tells more");
  }
  if (mode == GpuMode::kRequire) {
    throw Failure(ExitCode::kNoGpu, step.subject,
                  mContext ? fmt::format("{} cannot run with this driver", name)
                           : fmt::format("{} has no OpenGL: {}", name, mReason),
                  "rimage doctor tells more");
  }
  return Place::kProcessor;
}

void GraphRun::Link(Step& step) {
  for (const std::string& input : step.node->inputs) {
    const auto from =
        std::ranges::find_if(mSteps, [&](const auto& other) { return other->node->name == input; });
    const bool isNode = IsNodeName(input);
    step.from.push_back(isNode ? from->get() : nullptr);
    if (isNode && (*from)->place != step.place) (*from)->isHandedOver = true;
  }
}

void GraphRun::Read(const std::string& path, const ReadOptions& options) {
  if (mSources.contains(path)) return;
  Picture picture = ReadPicture(mHost, path, options);
  Source source{nullptr, Describe(picture)};
  NamingMemoryFailure(ExitCode::kRead, path,
                      [&] { source.picture = std::make_unique<EffectPicture>(std::move(picture)); });
  mSources.emplace(path, std::move(source));
}

void GraphRun::Attach(Step& step) {
  for (std::size_t i = 0; i < step.from.size(); ++i) {
    const auto plug = static_cast<int>(i);
    const Step* const from = step.from[i];
    if (from && from->place == step.place) {
      (void)step.op->SetPlugInputOperator(plug, RImageOperator::kPlugInput, from->op.get());
      continue;
    }
    EffectPicture& picture = from ? *from->result : *mSources.at(step.node->inputs[i]).picture;
    RImage* const image =
        step.place == Place::kGpu ? AsTexture(step.node->inputs[i], picture) : picture.InMemory();
    (void)step.op->SetPlugImage(plug, RImageOperator::kPlugInput, image);
  }
}

RImage* GraphRun::AsTexture(const std::string& name, EffectPicture& picture) const {
  const int width = picture.InMemory()->GetWidth();
  const int height = picture.InMemory()->GetHeight();
  GLint most = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
  RImage* const texture = width <= most && height <= most ? picture.AsTexture() : nullptr;
  if (texture) return texture;
  throw Failure(ExitCode::kNoGpu, name,
                fmt::format("{} x {} pixels are more than the graphics driver takes", width, height),
                fmt::format("at most {} x {}", most, most));
}

void GraphRun::Compute(Step& step) const {
  const int form = step.place == Place::kGpu ? kGpuForm : kProcessorForm;
  RFpContext context;
  const int forms = step.op->ReadLock(&context, form);
  if (forms == 0 && step.place == Place::kProcessor) throw std::bad_alloc();
  // An effect without a surface to draw on turns to the processor, for which its inputs are not made.
  const bool drawn = step.place == Place::kProcessor || !(step.op->GetProcessedForm() & kFormProcessorMask);
  if (forms == 0 || !drawn)
    throw Failure(ExitCode::kNoGpu, step.subject, "the driver did not draw the effect");
  (void)step.op->ReadUnLock(&context, form);
  if (step.isHandedOver) step.result = std::make_unique<EffectPicture>(TakeResult(ResultOf(step)));
}

Picture GraphRun::Evaluate(const ReadOptions& options) {
  for (const auto& step : mSteps) {
    for (const std::string& input : step->node->inputs) {
      if (!IsNodeName(input)) Read(input, options);
    }
  }
  for (const auto& step : mSteps) {
    NamingMemoryFailure(ExitCode::kRead, step->subject, [&] {
      Attach(*step);
      Compute(*step);
    });
  }
  return TakeResult(ResultOf(*mSteps.back()));
}

RImage& GraphRun::ResultOf(const Step& step) {
  return *step.op->GetPlugImage(0, RImageOperator::kPlugOutput);
}

Graph GraphRun::Record() const {
  Graph graph;
  graph.subject = mGraph.subject;
  graph.output = mSteps.back()->node->name;
  for (const auto& step : mSteps) {
    GraphNode node = *step->node;
    node.record = StoreRecord(*step->op);
    node.settings.clear();
    graph.nodes.push_back(std::move(node));
  }
  return graph;
}

// --- The explanation.

namespace {

void AddRow(std::string& text, const std::string& name, const std::string& value) {
  text += fmt::format("  {:<10}{}\n", name, value);
}

}  // namespace

std::string GraphRun::Explain() const {
  std::string text;
  for (const auto& step : mSteps) {
    const RImageOperator& op = *step->op;
    text += fmt::format("{}: {}\n", step->node->name, op.GetClassIdName());
    for (std::size_t i = 0; i < step->from.size(); ++i) {
      AddRow(text, op.GetPlugName(static_cast<int>(i), RImageOperator::kPlugInput).GetChars(),
             ExplainInput(*step, i));
    }
    AddRow(text, "set", ExplainProperties(*step));
    for (const std::string& line : ExplainBackEnd(op)) AddRow(text, "back end", line);
    AddRow(text, "runs",
           step->place == Place::kGpu ? "with OpenGL: " + mGpu->Description().renderer : "on the processor");
    AddRow(text, "form", fmt::format("0x{:X}: {}", op.GetProcessedForm(), FormText(op.GetProcessedForm())));
    AddRow(text, "result", ExplainResult(*step));
  }
  return text;
}

std::string GraphRun::ExplainInput(const Step& step, std::size_t index) const {
  const std::string& input = step.node->inputs[index];
  const Step* const from = step.from[index];
  if (!from) return fmt::format("{}: {}", Printable(input), mSources.at(input).description);
  RImage& image = ResultOf(*from);
  return fmt::format("node {}: {} x {} RGBA, premultiplied{}", input, image.GetWidth(), image.GetHeight(),
                     from->place == step.place ? "" : ", evaluated first and handed over");
}

// What differs from a new operator, which is more than was set where a setter brings others along.
std::string GraphRun::ExplainProperties(const Step& step) {
  const auto fresh = CreateOperator(step.node->operatorName);
  std::vector<std::string> settings;
  for (int i = 0; i < step.op->GetPropertyCount(); ++i) {
    const RProperty& property = *step.op->GetProperty(i);
    if (property.GetText() != fresh->GetProperty(i)->GetText())
      settings.push_back(fmt::format("{} = {}", property.GetName(), ValueText(property)));
  }
  return settings.empty() ? "nothing" : fmt::format("{}", fmt::join(settings, ", "));
}

std::string GraphRun::ExplainResult(const Step& step) {
  RImage& image = ResultOf(step);
  const std::string size = fmt::format("{} x {} RGBA, premultiplied", image.GetWidth(), image.GetHeight());
  if (image.GetIncarnation() == RImage::kIncarnationRaw) return size + ", in memory";
  GLint width = 0;
  GLint height = 0;
  glBindTexture(GL_TEXTURE_2D, image.GetTextureID());
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
  return fmt::format("{}, in a texture of {} x {}", size, width, height);
}

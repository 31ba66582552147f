#include "OperatorSequence.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "image/RDestroyPtr.h"
#include "operators/RImOpBlend.h"
#include "rbaselib/RArc.h"

namespace {

using Op = RImageOperator;
constexpr auto kIn = Op::kPlugInput;
constexpr auto kOut = Op::kPlugOutput;
constexpr std::size_t kMostOperators = 12;

void Check(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "operators: %s\n", what);
  std::abort();
}

// --- What a graph means, said plainly.

/// RGBA, the bottom row first; transparent black outside.
struct Model {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> bytes = {};

  unsigned char At(int x, int y, int c) const {
    if (x >= width || y >= height) return 0;
    return bytes[static_cast<std::size_t>((y * width + x) * 4 + c)];
  }
};
using Result = std::optional<Model>;

template <class Pixel>
Model Fill(int width, int height, const Pixel& pixel) {
  Model model{width, height};
  model.bytes.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < 4; ++c) model.bytes.push_back(static_cast<unsigned char>(pixel(x, y, c)));
    }
  }
  return model;
}

// Adds a row to another, modulo 256.
void AddBytes(unsigned char* sum, const unsigned char* row, int bytes) {
  for (int i = 0; i < bytes; ++i) sum[i] = static_cast<unsigned char>(sum[i] + row[i]);
}

// --- What the host's state is, and must be after every call.

constexpr GLenum kHostState[] = {GL_VIEWPORT,
                                 GL_SCISSOR_BOX,
                                 GL_MATRIX_MODE,
                                 GL_MODELVIEW_MATRIX,
                                 GL_PROJECTION_MATRIX,
                                 GL_CURRENT_COLOR,
                                 GL_COLOR_WRITEMASK,
                                 GL_COLOR_CLEAR_VALUE,
                                 GL_BLEND,
                                 GL_BLEND_SRC,
                                 GL_BLEND_DST,
                                 GL_BLEND_COLOR,
                                 GL_CULL_FACE,
                                 GL_SCISSOR_TEST,
                                 GL_ALPHA_TEST,
                                 GL_ALPHA_TEST_FUNC,
                                 GL_FOG,
                                 GL_LIGHTING,
                                 GL_COLOR_MATERIAL,
                                 GL_STENCIL_TEST,
                                 GL_POLYGON_MODE,
                                 GL_RED_SCALE,
                                 GL_GREEN_BIAS,
                                 GL_CURRENT_PROGRAM,
                                 GL_DRAW_FRAMEBUFFER_BINDING,
                                 GL_ATTRIB_STACK_DEPTH,
                                 GL_CLIENT_ATTRIB_STACK_DEPTH,
                                 GL_READ_FRAMEBUFFER_BINDING,
                                 GL_CURRENT_RASTER_POSITION};
using HostState = std::array<std::array<GLdouble, 16>, std::size(kHostState) + 1>;

HostState GetHostState() {
  HostState state{};
  for (std::size_t i = 0; i < std::size(kHostState); ++i) glGetDoublev(kHostState[i], state[i].data());
  GLint unit = 0;
  glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
  glActiveTexture(GL_TEXTURE0);
  glGetDoublev(GL_CURRENT_TEXTURE_COORDS, state.back().data());
  glActiveTexture(static_cast<GLenum>(unit));
  return state;
}

// A host whose state would spoil every picture.
void SetHostState() {
  glViewport(3, 4, 20, 21);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glFrustum(-1, 2, -1, 3, 1, 50);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glRotatef(20, 1, 1, 0);
  glColor4f(0.25F, 0.5F, 0.75F, 0.125F);
  glTexCoord4f(5, 6, 7, 8);
  glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
  glBlendFunc(GL_DST_COLOR, GL_ZERO);
  for (const GLenum capability : std::initializer_list<GLenum>{
           GL_BLEND, GL_CULL_FACE, GL_SCISSOR_TEST, GL_ALPHA_TEST, GL_FOG, GL_LIGHTING, GL_COLOR_MATERIAL})
    glEnable(capability);
  glScissor(1, 2, 3, 4);
  glCullFace(GL_FRONT_AND_BACK);
  glAlphaFunc(GL_NEVER, 0);
  glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
  glPixelTransferf(GL_RED_SCALE, 0.5F);
  glPixelTransferf(GL_GREEN_BIAS, 0.25F);
}

// Reads a texture back as it is, whatever the host's pixel transfers are.
bool ReadBack(RImage& image) {
  const bool isTexture = image.GetIncarnation() == RImage::kIncarnationGL;
  if (isTexture) {
    glPushAttrib(GL_PIXEL_MODE_BIT);
    glPixelTransferf(GL_RED_SCALE, 1);
    glPixelTransferf(GL_GREEN_BIAS, 0);
  }
  const bool read = image.RequestRawIncarnation(true);
  if (isTexture) glPopAttrib();
  return read;
}

int gDraws = 0;

/// Adds its inputs and a number, modulo 256, in memory.
class SumNode : public RFpNode {
 public:
  explicit SumNode(int inputs) : mInputs(inputs) {}
  int number = 0;
  bool fails = false;

  void Change() { ++mChanges; }
  unsigned GetChangeCount() const override { return mChanges; }
  int GetInputCount() const override { return mInputs; }
  int GetStageCount() const override { return 1; }
  int GetRequirementFlags(int) const override { return kFormProcessorMask; }
  int GetInputRequirement(int) const override { return mInputs; }
  int GetNextIndex(int, int index) const override { return index + 1; }
  int Bind(RFpContext*, int, int) override { return fails ? 0 : 1; }
  void Unbind(RFpContext*, int, int) override {}
  void Reset() override {}
  void Draw(RFpContext* context, int, int, int width, int height) override {
    ++gDraws;
    Check(context->target.width == width && context->target.height == height, "the target has another size");
    for (int y = 0; y < height; ++y) {
      unsigned char* const row = context->target.bits + y * width * 4;
      std::fill_n(row, width * 4, static_cast<unsigned char>(number));
      for (std::size_t i = 0; i < static_cast<std::size_t>(mInputs); ++i)
        AddSource(context->sources[i], y, row, width);
    }
  }

 private:
  static void AddSource(const RFpPixels& source, int y, unsigned char* row, int width) {
    if (!source.bits || y >= source.height || source.glFormat != GL_RGBA) return;
    AddBytes(row, source.bits + y * source.rowLength * 4, std::min(width, source.width) * 4);
  }

  int mInputs;
  unsigned mChanges = 0;
};

class SumOperator : public RImageOperator {
 public:
  explicit SumOperator(int inputs) : RImageOperator("sum", true) {
    auto node = std::make_unique<SumNode>(inputs);
    sum = node.get();
    SetProcessingNode(std::move(node));
    for (int i = 0; i < inputs; ++i) AppendPlug(kPlugInput, "IN");
  }
  ~SumOperator() override { RunTeardown(); }
  SumNode* sum;
};

/// An operator of the sequence.
struct Entry {
  RDestroyPtr<Op> op;
  SumOperator* sum = nullptr;  // one of the two
  RImOpBlend* blend = nullptr;
  int preset = 4;
};

// --- The sequence.

class Sequence {
 public:
  Sequence(const std::uint8_t* data, std::size_t size, OperatorPlace place)
      : mInput(data, size), mPlace(place) {
    if (mPlace != OperatorPlace::kDriver) return;
    SetHostState();
    mHostState = GetHostState();
  }
  ~Sequence() {
    while (!mEntries.empty()) Destroy(0);
  }
  Sequence(const Sequence&) = delete;
  Sequence& operator=(const Sequence&) = delete;

  void Run() {
    // Long inputs only repeat what short ones say.
    for (int step = 0; step < 200 && !mInput.IsEmpty(); ++step) {
      Step();
      CheckReferences();
      if (mPlace == OperatorPlace::kDriver) CheckDriver();
    }
    for (std::size_t i = 0; i < mEntries.size(); ++i) Compare(i);
  }

 private:
  void Step();
  void Make();
  void Destroy(std::size_t index);
  void Connect(std::size_t index);
  void PutImage(std::size_t index);
  void ShareImage(std::size_t index);
  void GrabImage(std::size_t index);
  void Change(std::size_t index);
  void MarkDirty(std::size_t index);
  void Lock(std::size_t index);
  void LockPlug(std::size_t index);
  void UseTexture(std::size_t index);
  void Persist(std::size_t index);
  void Compare(std::size_t index);
  void CheckReferences() const;
  void CheckDriver() const;

  // What every operator makes, each computed once. An operator that is being computed stands in it as a
  // circle.
  using Results = std::map<const Op*, Result>;
  const Result& Expected(std::size_t index, Results& results) const;
  Result ExpectedInput(const Op& op, int plug, Results& results) const;
  Result ExpectedBlend(const Entry& entry, Results& results) const;
  Result ExpectedSum(const Entry& entry, Results& results) const;
  bool IsComparable(std::size_t index) const;
  std::size_t Find(const Op* op) const;
  int AnyPlug(Op& op, Op::RPlugType type) { return mInput.Range(op.GetNbPlugs(type) + 2) - 1; }
  Op::RPlugType AnyType() { return mInput.Range(4) == 0 ? kOut : kIn; }

  FuzzInput mInput;
  OperatorPlace mPlace;
  HostState mHostState{};
  std::vector<Entry> mEntries;
  // Operators whose output image somebody else may read or write: what they hold is not foreseen any more.
  std::set<const Op*> mShared;
};

void Sequence::Step() {
  if (mEntries.empty()) return Make();
  const int what = mInput.Range(16);
  const auto index = static_cast<std::size_t>(mInput.Range(static_cast<int>(mEntries.size())));
  if (what < 2) return Make();
  if (what == 2) return Destroy(index);
  if (what < 5) return Connect(index);
  if (what < 7) return PutImage(index);
  using Call = void (Sequence::*)(std::size_t);
  static constexpr std::array<Call, 9> kCalls = {
      &Sequence::ShareImage, &Sequence::GrabImage,  &Sequence::Change,  &Sequence::MarkDirty, &Sequence::Lock,
      &Sequence::LockPlug,   &Sequence::UseTexture, &Sequence::Persist, &Sequence::Compare};
  (this->*kCalls[static_cast<std::size_t>(what - 7)])(index);
}

void Sequence::Make() {
  if (mEntries.size() == kMostOperators) return;
  Entry entry;
  if (mInput.Range(mPlace == OperatorPlace::kDriver ? 4 : 8) != 0 && mPlace == OperatorPlace::kDriver) {
    entry.op.reset(entry.blend = new RImOpBlend("blend"));
  } else {
    const int inputs = mInput.Range(4);
    entry.op.reset(entry.sum = new SumOperator(inputs));
  }
  mEntries.push_back(std::move(entry));
}

void Sequence::Destroy(std::size_t index) {
  const Op* const gone = mEntries[index].op.get();
  for (const Entry& entry : mEntries) {
    for (int plug = 0; plug < entry.op->GetNbPlugs(kIn); ++plug) {
      if (entry.op->GetPlugInputOperator(plug, kIn) != gone) continue;
      Check(entry.op->SetPlugInputOperator(plug, kIn, nullptr) == 0, "a plug was not disconnected");
      entry.op->IncUpdateId();
    }
  }
  mShared.erase(gone);
  mEntries.erase(mEntries.begin() + static_cast<std::ptrdiff_t>(index));
}

// Any two, in a circle as well.
void Sequence::Connect(std::size_t index) {
  Op& op = *mEntries[index].op;
  const auto other = static_cast<std::size_t>(mInput.Range(static_cast<int>(mEntries.size()) + 1));
  Op* const from = other < mEntries.size() ? mEntries[other].op.get() : nullptr;
  const Op::RPlugType type = AnyType();
  const int plug = AnyPlug(op, type);
  const bool valid = plug >= 0 && plug < op.GetNbPlugs(type);
  Check(op.SetPlugInputOperator(plug, type, from) == (valid ? 0 : -1), "the answer to a connection");
  Check(op.GetPlugInputOperator(plug, type) == (valid && type == kIn ? from : nullptr), "the connection");
}

void Sequence::PutImage(std::size_t index) {
  Op& op = *mEntries[index].op;
  const Op::RPlugType type = AnyType();
  const int plug = AnyPlug(op, type);
  const bool valid = plug >= 0 && plug < op.GetNbPlugs(type);
  RDestroyPtr<RImage> image(RImageCreate());
  const int kind = mInput.Byte();
  const auto format = kind % 8 == 0 ? static_cast<kImageFormat>(kind / 8 % 9) : kImageFormatRGBA;
  const int width = mInput.Range(20);
  const int height = mInput.Range(12);
  Check(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                    RImage::kIncarnationRaw),
        "an image could not be made");
  const int seed = mInput.Byte();
  for (int i = 0; image->HoldsPixels(1) && i < width * height * image->GetPixelSize(); ++i)
    image->GetImageBits()[i] = static_cast<unsigned char>(seed * (i + 1) + i / 7);
  RImage* const given = kind == 255 ? nullptr : image.get();
  Check(op.SetPlugImage(plug, type, given) == (valid ? 0 : -1), "the answer to an image");
  // From now on the plug owns it.
  if (valid && given) (void)image.release();
}

// The image of one plug on another: its last holder frees it.
void Sequence::ShareImage(std::size_t index) {
  Op& op = *mEntries[index].op;
  const auto other = static_cast<std::size_t>(mInput.Range(static_cast<int>(mEntries.size())));
  Op& from = *mEntries[other].op;
  const Op::RPlugType fromType = AnyType();
  RImage* const image = from.GetPlugImage(AnyPlug(from, fromType), fromType);
  const Op::RPlugType type = AnyType();
  const int plug = AnyPlug(op, type);
  if (!image || plug < 0 || plug >= op.GetNbPlugs(type)) return;
  Check(op.SetPlugImage(plug, type, image) == 0, "an image was not taken");
  if (fromType == kOut || type == kOut) mShared.insert({&op, &from});
}

void Sequence::GrabImage(std::size_t index) {
  Op& op = *mEntries[index].op;
  const Op::RPlugType type = AnyType();
  const int plug = AnyPlug(op, type);
  RImage* const held = op.GetPlugImage(plug, type);
  const int references = held ? held->GetReferenceCount() : 0;
  RImage* const grabbed = op.GrabPlugImage(plug, type);
  Check(grabbed == held && op.GetPlugImage(plug, type) == nullptr, "the grabbed image");
  if (!grabbed) return;
  Check(grabbed->GetReferenceCount() == references - 1, "the count of a grabbed image");
  if (grabbed->GetReferenceCount() < 1) grabbed->Destroy(0);
}

void Sequence::Change(std::size_t index) {
  Entry& entry = mEntries[index];
  const int value = mInput.Byte();
  if (entry.blend) {
    // Those whose results are exact in bytes.
    static constexpr std::array<int, 5> kPresets = {3, 4, 5, 15, 15};
    entry.preset = kPresets[static_cast<std::size_t>(value) % kPresets.size()];
    entry.blend->PresetSet(entry.preset);
    entry.blend->AlphaSet(value % 101);
    return;
  }
  entry.sum->sum->number = value;
  entry.sum->sum->fails = value % 16 == 15;
  entry.sum->sum->Change();
}

void Sequence::MarkDirty(std::size_t index) {
  Op& op = *mEntries[index].op;
  const Op::RPlugType type = AnyType();
  const int plug = AnyPlug(op, type);
  const bool valid = plug >= 0 && plug < op.GetNbPlugs(type);
  op.SetPlugDirty(plug, type);
  Check(op.IsPlugDirty(plug, type) == valid, "the mark of a plug");
  Check(!op.IsPlugDirty(plug, type), "the mark of a plug after asking");
  if (mInput.Range(2)) op.IncUpdateId();
}

// The forms that are asked for; what is not reached answers 0.
constexpr std::array<int, 8> kMasks = {0x40, 0x100, 0x10, 0x1000, 0x40000, 0x80000, 0, 0x203C0};

void Sequence::Lock(std::size_t index) {
  Op& op = *mEntries[index].op;
  const int mask = kMasks[static_cast<std::size_t>(mInput.Range(kMasks.size()))];
  RFpContext context;
  const int forms = op.ReadLock(&context, mask);
  if (forms == 0) return;
  (void)op.ReadTest(&context, mask);
  (void)op.ReadBind(&context, mask, mInput.Range(2), mInput.Range(3));
  (void)op.ReadUnBind(&context, mask, 0, 1);
  Check(op.ReadUnLock(&context, mask) == mask, "the answer to an unlock");
  const int draws = gDraws;
  (void)op.ReadLock(&context, mask);
  Check(gDraws == draws, "a second lock computed again");
}

void Sequence::LockPlug(std::size_t index) {
  Op& op = *mEntries[index].op;
  const Op::RPlugType type = AnyType();
  IImageProvider* const plug = op.GetPlugImageProvider(AnyPlug(op, type), type);
  if (!plug) return;
  const int mask = kMasks[static_cast<std::size_t>(mInput.Range(kMasks.size()))];
  RFpContext context;
  if (mInput.Range(2) && plug->ReadLock(&context, mask)) {
    (void)plug->ReadBind(&context, mask, 0, 1);
    (void)plug->ReadUnBind(&context, mask, 0, 1);
    (void)plug->ReadUnLock(&context, mask);
  } else if (plug->WriteLock(&context, mask, 1 + mInput.Range(9), 1 + mInput.Range(9))) {
    (void)plug->WriteBind(&context, mask);
    (void)plug->WriteUnBind(&context, mask);
    (void)plug->WriteUnLock(&context, mask, 1);
  }
  (void)plug->GetUpdateId();
  plug->IncUpdateId();
  Check(plug->GetWidth() >= 0 && plug->GetHeight() >= 0, "the size of a plug");
}

void Sequence::UseTexture(std::size_t index) {
  Op& op = *mEntries[index].op;
  const int what = mInput.Range(4);
  if (what == 0) op.ImageDetachTextureObject();
  if (what == 1) (void)op.ImageTextureGetObject();
  if (what == 2)
    (void)op.ImageTextureDrawCurrent(kMasks[static_cast<std::size_t>(mInput.Range(kMasks.size()))]);
  RImage* const image = op.GetPlugImage(0, AnyType());
  if (what == 3 && image) (void)image->RequestIncarnation(RImage::kIncarnationRaw, mInput.Range(2) != 0);
}

void Sequence::Persist(std::size_t index) {
  Entry& entry = mEntries[index];
  RArc arc;
  Check(entry.op->ArcStore(&arc, kArcPassFields) && entry.op->PropertiesStore(&arc), "the record");
  const RDestroyPtr<Op> clone(entry.op->Clone());
  Check((clone != nullptr) == (entry.blend != nullptr), "the clone");
  if (!clone) return;
  RArc other;
  Check(clone->ArcStore(&other, kArcPassFields) && clone->PropertiesStore(&other), "the clone's record");
  Check(other.GetText() == arc.GetText(), "a clone has another record");
  Check(entry.op->ArcRetrieve(&other, kArcPassFields) && entry.op->PropertiesRestore(&other),
        "the record came back");
}

std::size_t Sequence::Find(const Op* op) const {
  std::size_t index = 0;
  while (mEntries[index].op.get() != op) ++index;
  return index;
}

// Sums read memory and blends read textures; a texture that comes back to memory is larger than its picture.
bool Sequence::IsComparable(std::size_t index) const {
  std::set<const Op*> seen;
  std::vector<const Op*> open = {mEntries[index].op.get()};
  const bool isBlend = mEntries[index].blend != nullptr;
  while (!open.empty()) {
    const Op* const op = open.back();
    open.pop_back();
    if (!seen.insert(op).second) continue;
    if (mShared.contains(op) || (mEntries[Find(op)].blend != nullptr) != isBlend) return false;
    for (int plug = 0; plug < op->GetNbPlugs(kIn); ++plug) {
      const Op* const from = op->GetPlugInputOperator(plug, kIn);
      const RImage* const image = op->GetPlugImage(plug, kIn);
      if (from) open.push_back(from);
      if (from || !image) continue;
      auto& held = const_cast<RImage&>(*image);
      if (held.GetFormat() != kImageFormatRGBA || !held.HoldsPixels(1) ||
          held.GetIncarnation() != RImage::kIncarnationRaw)
        return false;
    }
  }
  return true;
}

Result Sequence::ExpectedInput(const Op& op, int plug, Results& results) const {
  if (const Op* const from = op.GetPlugInputOperator(plug, kIn)) return Expected(Find(from), results);
  RImage* const image = op.GetPlugImage(plug, kIn);
  if (!image) return std::nullopt;
  const unsigned char* const bits = image->GetImageBits();
  const int width = image->GetWidth();
  return Fill(width, image->GetHeight(), [&](int x, int y, int c) { return bits[(y * width + x) * 4 + c]; });
}

Result Sequence::ExpectedBlend(const Entry& entry, Results& results) const {
  const Result a = ExpectedInput(*entry.op, 0, results);
  const Result b = entry.preset == 4 ? Result(Model()) : ExpectedInput(*entry.op, 1, results);
  if (!a || !b || a->width < 1 || a->height < 1) return std::nullopt;
  if (entry.preset != 4 && (b->width < 1 || b->height < 1)) return std::nullopt;
  return Fill(a->width, a->height, [&](int x, int y, int c) {
    const int first = entry.preset == 4 || entry.preset == 15 ? a->At(x, y, c) : 0;
    const int second = entry.preset == 5 || entry.preset == 15 ? b->At(x, y, c) : 0;
    return std::min(first + second, 255);
  });
}

Result Sequence::ExpectedSum(const Entry& entry, Results& results) const {
  if (entry.sum->sum->fails) return std::nullopt;
  std::vector<Model> inputs;
  for (int plug = 0; plug < entry.op->GetNbPlugs(kIn); ++plug) {
    Result input = ExpectedInput(*entry.op, plug, results);
    if (!input) return std::nullopt;
    inputs.push_back(*std::move(input));
  }
  Model sum{720, 486};
  if (!inputs.empty()) sum = {inputs.back().width, inputs.back().height};
  sum.bytes.assign(static_cast<std::size_t>(sum.width) * static_cast<std::size_t>(sum.height) * 4,
                   static_cast<unsigned char>(entry.sum->sum->number));
  for (const Model& input : inputs) {
    for (int y = 0; y < std::min(sum.height, input.height); ++y) {
      AddBytes(sum.bytes.data() + y * sum.width * 4, input.bytes.data() + y * input.width * 4,
               std::min(sum.width, input.width) * 4);
    }
  }
  return sum;
}

// Whoever reads what goes in a circle has no result either, so the way here does not matter.
const Result& Sequence::Expected(std::size_t index, Results& results) const {
  const Entry& entry = mEntries[index];
  const auto [place, isNew] = results.emplace(entry.op.get(), std::nullopt);
  if (isNew) place->second = entry.blend ? ExpectedBlend(entry, results) : ExpectedSum(entry, results);
  return place->second;
}

// Every operator computes anew, so that nothing but the graph as it is now decides.
void Sequence::Compare(std::size_t index) {
  const bool isBlend = mEntries[index].blend != nullptr;
  if ((isBlend && mPlace == OperatorPlace::kMemory) || !IsComparable(index)) return;
  for (const Entry& entry : mEntries) entry.op->IncUpdateId();
  Results results;
  const Result& expected = Expected(index, results);
  Op& op = *mEntries[index].op;
  RFpContext context;
  const int mask = isBlend ? 0x40 : 0x40000;
  const int forms = op.ReadLock(&context, mask);
  Check((forms != 0) == expected.has_value(), "whether there is a result");
  if (!expected) return;
  RImage& image = *op.GetPlugImage(0, kOut);
  Check(image.GetWidth() == expected->width && image.GetHeight() == expected->height, "the size of a result");
  RImage copy(image);
  copy.SetDeletable(false);
  Check(ReadBack(copy), "a result could not be read back");
  for (int y = 0; y < expected->height; ++y) {
    const std::size_t row = static_cast<std::size_t>(expected->width) * 4;
    Check(std::memcmp(copy.GetImageBits() +
                          static_cast<std::size_t>(y) * static_cast<std::size_t>(copy.GetWidth()) * 4,
                      expected->bytes.data() + static_cast<std::size_t>(y) * row, row) == 0,
          "the pixels of a result");
  }
}

void Sequence::CheckReferences() const {
  std::vector<std::pair<RImage*, int>> held;
  for (const Entry& entry : mEntries) {
    for (const auto type : {kIn, kOut}) {
      for (int plug = 0; plug < entry.op->GetNbPlugs(type); ++plug) {
        RImage* const image = entry.op->GetPlugImage(plug, type);
        if (!image) continue;
        const auto found =
            std::find_if(held.begin(), held.end(), [&](const auto& row) { return row.first == image; });
        if (found == held.end())
          held.emplace_back(image, 1);
        else
          ++found->second;
      }
    }
  }
  for (const auto& [image, count] : held) Check(image->GetReferenceCount() == count, "a reference count");
}

void Sequence::CheckDriver() const {
  const GLenum error = glGetError();
  if (error != GL_NO_ERROR) std::fprintf(stderr, "OpenGL error 0x%X\n", error);
  Check(error == GL_NO_ERROR, "the driver reports an error");
  const HostState state = GetHostState();
  for (std::size_t i = 0; i < state.size(); ++i) {
    if (state[i] == mHostState[i]) continue;
    std::fprintf(stderr, "value 0x%X\n",
                 i < std::size(kHostState) ? kHostState[i] : GL_CURRENT_TEXTURE_COORDS);
    Check(false, "the host's state has changed");
  }
}

}  // namespace

void RunOperatorSequence(const std::uint8_t* data, std::size_t size, OperatorPlace place) {
  Sequence(data, size, place).Run();
}

// Images, nodes and operators made up for tests of the operator graph.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "fp/RFpNode.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "operators/RImageOperator.h"

namespace test {

using ImagePtr = RDestroyPtr<RImage>;

/// Makes a raw image; `bytes`, tightly packed with the bottom row first, may be empty for zeros.
ImagePtr MakeImage(int width, int height, const std::vector<unsigned char>& bytes = {},
                   kImageFormat format = kImageFormatRGBA);

/// Puts a new image on a plug, which then owns it. Returns it, borrowed.
RImage* PutImage(RImageOperator& op, int index, ImagePtr image,
                 RImageOperator::RPlugType type = RImageOperator::kPlugInput);

/// Returns the pixels of a raw image's lower left `width` x `height` corner, tightly packed.
std::vector<unsigned char> Corner(RImage& image, int width, int height);

/// What happens, in order, as text.
using Log = std::vector<std::string>;
std::string Join(const Log& log);

/// A node whose answers are set by the test; it logs the calls that drive it.
class FakeNode : public RFpNode {
 public:
  struct Stage {
    int requirement = 0xC0000;
    int inputs = 1;
    std::vector<int> next = {};  ///< provider of each input; index + 1 beyond it
    int reserved = 0;
  };

  explicit FakeNode(Log* log = nullptr) : mLog(log) {}

  unsigned changes = 0;
  std::vector<Stage> stages = {Stage()};
  int bindResult = 1;
  /// Draws in place of the default, which copies the first source to the target when both are memory.
  std::function<void(RFpContext*, int stage, int form, int width, int height)> draw;

  unsigned GetChangeCount() const override { return changes; }
  int GetInputCount() const override { return stages.empty() ? 0 : stages.front().inputs; }
  int GetStageCount() const override { return static_cast<int>(stages.size()); }
  int GetRequirementFlags(int stage) const override { return At(stage).requirement; }
  int GetReserved(int stage) const override { return At(stage).reserved; }
  int GetInputRequirement(int stage) const override { return At(stage).inputs; }
  int GetNextIndex(int stage, int index) const override;
  void Prepare(RFpContext* context, int stage, int form, int width, int height) override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;
  void Finish(RFpContext* context, int stage, int form, int width, int height) override;
  void Reset() override {}

 private:
  const Stage& At(int stage) const { return stages.at(static_cast<std::size_t>(stage)); }
  void Note(const std::string& text) const {
    if (mLog) mLog->push_back(text);
  }
  Log* mLog;
};

/// An operator with a node of the test's, `inputs` input plugs and one output plug.
class NodeOperator : public RImageOperator {
 public:
  explicit NodeOperator(int inputs, std::unique_ptr<RFpNode> node = nullptr, bool output = true);
  ~NodeOperator() override;

  FakeNode& Node() { return static_cast<FakeNode&>(*GetProcessingNode()); }
  using RImageOperator::ClearAllPlugs;
  using RImageOperator::ClearPlugs;
  using RImageOperator::SetProcessingNode;
};

/// An operator that answers every call of the protocol from its fields and logs it, as in
/// "B.ReadLock(0x40)".
class FakeOperator : public RImageOperator {
 public:
  FakeOperator(std::string name, Log* log);

  int available = 0;
  bool lockFails = false;
  int width = 0;
  int height = 0;
  int updateId = 0;
  int incremented = 0;

  int ReadTest(RFpContext* context, int want) override;
  int ReadLock(RFpContext* context, int mask) override;
  int ReadBind(RFpContext* context, int mask, int unit, int count) override;
  int ReadUnBind(RFpContext* context, int mask, int unit, int count) override;
  int ReadUnLock(RFpContext* context, int mask) override;
  int WriteUnLock(RFpContext* context, int mask, int drawn) override;
  int GetWidth() override { return width; }
  int GetHeight() override { return height; }
  int GetUpdateId() override { return updateId; }
  void IncUpdateId() override { ++incremented; }

 private:
  int Note(const char* call, std::initializer_list<int> arguments, int result);
  std::string mLogName;
  Log* mLog;
};

/// Makes an operator that `Destroy` releases.
template <class Operator, class... Arguments>
RDestroyPtr<Operator> Make(Arguments&&... arguments) {
  return RDestroyPtr<Operator>(new Operator(std::forward<Arguments>(arguments)...));
}

/// Returns the slot of a virtual function in its class's table, from 0.
template <class Function>
int VirtualSlot(Function function) {
  // A pointer to a virtual member function holds one more than its offset into the table.
  static_assert(sizeof(function) == 2 * sizeof(std::intptr_t));
  std::array<std::intptr_t, 2> words{};
  std::memcpy(words.data(), &function, sizeof(function));
  return (words[0] & 1) != 0 ? static_cast<int>((words[0] - 1) / static_cast<std::intptr_t>(sizeof(void*)))
                             : -1;
}

}  // namespace test

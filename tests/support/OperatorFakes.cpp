#include "support/OperatorFakes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <cstring>
#include <iomanip>
#include <sstream>

namespace test {

namespace {

std::string Hex(int value) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase << value;
  return text.str();
}

std::string StageText(const char* call, int stage, int form) {
  return std::string("node.") + call + '(' + std::to_string(stage) + ", " + Hex(form) + ')';
}

std::string SizedText(const char* call, int stage, int form, int width, int height) {
  return std::string("node.") + call + '(' + std::to_string(stage) + ", " + Hex(form) + ", " +
         std::to_string(width) + ", " + std::to_string(height) + ')';
}

}  // namespace

ImagePtr MakeImage(int width, int height, const std::vector<unsigned char>& bytes, kImageFormat format) {
  ImagePtr image(RImageCreate());
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  if (!bytes.empty()) {
    EXPECT_EQ(static_cast<int>(bytes.size()), width * height * image->GetPixelSize());
    std::memcpy(image->GetImageBits(), bytes.data(), bytes.size());
  }
  return image;
}

RImage* PutImage(RImageOperator& op, int index, ImagePtr image, RImageOperator::RPlugType type) {
  EXPECT_EQ(op.SetPlugImage(index, type, image.get()), 0);
  return image.release();
}

std::vector<unsigned char> Corner(RImage& image, int width, int height) {
  const auto pixelSize = static_cast<std::size_t>(image.GetPixelSize());
  const auto stride = static_cast<std::size_t>(image.GetWidth()) * pixelSize;
  const auto row = static_cast<std::size_t>(width) * pixelSize;
  std::vector<unsigned char> bytes(row * static_cast<std::size_t>(height));
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    std::memcpy(bytes.data() + y * row, image.GetImageBits() + y * stride, row);
  }
  return bytes;
}

std::string Join(const Log& log) {
  std::string text;
  for (const std::string& line : log) text += line + '\n';
  return text;
}

int FakeNode::GetNextIndex(int stage, int index) const {
  const auto& next = At(stage).next;
  return static_cast<std::size_t>(index) < next.size() ? next[static_cast<std::size_t>(index)] : index + 1;
}

void FakeNode::Prepare(RFpContext*, int stage, int form, int width, int height) {
  Note(SizedText("Prepare", stage, form, width, height));
}

int FakeNode::Bind(RFpContext*, int stage, int form) {
  Note(StageText("Bind", stage, form));
  return bindResult;
}

void FakeNode::Draw(RFpContext* context, int stage, int form, int width, int height) {
  Note(SizedText("Draw", stage, form, width, height));
  if (draw) {
    draw(context, stage, form, width, height);
    return;
  }
  const RFpPixels& from = context->sources[0];
  const RFpPixels& to = context->target;
  if (!from.bits || !to.bits || from.bits == to.bits) return;
  const auto bytes = static_cast<std::size_t>(std::min(from.width, to.width)) * 4;
  for (int y = 0; y < std::min(from.height, to.height); ++y) {
    std::memcpy(to.bits + std::size_t{4} * static_cast<std::size_t>(y * to.rowLength),
                from.bits + std::size_t{4} * static_cast<std::size_t>(y * from.rowLength), bytes);
  }
}

void FakeNode::Unbind(RFpContext*, int stage, int form) { Note(StageText("Unbind", stage, form)); }

void FakeNode::Finish(RFpContext*, int stage, int form, int width, int height) {
  Note(SizedText("Finish", stage, form, width, height));
}

NodeOperator::NodeOperator(int inputs, std::unique_ptr<RFpNode> node, bool output)
    : RImageOperator("test", output) {
  for (int i = 0; i < inputs; ++i) AppendPlug(kPlugInput, RString("IN_" + std::to_string(i)));
  SetProcessingNode(std::move(node));
}

NodeOperator::~NodeOperator() { RunTeardown(); }

FakeOperator::FakeOperator(std::string name, Log* log)
    : RImageOperator(name.c_str(), true), mLogName(std::move(name)), mLog(log) {}

int FakeOperator::Note(const char* call, std::initializer_list<int> arguments, int result) {
  std::string text = mLogName + '.' + call + '(';
  const char* separator = "";
  for (const int argument : arguments) {
    text += separator + (argument > 15 ? Hex(argument) : std::to_string(argument));
    separator = ", ";
  }
  if (mLog) mLog->push_back(text + ')');
  return result;
}

int FakeOperator::ReadTest(RFpContext*, int want) { return Note("ReadTest", {want}, available); }
int FakeOperator::ReadLock(RFpContext*, int mask) { return Note("ReadLock", {mask}, lockFails ? 0 : mask); }
int FakeOperator::ReadBind(RFpContext*, int mask, int unit, int count) {
  return Note("ReadBind", {mask, unit, count}, 1);
}
int FakeOperator::ReadUnBind(RFpContext*, int mask, int unit, int count) {
  return Note("ReadUnBind", {mask, unit, count}, 1);
}
int FakeOperator::ReadUnLock(RFpContext*, int mask) { return Note("ReadUnLock", {mask}, mask); }
int FakeOperator::WriteUnLock(RFpContext*, int mask, int drawn) {
  return Note("WriteUnLock", {mask, drawn}, mask);
}

}  // namespace test

// Tests of what all nodes share: the order of their functions, forms and the context.
#include "fp/RFpNode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>

#include "fp/RFpBlend.h"
#include "fp/RFpCC.h"
#include "fp/RFpKeyer.h"
#include "fp/RFpParameter.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

TEST(RFpNode, VirtualFunctionsKeepTheirOrder) {
  const std::vector<int> slots = {
      VirtualSlot(&RFpNode::GetChangeCount), VirtualSlot(&RFpNode::GetInputCount),
      VirtualSlot(&RFpNode::GetStageCount),  VirtualSlot(&RFpNode::GetRequirementFlags),
      VirtualSlot(&RFpNode::GetReserved),    VirtualSlot(&RFpNode::GetInputRequirement),
      VirtualSlot(&RFpNode::GetNextIndex),   VirtualSlot(&RFpNode::Prepare),
      VirtualSlot(&RFpNode::Bind),           VirtualSlot(&RFpNode::Draw),
      VirtualSlot(&RFpNode::Unbind),         VirtualSlot(&RFpNode::Finish),
      VirtualSlot(&RFpNode::Reset),
  };
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], static_cast<int>(i));
}

TEST(RFpNode, TheDestructorStandsBeforeTheSetters) {
  // A destructor takes two places in the table.
  EXPECT_EQ(VirtualSlot(&RFpBlend::SetFuncRGB), VirtualSlot(&RFpNode::Reset) + 3);
}

TEST(RFpBlend, SettersAndGettersKeepTheirOrder) {
  const std::vector<int> slots = {
      VirtualSlot(&RFpBlend::SetFuncRGB),      VirtualSlot(&RFpBlend::GetFuncRGB),
      VirtualSlot(&RFpBlend::SetFuncAlpha),    VirtualSlot(&RFpBlend::GetFuncAlpha),
      VirtualSlot(&RFpBlend::SetAFactorRGB),   VirtualSlot(&RFpBlend::GetAFactorRGB),
      VirtualSlot(&RFpBlend::SetAFactorAlpha), VirtualSlot(&RFpBlend::GetAFactorAlpha),
      VirtualSlot(&RFpBlend::SetBFactorRGB),   VirtualSlot(&RFpBlend::GetBFactorRGB),
      VirtualSlot(&RFpBlend::SetBFactorAlpha), VirtualSlot(&RFpBlend::GetBFactorAlpha),
      VirtualSlot(&RFpBlend::SetColor),        VirtualSlot(&RFpBlend::GetColor),
  };
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
}

TEST(RFpCC, SettersAndGettersKeepTheirOrder) {
  EXPECT_EQ(VirtualSlot(&RFpCC::SetTransparency), VirtualSlot(&RFpNode::Reset) + 3);
  const std::vector<int> slots = {
      VirtualSlot(&RFpCC::SetTransparency),   VirtualSlot(&RFpCC::GetTransparency),
      VirtualSlot(&RFpCC::SetNegative),       VirtualSlot(&RFpCC::GetNegative),
      VirtualSlot(&RFpCC::SetBlack),          VirtualSlot(&RFpCC::GetBlack),
      VirtualSlot(&RFpCC::SetWhite),          VirtualSlot(&RFpCC::GetWhite),
      VirtualSlot(&RFpCC::SetColorPoints),    VirtualSlot(&RFpCC::GetColorPoints),
      VirtualSlot(&RFpCC::SetMidPoint),       VirtualSlot(&RFpCC::GetMidPoint),
      VirtualSlot(&RFpCC::SetGamma),          VirtualSlot(&RFpCC::GetGamma),
      VirtualSlot(&RFpCC::SetZoneHue),        VirtualSlot(&RFpCC::GetZoneHue),
      VirtualSlot(&RFpCC::SetZoneOffset),     VirtualSlot(&RFpCC::GetZoneOffset),
      VirtualSlot(&RFpCC::SetZoneGain),       VirtualSlot(&RFpCC::GetZoneGain),
      VirtualSlot(&RFpCC::SetZoneSaturation), VirtualSlot(&RFpCC::GetZoneSaturation),
  };
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
}

TEST(RFpKeyer, SettersAndGettersKeepTheirOrder) {
  EXPECT_EQ(VirtualSlot(&RFpKeyer::SetMode), VirtualSlot(&RFpNode::Reset) + 3);
  const std::vector<int> slots = {
      VirtualSlot(&RFpKeyer::SetMode),        VirtualSlot(&RFpKeyer::GetMode),
      VirtualSlot(&RFpKeyer::SetOutput),      VirtualSlot(&RFpKeyer::GetOutput),
      VirtualSlot(&RFpKeyer::SetInvertMatte), VirtualSlot(&RFpKeyer::GetInvertMatte),
      VirtualSlot(&RFpKeyer::SetKey),         VirtualSlot(&RFpKeyer::GetKey),
      VirtualSlot(&RFpKeyer::SetThreshold),   VirtualSlot(&RFpKeyer::GetThreshold),
      VirtualSlot(&RFpKeyer::SetSoftness),    VirtualSlot(&RFpKeyer::GetSoftness),
      VirtualSlot(&RFpKeyer::SetSuppression), VirtualSlot(&RFpKeyer::GetSuppression),
      VirtualSlot(&RFpKeyer::SetMask),        VirtualSlot(&RFpKeyer::GetMask),
  };
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
}

TEST(RFpNode, WhatNoVariantDoesIsDoneHere) {
  FakeNode node;
  EXPECT_EQ(node.RFpNode::GetReserved(0), 0);
  EXPECT_EQ(node.RFpNode::GetReserved(7), 0);
  node.RFpNode::Prepare(nullptr, 0, 0, 0, 0);
  node.RFpNode::Finish(nullptr, 0, 0, 0, 0);
}

TEST(RFpContext, BeginsWithTheDescriptionOfTheTarget) {
  static_assert(offsetof(RFpContext, target) == 0);
  EXPECT_EQ(offsetof(RFpPixels, bits), 0U);
  EXPECT_LT(offsetof(RFpPixels, bits), offsetof(RFpPixels, rowLength));
  EXPECT_LT(offsetof(RFpPixels, rowLength), offsetof(RFpPixels, height));
  EXPECT_LT(offsetof(RFpPixels, height), offsetof(RFpPixels, width));
  EXPECT_LT(offsetof(RFpPixels, width), offsetof(RFpPixels, glFormat));
  EXPECT_LT(offsetof(RFpPixels, glFormat), offsetof(RFpPixels, glType));
  EXPECT_EQ(RFpContext().sources.size(), 17U);
}

// Where a form reads and where it writes.
struct FormRow {
  kForm form;
  const char* source;
  const char* target;
  bool over;
};

constexpr FormRow kForms[] = {
    {kFormNothingToBuffer, "nothing", "buffer", false},
    {kFormNothingToTexture, "nothing", "texture", false},
    {kFormNothingToRaw, "nothing", "raw", false},
    {kFormBufferToBuffer, "buffer", "buffer", false},
    {kFormBufferOverBuffer, "buffer", "buffer", true},
    {kFormRectangleToBuffer, "texture", "buffer", false},
    {kFormRectangleOverBuffer, "texture", "buffer", true},
    {kFormQuadToBuffer, "texture", "buffer", false},
    {kFormQuadOverBuffer, "texture", "buffer", true},
    {kFormBufferToTexture, "buffer", "texture", false},
    {kFormRawToBuffer, "raw", "buffer", false},
    {kFormRawOverBuffer, "raw", "buffer", true},
    {kFormRawToTexture, "raw", "texture", false},
    {kFormBufferToRaw, "buffer", "raw", false},
    {kFormTextureToRaw, "texture", "raw", false},
    {kFormRawToRaw, "raw", "raw", false},
    {kFormProcessorRequest, "raw", "raw", false},
};

TEST(RFpForms, EveryMaskHoldsTheFormsThatItMeans) {
  int texture = 0, buffer = 0, raw = 0, toTexture = 0, toRaw = 0, toBuffer = 0, over = 0;
  for (const FormRow& row : kForms) {
    EXPECT_TRUE(std::has_single_bit(static_cast<unsigned>(row.form)));
    const std::string source = row.source;
    const std::string target = row.target;
    (source == "texture"  ? texture
     : source == "buffer" ? buffer
     : source == "raw"    ? raw
                          : over) |= source == "nothing" ? 0 : row.form;
    (target == "texture" ? toTexture : target == "buffer" ? toBuffer : toRaw) |= row.form;
    if (row.over) over |= row.form;
  }
  EXPECT_EQ(texture, 0x203C0);
  EXPECT_EQ(buffer, 0x10430);
  EXPECT_EQ(raw, 0xC7000);
  EXPECT_EQ(toTexture, 0x4402);
  EXPECT_EQ(toRaw, 0xF0004);
  EXPECT_EQ(toBuffer, 0x33F1);
  EXPECT_EQ(over, 0x22A0);
  EXPECT_EQ(kFormTextureMask, texture);
  EXPECT_EQ(kFormFrameBufferMask, buffer);
  EXPECT_EQ(kFormRawMask, raw);
  EXPECT_EQ(kFormGLMask, 0x307F0);
  EXPECT_EQ(kFormTextureWriteMask, toTexture);
  EXPECT_EQ(kFormRawWriteMask, toRaw);
  EXPECT_EQ(kFormFrameBufferWriteMask, toBuffer);
  EXPECT_EQ(kFormFeedbackMask, over);
  EXPECT_EQ(kFormFeedbackInputMask, over >> 1);
  EXPECT_EQ(kFormProcessorMask, 0xC0000);
  EXPECT_EQ(kFormProcessorRequest, 0x80000);
}

TEST(RFpParameter, ClampsToTheRange) {
  EXPECT_EQ(RFpClamp(0.5F, 0, 1), 0.5F);
  EXPECT_EQ(RFpClamp(-0.5F, 0, 1), 0.0F);
  EXPECT_EQ(RFpClamp(1.5F, 0, 1), 1.0F);
  EXPECT_EQ(RFpClamp(std::nanf(""), 0.25F, 4), 0.25F) << "not a number";
}

TEST(RFpParameter, CountsRealChangesOnly) {
  int held = 3;
  unsigned changes = 0xFFFFFFFF;
  EXPECT_EQ(RFpAssign(held, 3, changes), 3);
  EXPECT_EQ(changes, 0xFFFFFFFF);
  EXPECT_EQ(RFpAssign(held, -4, changes), -4);
  EXPECT_EQ(held, -4);
  EXPECT_EQ(changes, 0U) << "the count wraps";
}

}  // namespace
}  // namespace test

// Tests of plugs by themselves: what they hold and to whom they forward.
#include "operators/RImageOperatorPlug.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/OperatorFakes.h"

namespace test {
namespace {

constexpr long kIn = RImageOperator::kPlugInput;
constexpr long kOut = RImageOperator::kPlugOutput;

TEST(RImageOperatorPlug, StartsEmpty) {
  const RImageOperatorPlug plug(kOut);
  EXPECT_STREQ(plug.GetName(), "undefined");
  EXPECT_EQ(plug.GetImage(), nullptr);
  EXPECT_EQ(plug.Image(), nullptr);
  EXPECT_EQ(plug.GetInputOperator(), nullptr);
  EXPECT_TRUE(plug.IsOutputPlug());
  EXPECT_FALSE(plug.IsInputPlug());
}

TEST(RImageOperatorPlug, TakesNameAndImageAsTheyAre) {
  const auto image = MakeImage(4, 3);
  RImageOperatorPlug plug(kIn, "matte", image.get());
  EXPECT_STREQ(plug.GetName(), "matte");
  EXPECT_EQ(plug.GetImage(), image.get());
  EXPECT_EQ(image->GetReferenceCount(), 0);
  EXPECT_TRUE(plug.IsInputPlug());
  EXPECT_FALSE(plug.TestAndResetDirty());
}

TEST(RImageOperatorPlug, TheTypeBecomesTheFlagsAsItIs) {
  RImageOperatorPlug plug(3);
  EXPECT_TRUE(plug.IsOutputPlug());
  EXPECT_TRUE(plug.TestAndResetDirty()) << "bit 1 is the dirty mark";
  EXPECT_FALSE(plug.TestAndResetDirty());
  EXPECT_TRUE(plug.IsOutputPlug());
}

TEST(RImageOperatorPlug, AnotherImageMarksAndTheSameOneCleans) {
  const auto image = MakeImage(1, 1);
  RImageOperatorPlug plug(kIn);
  plug.SetImage(nullptr);
  EXPECT_FALSE(plug.TestAndResetDirty()) << "none to none";
  plug.SetImage(image.get());
  EXPECT_TRUE(plug.TestAndResetDirty());
  plug.SetDirty();
  plug.SetImage(image.get());
  EXPECT_FALSE(plug.TestAndResetDirty());
  EXPECT_EQ(image->GetReferenceCount(), 0);
}

TEST(RImageOperatorPlug, OnlyInputPlugsConnect) {
  const auto op = Make<FakeOperator>("op", nullptr);
  RImageOperatorPlug in(kIn);
  RImageOperatorPlug out(kOut);
  in.SetInputOperator(op.get());
  out.SetInputOperator(op.get());
  EXPECT_EQ(in.GetInputOperator(), op.get());
  EXPECT_EQ(out.GetInputOperator(), nullptr);
  EXPECT_FALSE(in.TestAndResetDirty());
  in.SetInputOperator(nullptr);
  EXPECT_EQ(in.GetInputOperator(), nullptr);
}

TEST(RImageOperatorPlug, ForwardsToItsOperator) {
  Log log;
  const auto op = Make<FakeOperator>("op", &log);
  op->available = 0x40;
  op->width = 12;
  op->height = 34;
  op->updateId = 56;
  const auto image = MakeImage(1, 1);
  RImageOperatorPlug plug(kIn, "in", image.get());
  plug.SetInputOperator(op.get());
  EXPECT_EQ(plug.GetWidth(), 12);
  EXPECT_EQ(plug.GetHeight(), 34);
  EXPECT_EQ(plug.GetUpdateId(), 56);
  plug.IncUpdateId();
  EXPECT_EQ(op->incremented, 1);
  EXPECT_EQ(plug.ReadTest(nullptr, 0xC0000), 0x40);
  EXPECT_EQ(plug.ReadLock(nullptr, 0x40000), 0x40000);
  EXPECT_EQ(plug.ReadBind(nullptr, 0x40000, 1, 2), 1);
  EXPECT_EQ(plug.ReadUnBind(nullptr, 0x40000, 1, 2), 1);
  EXPECT_EQ(plug.ReadUnLock(nullptr, 0x40000), 0x40000);
  EXPECT_EQ(plug.WriteUnLock(nullptr, 0x40000, 1), 0x40000);
  EXPECT_EQ(Join(log),
            "op.ReadTest(0xC0000)\n"
            "op.ReadLock(0x40000)\n"
            "op.ReadBind(0x40000, 1, 2)\n"
            "op.ReadUnBind(0x40000, 1, 2)\n"
            "op.ReadUnLock(0x40000)\n"
            "op.WriteUnLock(0x40000, 1)\n");
  EXPECT_EQ(plug.GetImage(), image.get()) << "the held image stays its own";
}

TEST(RImageOperatorPlug, WithoutImageOrOperatorEverythingFails) {
  RImageOperatorPlug plug(kIn);
  EXPECT_EQ(plug.GetWidth(), 0);
  EXPECT_EQ(plug.GetHeight(), 0);
  EXPECT_EQ(plug.GetUpdateId(), 0);
  plug.IncUpdateId();
  RFpContext context;
  EXPECT_EQ(plug.ReadTest(&context, 0x40000), 0);
  EXPECT_EQ(plug.ReadLock(&context, 0x40000), 0);
  EXPECT_EQ(plug.ReadBind(&context, 0x40000, 0, 1), 0);
  EXPECT_EQ(plug.ReadUnBind(&context, 0x40000, 0, 1), 0);
  EXPECT_EQ(plug.ReadUnLock(&context, 0x40000), 0);
  EXPECT_EQ(plug.WriteLock(&context, 0x40000, 4, 4), 0);
  EXPECT_EQ(plug.WriteBind(&context, 0x40000), 0);
  EXPECT_EQ(plug.WriteUnBind(&context, 0x40000), 0);
  EXPECT_EQ(plug.WriteUnLock(&context, 0x40000, 1), 0);
}

TEST(RImageOperatorPlug, AMemoryImageIsThereAsMemory) {
  const auto image = MakeImage(5, 4);
  RImageOperatorPlug plug(kIn, "in", image.get());
  EXPECT_EQ(plug.ReadTest(nullptr, 0x40), 0xC7000);
  EXPECT_EQ(plug.ReadLock(nullptr, 0x40000), 0x40000);
  EXPECT_EQ(plug.ReadLock(nullptr, 0xC7000), 0xC7000);
  EXPECT_EQ(plug.ReadLock(nullptr, 0x80003), 0x80000) << "only what it can be";
  EXPECT_EQ(plug.ReadLock(nullptr, 0), 0);
  EXPECT_EQ(plug.ReadLock(nullptr, 0x40), 0) << "no texture without a context";
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(plug.ReadUnLock(nullptr, 0x40000), 0x40000);
}

struct FormatRow {
  const char* name;
  kImageFormat format;
  int glFormat;
};

class PlugDescription : public testing::TestWithParam<FormatRow> {};

TEST_P(PlugDescription, OfABoundImageIsInTheContext) {
  const auto image = MakeImage(6, 3, {}, GetParam().format);
  RImageOperatorPlug plug(kIn, "in", image.get());
  for (const int form : {0x1000, 0x2000, 0x4000, 0x40000, 0x80000}) {
    RFpContext context;
    EXPECT_EQ(plug.ReadBind(&context, form, 2, 3), 1);
    for (const RFpPixels& pixels : {context.target, context.sources[2]}) {
      EXPECT_EQ(pixels.bits, image->GetImageBits());
      EXPECT_EQ(pixels.rowLength, 6);
      EXPECT_EQ(pixels.height, 3);
      EXPECT_EQ(pixels.width, 6);
      EXPECT_EQ(pixels.glFormat, GetParam().glFormat);
      EXPECT_EQ(pixels.glType, 0x1401U);
    }
    EXPECT_EQ(context.sources[0].bits, nullptr);
    EXPECT_EQ(plug.ReadUnBind(&context, form, 2, 3), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, PlugDescription,
                         testing::Values(FormatRow{"Undefined", kImageFormatUndefined, -1},
                                         FormatRow{"RGBA", kImageFormatRGBA, 0x1908},
                                         FormatRow{"RGB", kImageFormatRGB, 0x1907},
                                         FormatRow{"BGRA", kImageFormatBGRA, 0x80E1},
                                         FormatRow{"ARGB", kImageFormatARGB, 0x1908}),
                         [](const auto& row) { return row.param.name; });

TEST(RImageOperatorPlug, OtherFormsBindNothing) {
  const auto image = MakeImage(6, 3);
  RImageOperatorPlug plug(kIn, "in", image.get());
  for (const int form : {0x0, 0x1, 0x2, 0x4, 0x10, 0x20, 0x400, 0x10000, 0x20000}) {
    RFpContext context;
    EXPECT_EQ(plug.ReadBind(&context, form, 0, 1), 1);
    EXPECT_EQ(context.target.bits, nullptr);
    EXPECT_EQ(context.target.width, 0);
    EXPECT_EQ(plug.ReadUnBind(&context, form, 0, 1), 1);
  }
}

TEST(RImageOperatorPlug, UnitsBeyondTheContextAreNotRemembered) {
  const auto image = MakeImage(2, 2);
  RImageOperatorPlug plug(kIn, "in", image.get());
  RFpContext context;
  EXPECT_EQ(plug.ReadBind(&context, 0x40000, 17, 18), 1);
  EXPECT_EQ(plug.ReadBind(&context, 0x40000, -1, 1), 1);
  EXPECT_EQ(context.target.bits, image->GetImageBits());
  EXPECT_EQ(plug.ReadBind(nullptr, 0x40000, 0, 1), 1) << "without a context there is nothing to fill";
}

TEST(RImageOperatorPlug, TheWriteLockMakesAnRgbaImageOfTheSize) {
  const auto image = MakeImage(2, 2, {}, kImageFormatRGB);
  RImageOperatorPlug plug(kOut, "out", image.get());
  EXPECT_EQ(plug.WriteLock(nullptr, 0x40000, 5, 4), 1);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_EQ(image->GetHeight(), 4);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
}

struct MisfitRow {
  const char* name;
  kImageFormat format;
  int width;
  int height;
};

class PlugMisfit : public testing::TestWithParam<MisfitRow> {};

TEST_P(PlugMisfit, OfOneKindIsEnoughToMakeTheImageAnew) {
  const MisfitRow& row = GetParam();
  const auto image = MakeImage(row.width, row.height, {}, row.format);
  RImageOperatorPlug plug(kOut, "out", image.get());
  EXPECT_EQ(plug.WriteLock(nullptr, 0x40000, 5, 4), 1);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_EQ(image->GetHeight(), 4);
  EXPECT_EQ(image->GetPixelSize(), 4);
  EXPECT_TRUE(image->HoldsPixels(1));
}

INSTANTIATE_TEST_SUITE_P(Kinds, PlugMisfit,
                         testing::Values(MisfitRow{"Format", kImageFormatRGB, 5, 4},
                                         MisfitRow{"Order", kImageFormatBGRA, 5, 4},
                                         MisfitRow{"Width", kImageFormatRGBA, 6, 4},
                                         MisfitRow{"Height", kImageFormatRGBA, 5, 3}),
                         [](const auto& row) { return row.param.name; });

TEST(RImageOperatorPlug, TheWriteLockOfAFittingImageCountsAnUpdate) {
  const auto image = MakeImage(5, 4);
  RImageOperatorPlug plug(kOut, "out", image.get());
  const unsigned char* const bits = image->GetImageBits();
  const int before = image->GetUpdateId();
  for (const int form : {0x4, 0x10000, 0x20000, 0x40000, 0x80000})
    EXPECT_EQ(plug.WriteLock(nullptr, form, 5, 4), 1);
  EXPECT_EQ(image->GetUpdateId(), before + 5);
  EXPECT_EQ(image->GetImageBits(), bits);
}

TEST(RImageOperatorPlug, TheWriteLockFails) {
  const auto image = MakeImage(5, 4);
  RImageOperatorPlug plug(kOut, "out", image.get());
  EXPECT_EQ(plug.WriteLock(nullptr, 0, 5, 4), 0) << "a form that writes nothing";
  EXPECT_EQ(plug.WriteLock(nullptr, 0x8, 5, 4), 0);
  EXPECT_EQ(plug.WriteLock(nullptr, 0x40, 5, 4), 0) << "no texture without a context";
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(plug.WriteLock(nullptr, 0x40000, 0x7FFFFFFF, 2), 0) << "more bytes than an image has";
  EXPECT_EQ(plug.WriteLock(nullptr, 0x40000, -1, 2), 0);
}

TEST(RImageOperatorPlug, BindingForWritingDescribesTheTarget) {
  const auto image = MakeImage(5, 4);
  RImageOperatorPlug plug(kOut, "out", image.get());
  RFpContext context;
  EXPECT_EQ(plug.WriteBind(&context, 0x40000), 0x40000);
  EXPECT_EQ(context.target.bits, image->GetImageBits());
  EXPECT_EQ(context.target.rowLength, 5);
  EXPECT_EQ(context.target.height, 4);
  EXPECT_EQ(context.target.width, 5);
  EXPECT_EQ(context.target.glFormat, 0x1908);
  EXPECT_EQ(context.target.glType, 0x1401U);
  EXPECT_EQ(context.sources[0].bits, nullptr);
  EXPECT_EQ(plug.WriteUnBind(&context, 0x40000), 0x40000);
  EXPECT_EQ(plug.WriteBind(nullptr, 0x40000), 0x40000);
}

TEST(RImageOperatorPlug, UnlockingAWriteCountsAnUpdate) {
  const auto image = MakeImage(5, 4);
  RImageOperatorPlug plug(kOut, "out", image.get());
  const int before = image->GetUpdateId();
  EXPECT_EQ(plug.WriteUnLock(nullptr, 0x40000, 1), 0x40000);
  EXPECT_EQ(plug.WriteUnLock(nullptr, 0x40000, 0), 0x40000);
  EXPECT_EQ(image->GetUpdateId(), before + 2);
}

// A class whose own functions come behind those of the plug.
class LargerPlug : public RImageOperatorPlug {
 public:
  using RImageOperatorPlug::RImageOperatorPlug;
  virtual void Last() {}
};

TEST(RImageOperatorPlug, TheDestructorStandsLast) {
  // A destructor takes two places in the table.
  EXPECT_EQ(VirtualSlot(&LargerPlug::Last), VirtualSlot(&RImageOperatorPlug::GetHeight) + 3);
}

TEST(RImageOperatorPlug, VirtualFunctionsKeepTheirOrder) {
  using Plug = RImageOperatorPlug;
  const std::vector<int> slots = {
      VirtualSlot(&Plug::GetImage),   VirtualSlot(&Plug::GetUpdateId), VirtualSlot(&Plug::IncUpdateId),
      VirtualSlot(&Plug::ReadTest),   VirtualSlot(&Plug::ReadLock),    VirtualSlot(&Plug::ReadBind),
      VirtualSlot(&Plug::ReadUnBind), VirtualSlot(&Plug::ReadUnLock),  VirtualSlot(&Plug::WriteLock),
      VirtualSlot(&Plug::WriteBind),  VirtualSlot(&Plug::WriteUnBind), VirtualSlot(&Plug::WriteUnLock),
      VirtualSlot(&Plug::GetWidth),   VirtualSlot(&Plug::GetHeight),
  };
  EXPECT_THAT(slots, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

}  // namespace
}  // namespace test

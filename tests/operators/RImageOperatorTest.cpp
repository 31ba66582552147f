// Tests of image operators' plugs, update ids and identity.
#include "operators/RImageOperator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/OperatorFakes.h"

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;

// Remembers that it was destroyed.
class WatchedImage : public RImage {
 public:
  explicit WatchedImage(int& destroyed) : mDestroyed(destroyed) {}
  ~WatchedImage() override { ++mDestroyed; }

 private:
  int& mDestroyed;
};

TEST(RImageOperator, StartsWithItsNameAndOneOutput) {
  const auto op = Make<RImageOperator>("glow", true);
  EXPECT_STREQ(op->GetName(), "glow");
  EXPECT_STREQ(op->ArcGetObjectId(), "glow");
  EXPECT_EQ(op->GetNbPlugs(kIn), 0);
  ASSERT_EQ(op->GetNbPlugs(kOut), 1);
  EXPECT_STREQ(op->GetPlugName(0, kOut), "OUT_0");
  EXPECT_EQ(op->GetPlugImage(0, kOut), nullptr);
  EXPECT_FALSE(op->IsPlugDirty(0, kOut));
  EXPECT_EQ(op->OperatorType(), 0);
  EXPECT_EQ(op->Clone(), nullptr);
  EXPECT_TRUE(op->IsAnimatableProperty(nullptr));
}

TEST(RImageOperator, WithoutAnOutputHasNoPlugs) {
  const auto op = Make<RImageOperator>("none", false);
  EXPECT_EQ(op->GetNbPlugs(kOut), 0);
  EXPECT_EQ(op->GetNbPlugs(kIn), 0);
  EXPECT_EQ(op->GetWidth(), 0);
  EXPECT_EQ(op->GetHeight(), 0);
}

TEST(RImageOperator, OperatorTypesAreFixed) {
  EXPECT_EQ(RImageOperator::kPlugInput, 0);
  EXPECT_EQ(RImageOperator::kPlugOutput, 1);
  EXPECT_EQ(RImageOperator::kOperatorBase, 0);
  EXPECT_EQ(RImageOperator::kOperatorEffect, 3);
}

TEST(RImageOperator, SizeIsThatOfTheOutputImage) {
  const auto op = Make<RImageOperator>("size", true);
  PutImage(*op, 0, MakeImage(7, 5), kOut);
  EXPECT_EQ(op->GetWidth(), 7);
  EXPECT_EQ(op->GetHeight(), 5);
}

struct BadIndex {
  const char* name;
  int index;
};

class BadPlugIndex : public testing::TestWithParam<BadIndex> {};

TEST_P(BadPlugIndex, IsRefusedByEveryCall) {
  const int index = GetParam().index;
  const auto op = Make<NodeOperator>(2);
  const auto image = MakeImage(1, 1);
  for (const auto type : {kIn, kOut}) {
    EXPECT_STREQ(op->GetPlugName(index, type), "Error");
    EXPECT_EQ(&op->GetPlugName(index, type), &op->GetPlugName(index - 1 < 0 ? index : index + 1, type));
    EXPECT_EQ(op->SetPlugName(index, type, "x"), -1);
    EXPECT_EQ(op->GetPlugImage(index, type), nullptr);
    EXPECT_EQ(op->SetPlugImage(index, type, image.get()), -1);
    EXPECT_EQ(image->GetReferenceCount(), 0);
    EXPECT_EQ(op->GrabPlugImage(index, type), nullptr);
    EXPECT_EQ(op->GetPlugInputOperator(index, type), nullptr);
    EXPECT_EQ(op->SetPlugInputOperator(index, type, op.get()), -1);
    EXPECT_EQ(op->GetPlugImageProvider(index, type), nullptr);
    op->SetPlugDirty(index, type);
    EXPECT_FALSE(op->IsPlugDirty(index, type));
  }
}

INSTANTIATE_TEST_SUITE_P(Indices, BadPlugIndex,
                         testing::Values(BadIndex{"Negative", -1}, BadIndex{"JustBeyond", 2},
                                         BadIndex{"FarBeyond", 5}, BadIndex{"Largest", 0x7FFFFFFE},
                                         BadIndex{"Smallest", -0x7FFFFFFF}),
                         [](const auto& row) { return row.param.name; });

TEST(RImageOperator, PlugNamesCanBeChanged) {
  const auto op = Make<NodeOperator>(2);
  EXPECT_EQ(op->SetPlugName(1, kIn, "mask"), 0);
  EXPECT_STREQ(op->GetPlugName(0, kIn), "IN_0");
  EXPECT_STREQ(op->GetPlugName(1, kIn), "mask");
  EXPECT_EQ(op->SetPlugName(1, kIn, op->GetPlugName(1, kIn)), 0);
  EXPECT_STREQ(op->GetPlugName(1, kIn), "mask");
}

TEST(RImageOperator, SettingAnImageTakesAReferenceAndMarksThePlug) {
  const auto op = Make<NodeOperator>(1);
  RImage* const image = PutImage(*op, 0, MakeImage(1, 1));
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_EQ(op->GetPlugImage(0, kIn), image);
  EXPECT_TRUE(op->IsPlugDirty(0, kIn));
}

TEST(RImageOperator, SettingTheImageThatIsThereChangesNothing) {
  const auto op = Make<NodeOperator>(1);
  RImage* const image = PutImage(*op, 0, MakeImage(1, 1));
  op->SetPlugDirty(0, kIn);
  EXPECT_EQ(op->SetPlugImage(0, kIn, image), 0);
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_TRUE(op->IsPlugDirty(0, kIn)) << "the mark stays on";
  EXPECT_EQ(op->SetPlugImage(0, kIn, image), 0);
  EXPECT_FALSE(op->IsPlugDirty(0, kIn)) << "the mark stays off";
}

TEST(RImageOperator, ReplacingTheLastReferenceDestroysTheImage) {
  int destroyed = 0;
  const auto op = Make<NodeOperator>(1);
  op->SetPlugImage(0, kIn, new WatchedImage(destroyed));
  EXPECT_EQ(op->SetPlugImage(0, kIn, nullptr), 0);
  EXPECT_EQ(destroyed, 1);
  EXPECT_TRUE(op->IsPlugDirty(0, kIn));
}

TEST(RImageOperator, ReplacingOneOfTwoReferencesKeepsTheImage) {
  int destroyed = 0;
  const auto op = Make<NodeOperator>(2);
  auto* const image = new WatchedImage(destroyed);
  op->SetPlugImage(0, kIn, image);
  op->SetPlugImage(1, kIn, image);
  EXPECT_EQ(image->GetReferenceCount(), 2);
  op->SetPlugImage(0, kIn, nullptr);
  EXPECT_EQ(destroyed, 0);
  op->SetPlugImage(1, kIn, nullptr);
  EXPECT_EQ(destroyed, 1);
}

TEST(RImageOperator, GrabbingNeverDestroys) {
  int destroyed = 0;
  const auto op = Make<NodeOperator>(1);
  op->SetPlugImage(0, kIn, new WatchedImage(destroyed));
  op->IsPlugDirty(0, kIn);
  const ImagePtr grabbed(op->GrabPlugImage(0, kIn));
  ASSERT_NE(grabbed, nullptr);
  EXPECT_EQ(grabbed->GetReferenceCount(), 0);
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(op->GetPlugImage(0, kIn), nullptr);
  EXPECT_TRUE(op->IsPlugDirty(0, kIn)) << "another image than before";
}

TEST(RImageOperator, GrabbingFromAnEmptyPlugTakesTheMarkAway) {
  const auto op = Make<NodeOperator>(1);
  op->SetPlugDirty(0, kIn);
  EXPECT_EQ(op->GrabPlugImage(0, kIn), nullptr);
  EXPECT_FALSE(op->IsPlugDirty(0, kIn)) << "the same image as before: none";
}

TEST(RImageOperator, AskingWhetherAPlugIsDirtyCleansIt) {
  const auto op = Make<NodeOperator>(1);
  op->SetPlugDirty(0, kIn);
  EXPECT_TRUE(op->IsPlugDirty(0, kIn));
  EXPECT_FALSE(op->IsPlugDirty(0, kIn));
}

TEST(RImageOperator, InputPlugsConnectAndOutputPlugsDoNot) {
  const auto upstream = Make<NodeOperator>(0);
  const auto op = Make<NodeOperator>(1);
  EXPECT_EQ(op->SetPlugInputOperator(0, kIn, upstream.get()), 0);
  EXPECT_EQ(op->GetPlugInputOperator(0, kIn), upstream.get());
  EXPECT_FALSE(op->IsPlugDirty(0, kIn));
  EXPECT_EQ(op->SetPlugInputOperator(0, kOut, upstream.get()), 0);
  EXPECT_EQ(op->GetPlugInputOperator(0, kOut), nullptr);
  EXPECT_EQ(op->SetPlugInputOperator(0, kIn, nullptr), 0);
  EXPECT_EQ(op->GetPlugInputOperator(0, kIn), nullptr);
}

TEST(RImageOperator, TheProviderOfAPlugIsThePlug) {
  const auto op = Make<NodeOperator>(2);
  RImage* const image = PutImage(*op, 1, MakeImage(3, 2));
  IImageProvider* const provider = op->GetPlugImageProvider(1, kIn);
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->GetImage(), image);
  EXPECT_EQ(provider->GetWidth(), 3);
  EXPECT_EQ(provider->GetHeight(), 2);
}

TEST(RImageOperator, ClearingPlugsReleasesTheirImages) {
  int destroyed = 0;
  const auto op = Make<NodeOperator>(3);
  const auto kept = MakeImage(1, 1);
  kept->IncReferenceCount();
  op->SetPlugImage(0, kIn, new WatchedImage(destroyed));
  op->SetPlugImage(1, kIn, kept.get());
  op->SetPlugImage(0, kOut, new WatchedImage(destroyed));
  op->ClearPlugs(kIn);
  EXPECT_EQ(op->GetNbPlugs(kIn), 0);
  EXPECT_EQ(op->GetNbPlugs(kOut), 1);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(kept->GetReferenceCount(), 1);
  op->ClearAllPlugs();
  EXPECT_EQ(op->GetNbPlugs(kOut), 0);
  EXPECT_EQ(destroyed, 2);
}

TEST(RImageOperator, DestructionReleasesImagesOnce) {
  int destroyed = 0;
  {
    const auto op = Make<NodeOperator>(1);
    op->SetPlugImage(0, kIn, new WatchedImage(destroyed));
  }
  EXPECT_EQ(destroyed, 1);
  NodeOperator embedded(1);
  embedded.SetDeletable(false);
  embedded.SetPlugImage(0, kIn, new WatchedImage(destroyed));
  embedded.Destroy(0);
  EXPECT_EQ(destroyed, 2);
  EXPECT_EQ(embedded.GetNbPlugs(kIn), 0);
}

TEST(RImageOperator, UpdateIdAddsUpTheNodeAndAllThatIsUpstream) {
  const auto far = Make<NodeOperator>(0, std::make_unique<FakeNode>());
  const auto left = Make<NodeOperator>(1, std::make_unique<FakeNode>());
  const auto right = Make<NodeOperator>(1, std::make_unique<FakeNode>());
  const auto op = Make<NodeOperator>(3, std::make_unique<FakeNode>());
  EXPECT_EQ(op->GetUpdateId(), 0);
  far->Node().changes = 1000;
  left->Node().changes = 100;
  right->Node().changes = 10;
  op->Node().changes = 1;
  left->SetPlugInputOperator(0, kIn, far.get());
  right->SetPlugInputOperator(0, kIn, far.get());
  op->SetPlugInputOperator(0, kIn, left.get());
  op->SetPlugInputOperator(2, kIn, right.get());
  EXPECT_EQ(op->GetUpdateId(), 2111) << "an operator counts once for each way to it";
  op->IncUpdateId();
  far->IncUpdateId();
  EXPECT_EQ(op->GetUpdateId(), 2111) << "the operators' own counters take no part";
}

TEST(RImageOperator, UpdateIdOfAnOperatorWithoutNodeIsThatOfItsInputs) {
  const auto upstream = Make<NodeOperator>(0, std::make_unique<FakeNode>());
  upstream->Node().changes = 5;
  const auto op = Make<NodeOperator>(1);
  EXPECT_EQ(op->GetUpdateId(), 0);
  op->SetPlugInputOperator(0, kIn, upstream.get());
  EXPECT_EQ(op->GetUpdateId(), 5);
}

TEST(RImageOperator, ACycleCountsEachOperatorOnce) {
  const auto first = Make<NodeOperator>(1, std::make_unique<FakeNode>());
  const auto second = Make<NodeOperator>(2, std::make_unique<FakeNode>());
  first->Node().changes = 1;
  second->Node().changes = 10;
  first->SetPlugInputOperator(0, kIn, second.get());
  second->SetPlugInputOperator(0, kIn, first.get());
  second->SetPlugInputOperator(1, kIn, second.get());
  EXPECT_EQ(first->GetUpdateId(), 11);
  EXPECT_EQ(second->GetUpdateId(), 11);
}

TEST(RImageOperator, ManyWaysThroughAGraphAreAddedUpInNoTime) {
  std::vector<RDestroyPtr<NodeOperator>> chain;
  chain.push_back(Make<NodeOperator>(0, std::make_unique<FakeNode>()));
  chain[0]->Node().changes = 1;
  for (int i = 1; i <= 40; ++i) {
    chain.push_back(Make<NodeOperator>(2, std::make_unique<FakeNode>()));
    for (const int plug : {0, 1})
      chain.back()->SetPlugInputOperator(plug, kIn, chain[chain.size() - 2].get());
  }
  EXPECT_EQ(chain[30]->GetUpdateId(), 1 << 30);
  EXPECT_EQ(chain[40]->GetUpdateId(), 0) << "2^40 in 32 bits";
}

TEST(RImageOperator, DrawingTheResultLocksAndUnlocksIt) {
  Log log;
  const auto op = Make<FakeOperator>("A", &log);
  EXPECT_TRUE(op->ImageTextureDrawCurrent(0x10430));
  EXPECT_EQ(Join(log), "A.ReadLock(0x10430)\nA.ReadUnLock(0x10430)\n");
  log.clear();
  op->lockFails = true;
  EXPECT_FALSE(op->ImageTextureDrawCurrent(0x40));
  EXPECT_EQ(Join(log), "A.ReadLock(0x40)\n");
}

TEST(RImageOperator, AnswersItsInterfaces) {
  const auto op = Make<RImageOperator>("faces", true);
  EXPECT_EQ(op->IQuery(1001, 0), static_cast<IObject*>(static_cast<IArcStorable*>(op.get())));
  EXPECT_EQ(op->IQuery(0, 0), static_cast<IObject*>(static_cast<RObject*>(op.get())));
  EXPECT_EQ(op->IQuery(1002, 0), nullptr);
}

TEST(RImageOperator, IsInTheClassTree) {
  const auto op = Make<RImageOperator>("class", true);
  EXPECT_STREQ(op->GetClassIdName(), "RImageOperator");
  EXPECT_STREQ(RImageOperator::ClassName, "RImageOperator");
  EXPECT_EQ(RImageOperator::ClassDefinition.GetParent(), &RObject::ClassDefinition);
  EXPECT_TRUE(op->Is(RObject::ClassId));
  EXPECT_TRUE(op->Is(RImageOperator::ClassId));
  EXPECT_FALSE(op->Is(RImage::ClassId));
  EXPECT_EQ(op->GetClassGroupId(), 0);
  EXPECT_STREQ(op->GetClassGroupName(), "Object");
  EXPECT_EQ(op->GetClassSize(), static_cast<int>(sizeof(RImageOperator)));
}

TEST(RImageOperator, VirtualFunctionsKeepTheirOrder) {
  using Op = RImageOperator;
  const std::vector<int> slots = {
      VirtualSlot(&Op::ReadTest),
      VirtualSlot(&Op::ReadLock),
      VirtualSlot(&Op::ReadBind),
      VirtualSlot(&Op::ReadUnBind),
      VirtualSlot(&Op::ReadUnLock),
      VirtualSlot(&Op::WriteLock),
      VirtualSlot(&Op::WriteUnLock),
      VirtualSlot(&Op::GetWidth),
      VirtualSlot(&Op::GetHeight),
      VirtualSlot(&Op::ImageTextureGetObject),
      VirtualSlot(&Op::ImageTextureDrawCurrent),
      VirtualSlot(&Op::ImageDetachTextureObject),
      VirtualSlot(&Op::GetUpdateId),
      VirtualSlot(&Op::IncUpdateId),
      VirtualSlot(&Op::OperatorType),
      VirtualSlot(&Op::Clone),
      VirtualSlot(&Op::IsAnimatableProperty),
      VirtualSlot(&Op::SetPlugDirty),
      VirtualSlot(&Op::SetPlugName),
      VirtualSlot(&Op::SetPlugImage),
      VirtualSlot(&Op::GetPlugInputOperator),
      VirtualSlot(&Op::SetPlugInputOperator),
      VirtualSlot(&Op::GetPlugImageProvider),
  };
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
  EXPECT_GT(slots.front(), VirtualSlot(&RImageOperator::FastFindPropertyByName)) << "after those of RObject";
}

TEST(RImageOperator, TheStorableFaceKeepsItsOrder) {
  EXPECT_EQ(VirtualSlot(&IObject::IQuery), 0);
  EXPECT_EQ(VirtualSlot(&IArcStorable::ArcGetObjectId), 1);
  EXPECT_EQ(VirtualSlot(&IArcStorable::ArcGetObjectType), 2);
  EXPECT_EQ(VirtualSlot(&IArcStorable::ArcGetObjectSubType), 3);
  EXPECT_EQ(VirtualSlot(&IArcStorable::ArcStore), 4);
  EXPECT_EQ(VirtualSlot(&IArcStorable::ArcRetrieve), 5);
}

}  // namespace
}  // namespace test

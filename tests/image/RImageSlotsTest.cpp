// The order of the image record's virtual functions is an interface: classes compiled elsewhere override them
// by slot.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "image/RImage.h"

namespace {

// Returns the slot of a virtual function, counted from the start of the table. A pointer to a member function
// holds the offset in the table plus one (x86-64), or marks a virtual function in its second word (AArch64).
template <class Function>
std::ptrdiff_t SlotOf(Function function) {
  static_assert(std::is_member_function_pointer_v<Function>);
  std::ptrdiff_t words[2];
  static_assert(sizeof function == sizeof words);
  std::memcpy(words, &function, sizeof words);
#if defined(__aarch64__)
  EXPECT_EQ(words[1] & 1, 1) << "not virtual";
  return words[0] / static_cast<std::ptrdiff_t>(sizeof(void*));
#else
  EXPECT_EQ(words[0] & 1, 1) << "not virtual";
  EXPECT_EQ(words[1], 0);
  return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
#endif
}

TEST(RImageSlotsTest, OperationsFollowEachOtherInTheOrderThatDerivedClassesRelyOn) {
  using SetConverted = bool (RImage::*)(unsigned char*, kImageFormat);
  using SetSame = bool (RImage::*)(unsigned char*);
  const std::ptrdiff_t slots[] = {
      SlotOf(&RImage::SetFormat),
      SlotOf(&RImage::GetFormat),
      SlotOf(&RImage::GetImageType),
      SlotOf(&RImage::GetInterleaveType),
      SlotOf(&RImage::GetInterpolationType),
      SlotOf(&RImage::GetHeight),
      SlotOf(&RImage::GetWidth),
      SlotOf(&RImage::GetDepth),
      SlotOf(&RImage::SetHeight),
      SlotOf(&RImage::SetWidth),
      SlotOf(&RImage::SetDepth),
      SlotOf(&RImage::SetPadWidth),
      SlotOf(&RImage::GetPadWidth),
      SlotOf(&RImage::GetPixelSize),
      SlotOf(&RImage::Clone),
      SlotOf(&RImage::CloneFromType),
      SlotOf(&RImage::MergeAlphaChannel),
      SlotOf(&RImage::CreateFromAlphaChannel),
      SlotOf(&RImage::SetCapabilities),
      SlotOf(&RImage::Premultiply),
      SlotOf(&RImage::RemovePremultiply),
      SlotOf(&RImage::ConvertFormat),
      SlotOf(&RImage::ConvertSize),
      SlotOf(&RImage::ConvertToSquare),
      SlotOf(&RImage::ApplyAlpha),
      SlotOf(&RImage::Init),
      SlotOf(&RImage::Clear),
      SlotOf(&RImage::Cleanup),
      SlotOf(&RImage::GetImageBits),
      SlotOf(static_cast<SetConverted>(&RImage::SetImageBits)),
      SlotOf(static_cast<SetSame>(&RImage::SetImageBits)),
      SlotOf(&RImage::GetTextureID),
      SlotOf(&RImage::SetTextureID),
      SlotOf(&RImage::RequestIncarnation),
      SlotOf(&RImage::RequestGLIncarnation),
      SlotOf(&RImage::RequestRawIncarnation),
      SlotOf(&RImage::GetIncarnation),
  };
  EXPECT_EQ(std::size(slots), 37U);
  for (std::size_t i = 1; i < std::size(slots); ++i)
    EXPECT_EQ(slots[i], slots[0] + static_cast<std::ptrdiff_t>(i)) << i;
}

TEST(RImageSlotsTest, OverridesKeepTheSlotsOfTheHostsBase) {
  EXPECT_EQ(SlotOf(&RImage::Destruct), SlotOf(&RObject::Destruct));
  EXPECT_EQ(SlotOf(&RImage::Destroy), SlotOf(&RObject::Destroy));
  EXPECT_EQ(SlotOf(&RImage::Is), SlotOf(&RObject::Is));
  EXPECT_LT(SlotOf(&RObject::Is), SlotOf(&RImage::SetFormat));
}

}  // namespace

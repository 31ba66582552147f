// What the image record does when memory runs out: the allocator of this program fails on demand.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "support/ImageProbe.h"

namespace {

// How many more allocations of a kind succeed; negative: all.
int gPixelAllocationsLeft = -1;
int gObjectAllocationsLeft = -1;

bool Take(int& left) {
  if (left == 0) return false;
  if (left > 0) --left;
  return true;
}

}  // namespace

// Pixel buffers come from here.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Take(gPixelAllocationsLeft) ? std::malloc(size) : nullptr;
}
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

// Records come from here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Take(gObjectAllocationsLeft) ? std::malloc(size) : nullptr;
}

// The rest: bookkeeping, as of shared buffers.
void* operator new(std::size_t size) {
  void* memory = Take(gObjectAllocationsLeft) ? std::malloc(size) : nullptr;
  if (!memory) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace {

using test::InitFrame;
using test::MakeNoiseImage;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

class PixelFailure {
 public:
  explicit PixelFailure(int successes = 0) { gPixelAllocationsLeft = successes; }
  ~PixelFailure() { gPixelAllocationsLeft = -1; }
  PixelFailure(const PixelFailure&) = delete;
  PixelFailure& operator=(const PixelFailure&) = delete;
};

class ObjectFailure {
 public:
  explicit ObjectFailure(int successes = 0) { gObjectAllocationsLeft = successes; }
  ~ObjectFailure() { gObjectAllocationsLeft = -1; }
  ObjectFailure(const ObjectFailure&) = delete;
  ObjectFailure& operator=(const ObjectFailure&) = delete;
};

TEST(RImageAllocationTest, RImageCreateReturnsNull) {
  RImage* image = nullptr;
  {
    const ObjectFailure failure;
    image = RImageCreate();
  }
  EXPECT_EQ(image, nullptr);
}

TEST(RImageAllocationTest, BufferBookkeepingFailureIsNull) {
  RPixelBuffer buffer;
  {
    const ObjectFailure failure;
    const ProbePtr none;
    buffer.reset();
  }
  const ProbePtr image(new ProbeImage);
  bool made = true;
  {
    const ObjectFailure failure;
    made = image->Init(kImageFormatRGBA, 4, 4, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                       kInterpolationNone, RImage::kIncarnationRaw);
  }
  EXPECT_FALSE(made);
  EXPECT_EQ(image->GetImageBits(), nullptr);
}

TEST(RImageAllocationTest, InitFailsWithoutBuffer) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  {
    const PixelFailure failure;
    EXPECT_FALSE(InitFrame(*image, kImageFormatRGBA, 64, 64));
  }
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_EQ(image->mAllocatedSize, 0);
  EXPECT_EQ(image->GetWidth(), 64) << "the description stays";
  EXPECT_TRUE(InitFrame(*image, kImageFormatRGBA, 64, 64));
}

TEST(RImageAllocationTest, SettersStoreAndUpdateAllTheSame) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const int updates = image->GetUpdateId();
  {
    const PixelFailure failure;
    EXPECT_EQ(image->SetWidth(100), 100);
  }
  EXPECT_EQ(image->GetUpdateId(), updates + 2) << "the old buffer went, and the width changed";
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_EQ(image->GetImageBitsAtDepth(0), nullptr);
}

TEST(RImageAllocationTest, FailedOperationsLeaveTheImage) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  const unsigned char fill[4] = {};
  {
    const PixelFailure failure;
    EXPECT_FALSE(image->ConvertFormat(kImageFormatRGB));
    EXPECT_FALSE(image->ConvertSize(8, 8));
    EXPECT_FALSE(image->ConvertSize(3, 3));
    EXPECT_FALSE(image->ConvertToSquare(fill));
    EXPECT_FALSE(image->ImageTranslate(image.get(), 1, 1, true, false));
    EXPECT_EQ(image->CreateFromAlphaChannel(false), nullptr);
    EXPECT_EQ(image->MergeAlphaChannel(image.get()), nullptr);
    EXPECT_EQ(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone), nullptr);
  }
  EXPECT_EQ(PixelsOf(*image), before);
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
}

TEST(RImageAllocationTest, ResamplingFailsWithoutItsColumnTable) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const Pixels before = PixelsOf(*image);
  {
    const PixelFailure failure(1);  // the new picture, but not the table
    EXPECT_FALSE(image->ConvertSize(3, 3));
  }
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(RImageAllocationTest, FailedRecordsOfNewImagesAreNull) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  RImage* results[4];
  {
    const ObjectFailure failure;
    results[0] = image->Clone();
    results[1] = image->CreateFromAlphaChannel(false);
    results[2] = image->MergeAlphaChannel(image.get());
    results[3] = image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone);
  }
  for (const RImage* result : results) EXPECT_EQ(result, nullptr);
}

TEST(RImageAllocationTest, CloneWithoutMemoryHasNoPixels) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  test::ImagePtr clone;
  {
    const PixelFailure failure;
    clone.reset(image->Clone());
  }
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->GetImageBits(), nullptr);
  EXPECT_EQ(clone->GetWidth(), 4);
}

}  // namespace

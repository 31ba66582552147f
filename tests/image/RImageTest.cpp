// Tests of the image record: description, storage, copies, counters.
#include "image/RImage.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <array>
#include <climits>
#include <cstring>

#include "support/ImageProbe.h"

namespace {

using test::BytesPerPixel;
using test::ImagePtr;
using test::InitFrame;
using test::kAllFormats;
using test::MakeImage;
using test::MakeNoiseImage;
using test::NoisePixels;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

constexpr auto kRaw = RImage::kIncarnationRaw;
constexpr auto kGL = RImage::kIncarnationGL;
constexpr auto kNoIncarnation = static_cast<RImage::kIncarnationType>(2);

// --- The new record.

TEST(RImageTest, FreshRecordIsEmpty) {
  const ProbePtr image(new ProbeImage);
  EXPECT_EQ(image->GetWidth(), 0);
  EXPECT_EQ(image->GetHeight(), 0);
  EXPECT_EQ(image->GetDepth(), 1);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetPixelSize(), 4);
  EXPECT_EQ(image->GetFormat(), kImageFormatUndefined);
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(image->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(image->GetIncarnation(), kRaw);
  EXPECT_EQ(image->GetUpdateId(), 0);
  EXPECT_EQ(image->GetReferenceCount(), 0);
  EXPECT_EQ(image->GetTextureID(), 0U);
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_TRUE(image->GetVectorSourcePath().IsEmpty());
  EXPECT_EQ(image->mAllocatedSize, 0);
  EXPECT_EQ(image->mImageSize, 0);
  EXPECT_EQ(image->mIncarnationUpdateId, (std::array<int, 2>{0, 0}));
  EXPECT_TRUE(image->mOwnsBits);
  EXPECT_FALSE(image->mOwnsTexture);
  EXPECT_EQ(image->mReservedMode, 2);
}

TEST(RImageTest, RImageCreateMakesAnEmptyRecordWithoutNameAndEntity) {
  const ImagePtr image(RImageCreate());
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->GetWidth(), 0);
  EXPECT_STREQ(image->GetName(), "");
  EXPECT_EQ(image->GetEntity(), nullptr);
}

TEST(RImageTest, EnumerationsHaveTheValuesThatFilesAndHostsStore) {
  EXPECT_EQ(kImageFormatUndefined, 0);
  EXPECT_EQ(kImageFormatEmpty, 1);
  EXPECT_EQ(kImageFormatRGBA, 2);
  EXPECT_EQ(kImageFormatRGB, 3);
  EXPECT_EQ(kImageFormatBGRA, 4);
  EXPECT_EQ(kImageFormatBGR, 5);
  EXPECT_EQ(kImageFormatRGB555, 6);
  EXPECT_EQ(kImageFormatABGR, 7);
  EXPECT_EQ(kImageFormatARGB, 8);
  EXPECT_EQ(kImageTypeFrame, 0);
  EXPECT_EQ(kImageTypeField, 1);
  EXPECT_EQ(kInterleaveNone, 0);
  EXPECT_EQ(kInterleaveFieldOne, 1);
  EXPECT_EQ(kInterleaveFieldTwo, 2);
  EXPECT_EQ(kInterleaveAverage, 3);
  EXPECT_EQ(kInterpolationNone, 0);
  EXPECT_EQ(kInterpolationDouble, 1);
  EXPECT_EQ(kInterpolationOther, 2);
  EXPECT_EQ(RImage::kIncarnationRaw, 0);
  EXPECT_EQ(RImage::kIncarnationGL, 1);
}

// --- Setters.

TEST(RImageTest, SettersStoreUpdateAndReturnTheValue) {
  const ProbePtr image(new ProbeImage);
  EXPECT_EQ(image->SetWidth(3), 3);
  EXPECT_EQ(image->GetWidth(), 3);
  EXPECT_EQ(image->GetUpdateId(), 1);
  EXPECT_EQ(image->SetHeight(2), 2);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(image->GetUpdateId(), 2);
  EXPECT_EQ(image->mAllocatedSize, 24);
  EXPECT_EQ(image->mImageSize, 24);
  EXPECT_EQ(image->SetPadWidth(5), 5);
  EXPECT_EQ(image->GetPadWidth(), 5);
  EXPECT_EQ(image->GetUpdateId(), 3);
  EXPECT_EQ(image->mAllocatedSize, 24) << "padding takes no memory";
}

TEST(RImageTest, SetterWithTheHeldValueStillUpdatesButSetDepthDoesNot) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  const int before = image->GetUpdateId();
  image->SetWidth(4);
  EXPECT_EQ(image->GetUpdateId(), before + 1);
  image->SetHeight(4);
  EXPECT_EQ(image->GetUpdateId(), before + 2);
  image->SetPadWidth(0);
  EXPECT_EQ(image->GetUpdateId(), before + 3);
  image->SetFormat(kImageFormatRGBA);
  EXPECT_EQ(image->GetUpdateId(), before + 4);
  EXPECT_EQ(image->SetDepth(1), 1);
  EXPECT_EQ(image->GetUpdateId(), before + 4);
}

TEST(RImageTest, EverySetterMakesTheStorageFit) {
  const struct {
    const char* name;
    void (*set)(RImage& image);
    int bytes;
  } setters[] = {{"SetWidth", [](RImage& image) { image.SetWidth(2); }, 16},
                 {"SetHeight", [](RImage& image) { image.SetHeight(2); }, 16},
                 {"SetPadWidth", [](RImage& image) { image.SetPadWidth(1); }, 16},
                 {"SetFormat", [](RImage& image) { image.SetFormat(kImageFormatRGB); }, 12},
                 {"SetDepth", [](RImage& image) { image.SetDepth(2); }, 32}};
  for (const auto& [name, set, bytes] : setters) {
    const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 2);
    image->Clear();
    set(*image);
    EXPECT_NE(image->GetImageBits(), nullptr) << name;
    EXPECT_EQ(image->mAllocatedSize, bytes) << name;
  }
}

TEST(RImageTest, SetDepthMultipliesTheStorage) {
  const ProbePtr image = MakeImage(kImageFormatRGB, 5, 2);
  const int before = image->GetUpdateId();
  EXPECT_EQ(image->SetDepth(3), 3);
  EXPECT_EQ(image->GetDepth(), 3);
  EXPECT_EQ(image->mImageSize, 90);
  EXPECT_EQ(image->mAllocatedSize, 90);
  // One for the freed buffer, one for the change.
  EXPECT_EQ(image->GetUpdateId(), before + 2);
}

TEST(RImageTest, GrowingReallocatesAndShrinkingKeepsTheBuffer) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 8, 8);
  const Pixels before = PixelsOf(*image);
  const unsigned char* bits = image->GetImageBits();
  image->SetWidth(4);
  EXPECT_EQ(image->GetImageBits(), bits);
  EXPECT_EQ(image->mAllocatedSize, 256);
  EXPECT_EQ(image->mImageSize, 128);
  EXPECT_EQ(PixelsOf(*image), Pixels(before.begin(), before.begin() + 128));

  const int updates = image->GetUpdateId();
  image->SetWidth(16);
  EXPECT_EQ(image->mAllocatedSize, 512);
  EXPECT_EQ(image->mImageSize, 512);
  EXPECT_EQ(image->GetUpdateId(), updates + 2);
}

TEST(RImageTest, SetFormatReinterpretsTheBytes) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 6, 2);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  EXPECT_EQ(image->SetFormat(kImageFormatBGR), kImageFormatBGR);
  EXPECT_EQ(image->GetPixelSize(), 3);
  EXPECT_EQ(image->mImageSize, 36);
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(PixelsOf(*image), Pixels(before.begin(), before.begin() + 36));
}

TEST(RImageTest, SetFormatSetsThePixelSizeOfEveryFormat) {
  for (const kImageFormat format : kAllFormats) {
    const ProbePtr image = MakeImage(kImageFormatRGBA, 3, 3);
    EXPECT_EQ(image->SetFormat(format), format);
    EXPECT_EQ(image->GetPixelSize(), BytesPerPixel(format)) << format;
    EXPECT_EQ(image->mImageSize, 9 * BytesPerPixel(format)) << format;
  }
}

TEST(RImageTest, SetFormatRefusesNumbersThatAreNoFormat) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGB, 3, 3);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  for (const int value : {-1, 9, 100, INT_MIN, INT_MAX}) {
    EXPECT_EQ(image->SetFormat(static_cast<kImageFormat>(value)), kImageFormatRGB);
  }
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(image->GetPixelSize(), 3);
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(RImageTest, SettersStoreAndUpdateEvenWhenTheSizeIsImpossible) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  EXPECT_EQ(image->SetWidth(-7), -7);
  EXPECT_EQ(image->GetWidth(), -7);
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(image->SetWidth(INT_MAX), INT_MAX);
  EXPECT_EQ(image->GetUpdateId(), updates + 2);
  EXPECT_EQ(image->mAllocatedSize, 16);
  EXPECT_FALSE(image->HoldsPixels(1));
  EXPECT_EQ(image->SetWidth(2), 2);
  EXPECT_EQ(PixelsOf(*image), before);
}

// --- Init.

TEST(RImageTest, InitAllocatesTheLargerOfRequestAndImageAndClearsAllOfIt) {
  const ProbePtr image(new ProbeImage);
  ASSERT_TRUE(image->Init(kImageFormatRGB, 2, 2, 0, 100, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, kRaw));
  EXPECT_EQ(image->mAllocatedSize, 100);
  EXPECT_EQ(image->mImageSize, 12);
  EXPECT_EQ(Pixels(image->mBits, image->mBits + 100), Pixels(100, 0));

  // The buffer stays, and with it its capacity, all of which is cleared again.
  std::memset(image->mBits, 0xAB, 100);
  ASSERT_TRUE(InitFrame(*image, kImageFormatRGB, 3, 3));
  EXPECT_EQ(image->mAllocatedSize, 100);
  EXPECT_EQ(image->mImageSize, 27);
  EXPECT_EQ(Pixels(image->mBits, image->mBits + 100), Pixels(100, 0));
}

TEST(RImageTest, ASmallerRequestKeepsTheBuffer) {
  const ProbePtr image(new ProbeImage);
  for (const int request : {100, 50, 1, 0}) {
    ASSERT_TRUE(image->Init(kImageFormatRGB, 2, 2, 0, request, false, kImageTypeFrame, kInterleaveNone,
                            kInterpolationNone, kRaw));
    EXPECT_EQ(image->mAllocatedSize, 100) << request;
  }
  EXPECT_EQ(image->GetUpdateId(), 4) << "nothing was freed";
}

TEST(RImageTest, InitWithoutClearKeepsTheBytes) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  const Pixels before = PixelsOf(*image);
  ASSERT_TRUE(image->Init(kImageFormatBGRA, 4, 4, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, kRaw));
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(RImageTest, InitStoresTheDescriptionAndKeepsTheDepth) {
  const ProbePtr image(new ProbeImage);
  image->SetDepth(2);
  const int updates = image->GetUpdateId();
  ASSERT_TRUE(image->Init(kImageFormatBGR, 5, 7, 9, 0, false, kImageTypeField, kInterleaveFieldTwo,
                          kInterpolationDouble, kRaw));
  EXPECT_EQ(image->GetFormat(), kImageFormatBGR);
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_EQ(image->GetHeight(), 7);
  EXPECT_EQ(image->GetPadWidth(), 9);
  EXPECT_EQ(image->GetImageType(), kImageTypeField);
  EXPECT_EQ(image->GetInterleaveType(), kInterleaveFieldTwo);
  EXPECT_EQ(image->GetInterpolationType(), kInterpolationDouble);
  EXPECT_EQ(image->GetDepth(), 2);
  EXPECT_EQ(image->GetPixelSize(), 3);
  EXPECT_EQ(image->mImageSize, 210);
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
}

TEST(RImageTest, InitWithANumberThatIsNoFormatStoresNothing) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const int updates = image->GetUpdateId();
  for (const int format : {-1, 9, INT_MAX}) {
    EXPECT_FALSE(image->Init(static_cast<kImageFormat>(format), 8, 8, 1, 0, true, kImageTypeField,
                             kInterleaveFieldOne, kInterpolationDouble, kGL));
  }
  EXPECT_EQ(image->GetWidth(), 2);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetIncarnation(), kRaw);
  EXPECT_EQ(image->GetUpdateId(), updates);
}

struct Impossible {
  const char* name;
  int width;
  int height;
  int depth;
};

class RImageSizeTest : public testing::TestWithParam<Impossible> {};

TEST_P(RImageSizeTest, InitFailsButKeepsTheDescription) {
  const auto& [name, width, height, depth] = GetParam();
  const ProbePtr image(new ProbeImage);
  image->SetDepth(depth);
  const int updates = image->GetUpdateId();
  EXPECT_FALSE(InitFrame(*image, kImageFormatRGBA, width, height));
  EXPECT_EQ(image->GetWidth(), width);
  EXPECT_EQ(image->GetHeight(), height);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetUpdateId(), updates) << "a failed Init is no update";
  EXPECT_EQ(image->GetImageBits(), nullptr);

  // Nothing touches memory that is not there.
  const ProbePtr other(new ProbeImage);
  image->Cleanup();
  image->Premultiply();
  image->RemovePremultiply();
  image->ImageVerticalFlip();
  EXPECT_TRUE(image->ApplyAlpha(0.5F));
  EXPECT_FALSE(image->ConvertFormat(kImageFormatBGRA));
  EXPECT_FALSE(image->SetImageBits(nullptr, kImageFormatRGB));
  EXPECT_TRUE(image->SetImageBits(nullptr));
  EXPECT_EQ(image->GetImageBitsAtDepth(0), nullptr);
  EXPECT_EQ(ImagePtr(image->CreateFromAlphaChannel(false)), nullptr);
  EXPECT_EQ(ImagePtr(image->MergeAlphaChannel(other.get())), nullptr);
  EXPECT_EQ(ImagePtr(image->CloneFromType(kImageTypeField, kInterleaveFieldOne, kInterpolationNone)),
            nullptr);
  EXPECT_NE(ImagePtr(image->Clone()), nullptr);
  EXPECT_TRUE(image->ImageTranslate(image.get(), 1, 1, true, false));
  const unsigned char fill[4] = {};
  EXPECT_EQ(image->ConvertToSquare(fill), width == height);
  // Layers become one first, which may well be possible.
  if (depth <= 1) {
    EXPECT_FALSE(image->ConvertSize(3, 3));
  }
}

constexpr Impossible kImpossible[] = {
    {"NegativeWidth", -1, 4, 1},          {"NegativeHeight", 4, -1, 1},
    {"NegativeBoth", -4, -4, 1},          {"NegativeDepth", 4, 4, -1},
    {"LargestFileSize", 65535, 65535, 1}, {"WrapsToZero", 65536, 65536, 1},
    {"WrapsToFour", 1 << 30, 4, 1},       {"JustAboveTheLimit", 1 << 29, 1, 1},
    {"DepthOverflows", 1024, 1024, 1024}, {"AllLargest", INT_MAX, INT_MAX, INT_MAX},
    {"AllSmallest", INT_MIN, INT_MIN, 1},
};

INSTANTIATE_TEST_SUITE_P(, RImageSizeTest, testing::ValuesIn(kImpossible),
                         [](const auto& testCase) { return testCase.param.name; });

TEST(RImageTest, EmptyPicturesNeedNoStorage) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 65535}, {INT_MAX, 0}}) {
    const ProbePtr image(new ProbeImage);
    EXPECT_TRUE(InitFrame(*image, kImageFormatRGBA, width, height));
    EXPECT_EQ(image->mImageSize, 0);
    EXPECT_EQ(image->GetUpdateId(), 1);
  }
  // Pixels without bytes have no storage, whatever their number.
  const ProbePtr image(new ProbeImage);
  EXPECT_TRUE(InitFrame(*image, kImageFormatEmpty, INT_MAX, INT_MAX));
  EXPECT_EQ(image->mImageSize, 0);
  EXPECT_EQ(image->GetPixelSize(), 0);
}

TEST(RImageTest, UnknownIncarnationIsStoredAndFails) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const int updates = image->GetUpdateId();
  const auto ids = image->mIncarnationUpdateId;
  EXPECT_FALSE(image->Init(kImageFormatRGBA, 2, 2, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                           kInterpolationNone, kNoIncarnation));
  EXPECT_EQ(image->GetIncarnation(), kNoIncarnation);
  EXPECT_FALSE(image->ValidateAllocation(0));
  EXPECT_FALSE(image->ConvertFormat(kImageFormatBGRA));
  EXPECT_FALSE(image->RequestIncarnation(kNoIncarnation, true));
  image->Update();
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(image->mIncarnationUpdateId, ids) << "never used as an index";
}

TEST(RImageTest, NegativeRequestIsNoRequest) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 2);
  EXPECT_TRUE(image->ValidateRawAllocation(-5));
  EXPECT_EQ(image->mAllocatedSize, 16);
}

// --- Clear, Cleanup and ownership.

TEST(RImageTest, ClearGivesTheBufferBackAndKeepsTheDescription) {
  const ProbePtr image = MakeNoiseImage(kImageFormatBGR, 5, 4);
  const int updates = image->GetUpdateId();
  image->Clear();
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_EQ(image->mAllocatedSize, 0);
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_EQ(image->GetHeight(), 4);
  EXPECT_EQ(image->GetFormat(), kImageFormatBGR);
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  image->Clear();
  EXPECT_EQ(image->GetUpdateId(), updates + 1) << "nothing was freed";

  EXPECT_TRUE(image->ValidateAllocation(0));
  EXPECT_EQ(image->mAllocatedSize, 60);
  EXPECT_NE(image->GetImageBits(), nullptr);
}

TEST(RImageTest, CleanupZeroesTheCapacity) {
  const ProbePtr image(new ProbeImage);
  ASSERT_TRUE(image->Init(kImageFormatRGB, 2, 2, 0, 40, false, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, kRaw));
  std::memset(image->mBits, 0xCD, 40);
  const int updates = image->GetUpdateId();
  image->Cleanup();
  EXPECT_EQ(Pixels(image->mBits, image->mBits + 40), Pixels(40, 0));
  EXPECT_EQ(image->GetUpdateId(), updates);
}

// What is held is cleared, also where the description does not fit it.
TEST(RImageTest, CleanupZeroesTheCapacityEvenWhenTheSizeIsImpossible) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  image->SetWidth(-7);
  image->Cleanup();
  EXPECT_EQ(Pixels(image->mBits, image->mBits + 16), Pixels(16, 0));
}

TEST(RImageTest, CleanupMakesStorageAfterClear) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  image->Clear();
  image->Cleanup();
  EXPECT_EQ(PixelsOf(*image), Pixels(36, 0));
}

TEST(RImageTest, ForeignBitsAreNeverFreed) {
  Pixels foreign = NoisePixels(64);
  const Pixels before = foreign;
  {
    const ProbePtr image(new ProbeImage);
    image->mFormat = kImageFormatRGBA;
    image->mWidth = 4;
    image->mHeight = 4;
    image->mBits = foreign.data();
    image->mAllocatedSize = 64;
    image->mOwnsBits = false;

    image->Clear();
    EXPECT_EQ(image->GetImageBits(), foreign.data()) << "kept";
    EXPECT_EQ(image->mAllocatedSize, 0);
    EXPECT_TRUE(image->mOwnsBits);
    EXPECT_EQ(image->GetUpdateId(), 0);

    // The flag says owned now, yet the pointer still is somebody else's.
    image->Clear();
    EXPECT_EQ(image->GetImageBits(), foreign.data());
    EXPECT_EQ(image->GetUpdateId(), 0);

    EXPECT_TRUE(image->ValidateAllocation(0));
    EXPECT_NE(image->GetImageBits(), foreign.data()) << "the next validation makes an owned buffer";
    EXPECT_EQ(image->mAllocatedSize, 64);
    EXPECT_EQ(image->GetUpdateId(), 0);
  }
  EXPECT_EQ(foreign, before);
}

TEST(RImageTest, ForeignBitsSurviveTheRecord) {
  Pixels foreign = NoisePixels(16);
  ProbePtr image(new ProbeImage);
  image->mBits = foreign.data();
  image->mOwnsBits = false;
  image.reset();
  EXPECT_EQ(foreign, NoisePixels(16));
}

TEST(RImageTest, AdoptPixelsTakesTheBuffer) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const int updates = image->GetUpdateId();
  const auto buffer = std::make_shared<unsigned char>();
  const std::weak_ptr<unsigned char> watch = buffer;
  image->AdoptPixels(RPixelBuffer(buffer), 1);
  EXPECT_EQ(image->GetImageBits(), buffer.get());
  EXPECT_EQ(image->mAllocatedSize, 1);
  EXPECT_EQ(image->mImageSize, 1);
  EXPECT_EQ(image->GetUpdateId(), updates + 1) << "for the buffer that went";
}

// --- Copies.

TEST(RImageTest, CopySharesTheBuffer) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  ProbeImage copy(*image);
  EXPECT_EQ(copy.GetImageBits(), image->GetImageBits());
  copy.GetImageBits()[0] ^= 0xFF;
  EXPECT_EQ(copy.GetImageBits()[0], image->GetImageBits()[0]);
}

void FillEveryField(ProbeImage& image) {
  image.mWidth = 11;
  image.mHeight = 12;
  image.mDepth = 13;
  image.mPadWidth = 14;
  image.mPixelSize = 15;
  image.mImageSize = 17;
  image.mReferenceCount = 18;
  image.mIncarnationUpdateId = {19, 20};
  image.mTextureId = 21;
  image.mFormat = kImageFormatABGR;
  image.mImageType = kImageTypeField;
  image.mInterleaveType = kInterleaveAverage;
  image.mInterpolationType = kInterpolationOther;
  image.mUpdateId = 22;
  image.mVectorSourcePath = "drawing.svg";
  image.mReservedMode = 23;
}

void ExpectEveryField(const ProbeImage& copy, const ProbeImage& image) {
  EXPECT_EQ(copy.mWidth, image.mWidth);
  EXPECT_EQ(copy.mHeight, image.mHeight);
  EXPECT_EQ(copy.mDepth, image.mDepth);
  EXPECT_EQ(copy.mPadWidth, image.mPadWidth);
  EXPECT_EQ(copy.mPixelSize, image.mPixelSize);
  EXPECT_EQ(copy.mAllocatedSize, image.mAllocatedSize);
  EXPECT_EQ(copy.mImageSize, image.mImageSize);
  EXPECT_EQ(copy.mReferenceCount, image.mReferenceCount);
  EXPECT_EQ(copy.mIncarnationUpdateId, image.mIncarnationUpdateId);
  EXPECT_EQ(copy.mTextureId, image.mTextureId);
  EXPECT_EQ(copy.mIncarnation, image.mIncarnation);
  EXPECT_EQ(copy.mBits, image.mBits);
  EXPECT_EQ(copy.mFormat, image.mFormat);
  EXPECT_EQ(copy.mImageType, image.mImageType);
  EXPECT_EQ(copy.mInterleaveType, image.mInterleaveType);
  EXPECT_EQ(copy.mInterpolationType, image.mInterpolationType);
  EXPECT_EQ(copy.mOwnsBits, image.mOwnsBits);
  EXPECT_EQ(copy.mOwnsTexture, image.mOwnsTexture);
  EXPECT_EQ(copy.mUpdateId, image.mUpdateId);
  EXPECT_EQ(copy.mVectorSourcePath, image.mVectorSourcePath);
  EXPECT_EQ(copy.mReservedMode, image.mReservedMode);
}

TEST(RImageTest, CopyConstructionAndAssignmentTakeEveryField) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  image->SetName("original");
  FillEveryField(*image);
  const ProbeImage copy(*image);
  ExpectEveryField(copy, *image);
  EXPECT_STREQ(copy.GetName(), "original");

  const ProbePtr assigned = MakeNoiseImage(kImageFormatRGB, 3, 3);
  *assigned = *image;
  ExpectEveryField(*assigned, *image);
  EXPECT_STREQ(assigned->GetName(), "original");
}

TEST(RImageTest, SharedBufferIsReleasedOnceWithItsLastOwner) {
  const auto buffer = std::make_shared<unsigned char>();
  std::weak_ptr<unsigned char> watch = buffer;
  ProbePtr image(new ProbeImage);
  image->AdoptPixels(buffer, 1);
  ProbePtr copy(new ProbeImage(*image));
  ProbePtr assigned(new ProbeImage);
  *assigned = *copy;
  EXPECT_EQ(watch.use_count(), 4) << "this test and three records";

  image.reset();
  EXPECT_EQ(watch.use_count(), 3);
  copy->Clear();
  EXPECT_EQ(copy->GetImageBits(), nullptr);
  EXPECT_EQ(assigned->GetImageBits(), buffer.get());
  EXPECT_EQ(watch.use_count(), 2);
  ASSERT_TRUE(InitFrame(*assigned, kImageFormatRGBA, 2, 2));
  EXPECT_EQ(watch.use_count(), 1) << "a new buffer replaced the shared one";
}

TEST(RImageTest, AssignmentReleasesTheBufferThatItReplaces) {
  const auto buffer = std::make_shared<unsigned char>();
  ProbePtr image(new ProbeImage);
  image->AdoptPixels(buffer, 1);
  EXPECT_EQ(buffer.use_count(), 2);
  *image = ProbeImage();
  EXPECT_EQ(buffer.use_count(), 1);
  EXPECT_EQ(image->GetImageBits(), nullptr);
}

TEST(RImageTest, AssignmentToItselfChangesNothing) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  const Pixels before = PixelsOf(*image);
  const ProbeImage& same = *image;
  *image = same;
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(RImageTest, CopyWhoseOwnershipWasClearedLeavesTheBufferToTheOther) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  const Pixels before = PixelsOf(*image);
  {
    ProbeImage copy(*image);
    copy.mOwnsBits = false;
    copy.Clear();
    EXPECT_EQ(copy.GetImageBits(), image->GetImageBits());
  }
  EXPECT_EQ(PixelsOf(*image), before);
}

// --- Clone.

TEST(RImageTest, CloneIsAPlainFrameOfOneLayerWithTheFirstLayersPixels) {
  const ProbePtr image(new ProbeImage);
  image->SetDepth(3);
  ASSERT_TRUE(image->Init(kImageFormatRGB, 4, 2, 7, 200, true, kImageTypeField, kInterleaveFieldTwo,
                          kInterpolationDouble, kRaw));
  const Pixels layers = NoisePixels(72);
  std::copy(layers.begin(), layers.end(), image->GetImageBits());
  image->SetVectorSourcePath("drawing.svg");

  const ImagePtr clone(image->Clone());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(clone->GetWidth(), 4);
  EXPECT_EQ(clone->GetHeight(), 2);
  EXPECT_EQ(clone->GetDepth(), 1);
  EXPECT_EQ(clone->GetPadWidth(), 0);
  EXPECT_EQ(clone->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(clone->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(clone->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(clone->GetIncarnation(), kRaw);
  EXPECT_EQ(clone->GetUpdateId(), 1);
  EXPECT_EQ(clone->GetVectorSourcePath(), "drawing.svg");
  EXPECT_NE(clone->GetImageBits(), image->GetImageBits());
  EXPECT_EQ(PixelsOf(*clone), Pixels(layers.begin(), layers.begin() + 24));
}

TEST(RImageTest, CloneIsIndependent) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  const Pixels before = PixelsOf(*image);
  const ImagePtr clone(image->Clone());
  clone->Cleanup();
  EXPECT_EQ(PixelsOf(*image), before);
}

// Says of itself what it is told to.
class OddPixelSize : public ProbeImage {
 public:
  int GetPixelSize() override { return mToldPixelSize; }
  int mToldPixelSize = 0;
};

TEST(RImageTest, CloneOfAnotherToldPixelSizeHasNoUndefinedBytes) {
  for (const int told : {0, 2, 3, 5}) {
    const RDestroyPtr<OddPixelSize> image(new OddPixelSize);
    ASSERT_TRUE(image->Init(kImageFormatRGBA, 4, 4, 0, 128, true, kImageTypeFrame, kInterleaveNone,
                            kInterpolationNone, kRaw));
    std::memset(image->mBits, 0xCD, 128);
    image->mToldPixelSize = told;
    // New memory is full of other bytes than zeros.
    mallopt(M_PERTURB, 0x5A);
    const ImagePtr clone(image->Clone());
    mallopt(M_PERTURB, 0);
    // As many bytes as are told are copied, the rest is cleared; more than the clone holds are not copied.
    Pixels expected(static_cast<std::size_t>(told > 4 ? 0 : 16 * told), 0xCD);
    expected.resize(64, 0);
    EXPECT_EQ(PixelsOf(*clone), expected) << told;
  }
}

TEST(RImageTest, CloneWithoutStorageIsZero) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  image->Clear();
  const ImagePtr clone(image->Clone());
  EXPECT_EQ(PixelsOf(*clone), Pixels(16, 0));
}

// --- Pixels in and out.

TEST(RImageTest, SetImageBitsCopiesAllLayers) {
  const ProbePtr image(new ProbeImage);
  image->SetDepth(2);
  ASSERT_TRUE(InitFrame(*image, kImageFormatRGB, 3, 2));
  Pixels source = NoisePixels(36);
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->SetImageBits(source.data()));
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(Pixels(image->GetImageBits(), image->GetImageBits() + 36), source);
}

TEST(RImageTest, SetImageBitsMakesStorageAfterClear) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 2);
  image->Clear();
  Pixels source = NoisePixels(16);
  EXPECT_TRUE(image->SetImageBits(source.data()));
  EXPECT_EQ(PixelsOf(*image), source);
}

TEST(RImageTest, SetImageBitsConvertsFromAnotherFormat) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 1);
  Pixels source = {1, 2, 3, 4, 5, 6};
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->SetImageBits(source.data(), kImageFormatBGR));
  EXPECT_EQ(PixelsOf(*image), (Pixels{3, 2, 1, 255, 6, 5, 4, 255}));
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
}

TEST(RImageTest, SetImageBitsRefusesAPairWithoutUpdate) {
  const ProbePtr image = MakeNoiseImage(kImageFormatBGRA, 2, 1);
  const Pixels before = PixelsOf(*image);
  Pixels source = NoisePixels(8, 2);
  const int updates = image->GetUpdateId();
  EXPECT_FALSE(image->SetImageBits(source.data(), kImageFormatARGB));
  EXPECT_EQ(PixelsOf(*image), before);
  EXPECT_EQ(image->GetUpdateId(), updates);
}

TEST(RImageTest, SetImageBitsOfNoPixelsSucceedsForASupportedPair) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 0, 5);
  EXPECT_TRUE(image->SetImageBits(nullptr, kImageFormatBGRA));
  EXPECT_EQ(image->GetUpdateId(), 2);
  EXPECT_FALSE(image->SetImageBits(nullptr, kImageFormatEmpty));
}

TEST(RImageTest, NoLayersHoldNoPixelsToConvertInto) {
  const ProbePtr image(new ProbeImage);
  image->SetDepth(0);
  ASSERT_TRUE(InitFrame(*image, kImageFormatRGBA, 16, 16));
  Pixels source = NoisePixels(1024);
  EXPECT_FALSE(image->SetImageBits(source.data(), kImageFormatBGRA));
  EXPECT_TRUE(image->SetImageBits(source.data()));
  EXPECT_EQ(image->GetImageBitsAtDepth(0), nullptr);
}

TEST(RImageTest, GetImageBitsAtDepthStepsByLayers) {
  const ProbePtr image(new ProbeImage);
  image->SetDepth(3);
  ASSERT_TRUE(InitFrame(*image, kImageFormatRGB, 5, 4));
  EXPECT_EQ(image->GetImageBitsAtDepth(0), image->GetImageBits());
  EXPECT_EQ(image->GetImageBitsAtDepth(1), image->GetImageBits() + 60);
  EXPECT_EQ(image->GetImageBitsAtDepth(2), image->GetImageBits() + 120);
  EXPECT_EQ(image->GetImageBitsAtDepth(3), nullptr);
  EXPECT_EQ(image->GetImageBitsAtDepth(UINT_MAX), nullptr);
  image->Clear();
  EXPECT_EQ(image->GetImageBitsAtDepth(0), nullptr);
}

// --- Counters.

TEST(RImageTest, ReferenceCountIsAdvisory) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  EXPECT_EQ(image->IncReferenceCount(), 0);
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_EQ(image->IncReferenceCount(), 1);
  image->DecReferenceCount();
  image->DecReferenceCount();
  EXPECT_EQ(image->GetReferenceCount(), 0);
  image->DecReferenceCount();
  EXPECT_EQ(image->GetReferenceCount(), -1);
  EXPECT_EQ(PixelsOf(*image), NoisePixels(16)) << "nothing was freed";
}

TEST(RImageTest, UpdateNotesTheIncarnationThatIsCurrent) {
  const ProbePtr image(new ProbeImage);
  image->Update();
  EXPECT_EQ(image->GetUpdateId(), 1);
  EXPECT_EQ(image->mIncarnationUpdateId, (std::array<int, 2>{1, 0}));
  image->mIncarnation = kGL;
  image->Update();
  EXPECT_EQ(image->GetUpdateId(), 2);
  EXPECT_EQ(image->mIncarnationUpdateId, (std::array<int, 2>{1, 2}));
}

// --- Life cycle.

TEST(RImageTest, DestroyOfAnEmbeddedRecordGivesTheStorageBackOnly) {
  ProbeImage image;
  image.SetDeletable(false);
  ASSERT_TRUE(InitFrame(image, kImageFormatRGBA, 2, 2));
  image.Destroy(0);
  EXPECT_EQ(image.GetImageBits(), nullptr);
  EXPECT_EQ(image.GetWidth(), 2);
}

TEST(RImageTest, InstanceCountFollowsConstructionAndDestroy) {
  const int before = RImage::ClassInstanceCount;
  ImagePtr image(RImageCreate());
  EXPECT_EQ(RImage::ClassInstanceCount, before + 1);
  {
    const RImage copy(*image);
    EXPECT_EQ(RImage::ClassInstanceCount, before + 2);
  }
  image.reset();
  EXPECT_EQ(RImage::ClassInstanceCount, before);
}

TEST(RImageTest, ClassInformationNamesTheClass) {
  const ImagePtr image(RImageCreate());
  EXPECT_STREQ(image->GetClassIdName(), "RImage");
  EXPECT_EQ(image->GetClassId(), RImage::ClassId);
  EXPECT_TRUE(image->Is(RImage::ClassId));
  EXPECT_TRUE(image->Is(RObject::ClassId));
  EXPECT_EQ(image->GetClassSize(), static_cast<int>(sizeof(RImage)));
}

// --- Without an OpenGL context the calls of OpenGL do nothing; the record must stay usable.

TEST(RImageTest, GLIncarnationWithoutContextDoesNotCrash) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  const Pixels before = PixelsOf(*image);
  image->RequestGLIncarnation(true);
  image->RequestRawIncarnation(true);
  image->SetTextureID(7, true);
  EXPECT_EQ(image->GetIncarnation(), kGL);
  EXPECT_EQ(image->GetTextureID(), 7U);
  image->Clear();
  image->RequestRawIncarnation(true);
  EXPECT_TRUE(InitFrame(*image, kImageFormatRGBA, 4, 4));
  EXPECT_EQ(PixelsOf(*image), Pixels(64, 0));
}

TEST(RImageTest, RawOperationsRefuseAGLImage) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const ProbePtr other = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  image->mIncarnation = kGL;
  Pixels source = NoisePixels(32);
  const unsigned char fill[4] = {};
  EXPECT_FALSE(image->ConvertFormat(kImageFormatBGRA));
  EXPECT_FALSE(image->ConvertSize(2, 2));
  EXPECT_FALSE(image->ConvertToSquare(fill));
  EXPECT_FALSE(image->SetImageBits(source.data(), kImageFormatRGB));
  EXPECT_EQ(image->CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationNone), nullptr);
  EXPECT_EQ(image->CreateFromAlphaChannel(false), nullptr);
  EXPECT_EQ(image->MergeAlphaChannel(other.get()), nullptr);
  EXPECT_EQ(other->MergeAlphaChannel(image.get()), nullptr);
  EXPECT_FALSE(image->GetImageFields(other.get(), kImageTypeFrame, kInterleaveFieldOne));
  EXPECT_FALSE(other->GetImageFields(image.get(), kImageTypeFrame, kInterleaveFieldOne));
  image->mIncarnation = kRaw;
}

TEST(RImageTest, UndefinedFormatCannotBecomeGL) {
  const ProbePtr image = MakeImage(kImageFormatUndefined, 4, 4);
  EXPECT_FALSE(image->RequestGLIncarnation(true));
  EXPECT_EQ(image->GetIncarnation(), kRaw);
  EXPECT_FALSE(MakeImage(kImageFormatEmpty, 4, 4)->RequestIncarnation(kGL, true));
}

}  // namespace

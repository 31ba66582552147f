#include "streams/RImageStream.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "image/RDestroyPtr.h"
#include "support/VirtualSlot.h"

namespace {

TEST(RImageStreamTest, GetImageWithoutCreateAttachesNothing) {
  RImageStream stream;
  EXPECT_EQ(stream.GetImage(false), nullptr);
  EXPECT_EQ(stream.GetObject(), nullptr);
}

TEST(RImageStreamTest, GetImageWithCreateAttachesANewEmptyRecord) {
  RImageStream stream;
  const RDestroyPtr<RImage> image(stream.GetImage(true));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(stream.GetObject(), image.get());
  EXPECT_EQ(image->GetWidth(), 0);
  EXPECT_EQ(image->GetHeight(), 0);
  EXPECT_EQ(image->GetFormat(), kImageFormatUndefined);
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_EQ(stream.GetImage(true), image.get()) << "the second call returns the same record";
  EXPECT_EQ(stream.GetImage(false), image.get());
}

TEST(RImageStreamTest, SetImageLends) {
  const RDestroyPtr<RImage> image(RImageCreate());
  const int instances = RImage::ClassInstanceCount;
  {
    RImageStream stream;
    stream.SetImage(image.get());
    EXPECT_EQ(stream.GetObject(), image.get());
    EXPECT_EQ(stream.GetImage(false), image.get());
    EXPECT_EQ(stream.GetImage(true), image.get());
    EXPECT_EQ(image->GetReferenceCount(), 0) << "no reference is taken";
  }
  EXPECT_EQ(RImage::ClassInstanceCount, instances) << "the stream does not destroy it";
}

TEST(RImageStreamTest, SetImageNullDetaches) {
  RImageStream stream;
  const RDestroyPtr<RImage> image(stream.GetImage(true));
  stream.SetImage(nullptr);
  EXPECT_EQ(stream.GetImage(false), nullptr);
}

TEST(RImageStreamTest, AttachedObjectThatIsNoImageIsReplacedOnCreate) {
  const RDestroyPtr<RObject> other(new RObject(nullptr, nullptr));
  RImageStream stream;
  stream.SetObject(other.get());
  EXPECT_EQ(stream.GetImage(false), nullptr);
  EXPECT_EQ(stream.GetObject(), other.get()) << "asking leaves it attached";
  const RDestroyPtr<RImage> image(stream.GetImage(true));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(stream.GetObject(), image.get());
}

class DerivedImage : public RImage {};

TEST(RImageStreamTest, ImagesOfDerivedClassesAreImages) {
  const RDestroyPtr<RImage> image(new DerivedImage);
  RImageStream stream;
  stream.SetImage(image.get());
  EXPECT_EQ(stream.GetImage(false), image.get());
}

TEST(RImageStreamTest, BaseNeitherReadsNorWrites) {
  RImageStream stream;
  const RDestroyPtr<RImage> image(stream.GetImage(true));
  stream.SetFileName("picture.png");
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_FALSE(stream.StreamCreate(nullptr));
}

TEST(RImageStreamTest, DestroyOnTheHeapDeletes) {
  const int instances = RImageStream::ClassInstanceCount;
  auto* stream = new RImageStream;
  EXPECT_EQ(RImageStream::ClassInstanceCount, instances + 1);
  stream->Destroy(0);
  EXPECT_EQ(RImageStream::ClassInstanceCount, instances);
}

// The order of the virtual functions is the interface between the host and the module.
TEST(RImageStreamTest, StreamAddsOpenThenCreateBehindTheObject) {
  const int open = test::VirtualSlot(&RStream::StreamOpen);
  EXPECT_EQ(test::VirtualSlot(&RStream::StreamCreate), open + 1);
  EXPECT_EQ(test::VirtualSlot(&RImageStream::StreamOpen), open);
  EXPECT_GT(open, test::VirtualSlot(static_cast<RProperty* (RObject::*)(const char*) const>(
                      &RObject::FastFindPropertyByName)));
}

TEST(RImageStreamTest, ImageStreamAddsNoVirtualFunction) {
  EXPECT_EQ(test::VirtualSlot(&RImageStream::SetImage), -1);
  EXPECT_EQ(test::VirtualSlot(&RImageStream::GetImage), -1);
  EXPECT_EQ(sizeof(RImageStream), sizeof(RStream)) << "and no field";
}

}  // namespace

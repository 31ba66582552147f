// Works that are done once for each of their allocations, without its memory. Each ends in its documented
// failure, holds on to nothing and goes well the next time; that a small object is not to be had may also be
// told by std::bad_alloc.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "operators/RImageOperator.h"
#include "rbaselib/RObjectRegistry.h"
#include "support/AllocationFailure.h"
#include "support/ImageProbe.h"

namespace test {

/// What came out of a work; none for the documented failure.
using Result = std::optional<std::vector<unsigned char>>;

struct Work {
  std::string name;
  std::function<Result()> run;
};
inline void PrintTo(const Work& work, std::ostream* stream) { *stream << work.name; }

inline std::vector<unsigned char> BytesOf(RImage& image) {
  const unsigned char* bits = image.GetImageBits();
  if (!bits) return {};
  return {bits, bits + std::size_t(image.GetWidth()) * std::size_t(image.GetHeight()) *
                           std::size_t(image.GetPixelSize())};
}

/// Takes the pixels of an image and destroys it; none for null.
inline Result TakeImage(RImage* made) {
  const RDestroyPtr<RImage> image(made);
  if (!image) return std::nullopt;
  return BytesOf(*image);
}

/// Returns an image of noise; null when memory runs out.
inline ProbePtr MakeNoiseOrNull(kImageFormat format) {
  constexpr int kWidth = 61;
  constexpr int kHeight = 40;
  ProbePtr image(new ProbeImage);
  if (!InitFrame(*image, format, kWidth, kHeight)) return nullptr;
  const std::vector<unsigned char> noise =
      NoisePixels(std::size_t{kWidth} * kHeight * static_cast<std::size_t>(image->GetPixelSize()));
  std::ranges::copy(noise, image->GetImageBits());
  return image;
}

/// Makes a registered effect with images of noise at all its inputs; null when memory runs out.
inline RDestroyPtr<RImageOperator> MakeConnectedEffect(const std::string& name) {
  IObject* const face = Object_Create("ArcStorable/ImageOperator", name.c_str());
  RDestroyPtr<RImageOperator> op(face ? dynamic_cast<RImageOperator*>(face->IQuery(0, 0)) : nullptr);
  if (!op) return op;
  for (int i = 0; i < op->GetNbPlugs(RImageOperator::kPlugInput); ++i) {
    ProbePtr image = MakeNoiseOrNull(kImageFormatRGBA);
    if (!image) return RDestroyPtr<RImageOperator>();
    // The plug owns it from now on.
    if (op->SetPlugImage(i, RImageOperator::kPlugInput, image.get()) == 0) (void)image.release();
  }
  return op;
}

/// A test of one work, on the fixture `Base`.
template <class Base>
class AllocationFailureTest : public Base, public testing::WithParamInterface<Work> {
 protected:
  void SetUp() override {
    Base::SetUp();
    // What is made once and kept is no leak.
    for (int i = 0; i < 2; ++i) mExpected = Run();
    const AllocationFailure count;
    EXPECT_EQ(Run(), mExpected);
    mCount = count.Count();
    EXPECT_EQ(AllocationFailure::CountHeld(), 0);
  }

  Result Run() {
    Prepare();
    return GetParam().run();
  }
  /// What is done before each run.
  virtual void Prepare() {}

  /// Runs the work with all its memory, then without each allocation, then with all of it.
  void RunWithoutEach() {
    EXPECT_TRUE(mExpected.has_value());
    EXPECT_GT(mCount, 0);
    for (const auto extent : {AllocationFailure::kOne, AllocationFailure::kAndAllAfter}) {
      for (int which = 0; which < mCount; ++which) {
        SCOPED_TRACE(testing::Message()
                     << "allocation " << which << " of " << mCount << ", extent " << extent);
        RunWithout(which, extent);
      }
    }
    EXPECT_EQ(Run(), mExpected) << "goes well again";
  }

 private:
  // A failure of this many bytes is one of pixels or of a file's contents, which no caller needs to catch.
  static constexpr std::size_t kLarge = 4096;

  // Runs the work without the memory of allocation `which`.
  void RunWithout(int which, AllocationFailure::Extent extent) {
    Result result;
    bool thrown = false;
    std::size_t size = 0;
    int held = 0;
    Prepare();
    {
      const AllocationFailure failure(which, extent);
      try {
        result = GetParam().run();
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
      size = failure.FailedSize();
      held = AllocationFailure::CountHeld();
    }
    EXPECT_EQ(held, 0) << "held after the failure of " << size << " bytes";
    EXPECT_GT(size, 0U) << "nothing failed";
    if (thrown) {
      EXPECT_LT(size, kLarge) << "thrown, not returned";
    }
    if (result) {
      EXPECT_TRUE(result == mExpected) << "done without " << size << " bytes, but not well";
    }
  }

  Result mExpected;
  int mCount = 0;
};

}  // namespace test

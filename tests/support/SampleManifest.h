// Sample files with expected pictures from independent decoders: tests/data/<folder>/manifest.json.
//
// A test over all samples of a folder:
//
//     class SgiSampleTest : public testing::TestWithParam<test::Sample> {};
//     TEST_P(SgiSampleTest, Reads) {
//       const RDestroyPtr<RImage> image(RImage::ImageFileRead(GetParam().path.c_str()));
//       EXPECT_TRUE(test::Check(GetParam(), image.get()));
//     }
//     INSTANTIATE_TEST_SUITE_P(Sgi, SgiSampleTest, testing::ValuesIn(test::LoadSamples("sgi")),
//     test::SampleName);
//
// tests/data/README.md describes the fields of a manifest.
#pragma once

#include <gtest/gtest.h>

#include <iosfwd>
#include <string>
#include <vector>

class RImage;

namespace test {

/// A picture as the expected files hold it: RGBA of 8 bits, straight or premultiplied as the file says, top
/// row first.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> rgba;

  bool IsEmpty() const { return rgba.empty(); }
};

/// What a reader has to make of a sample.
enum class Expect {
  kPixels,               ///< the picture in `expected`
  kPixelsOrPlaceholder,  ///< the picture in `expected` or that in `placeholder`
  kAdvisoryPixels,       ///< the picture in `expected`, which no independent decoder confirms
  kFloatPixels,          ///< the numbers in `floats`, and `expected` where they were brought to 8 bits
  kSnormPixels,          ///< the same, the numbers being from -1 to 1
  kRefuse,               ///< no picture: the read fails
  kNoCrash,              ///< any result; `expected` is what the file was meant to show
};

/// How far a picture may be from the expected one.
struct Tolerance {
  int channel = 0;        ///< largest difference of a channel
  bool interior = false;  ///< `channel` holds only where the expected picture is flat around the pixel
  double mean = 255;      ///< largest mean difference over all compared channels
  double relative = 0;    ///< of float numbers: |a - e| <= absolute + relative x |e|
  double absolute = 0;
};

/// One mip level, cube face or volume slice of a sample.
struct SampleLevel {
  int face = 0;
  int mip = 0;
  int slice = 0;
  int width = 0;
  int height = 0;
  std::string expected;
};

/// One entry of a manifest. Paths are absolute; a path that the entry does not give is empty.
struct Sample {
  std::string name;  ///< the file's name
  std::string path;
  int width = 0;
  int height = 0;
  Expect expect = Expect::kPixels;
  std::string expected;     ///< PNG
  std::string placeholder;  ///< PNG
  std::string floats;       ///< little-endian float32, top row first, `channels` numbers a pixel
  int channels = 0;
  std::string compare = "RGBA";  ///< the channels that count
  bool premultiplied = false;    ///< the reader gives colours times alpha; `expected` holds straight ones
  Tolerance tolerance;
  std::vector<SampleLevel> levels;
};

/// For gtest: prints the name.
void PrintTo(const Sample& sample, std::ostream* out);
/// For INSTANTIATE_TEST_SUITE_P: the file's name with everything but letters and digits replaced.
std::string SampleName(const testing::TestParamInfo<Sample>& info);

/// Reads tests/data/<folder>/manifest.json, in its order. A manifest that cannot be read, has no entries or
/// an unknown field ends the program with a message, so that no test is lost silently.
std::vector<Sample> LoadSamples(const std::string& folder);

/// Reads a PNG; an unreadable one fails the test and gives an empty picture.
Picture LoadPicture(const std::string& path);
/// Reads the numbers of a float file; an unreadable one fails the test.
std::vector<float> LoadFloats(const std::string& path);

/// Returns one layer of raw 8-bit pixels turned to RGBA, top row first; alpha is 255 where the layout has
/// none. Fails the test for a null image, a texture, an image without pixels, RGB555 and the formats without
/// a layout.
Picture ToPicture(RImage* image, int layer = 0);

/// Compares the channels named in `compare` ("RGBA", "RGB", "R" ...). The message of a failure tells the
/// sizes, or how many pixels differ, the first one and the one that differs most.
testing::AssertionResult Matches(const Picture& actual, const Picture& expected,
                                 const std::string& compare = "RGBA", const Tolerance& tolerance = {});
/// Compares numbers by the tolerance's `relative` and `absolute`.
testing::AssertionResult MatchesFloats(const std::vector<float>& actual, const std::vector<float>& expected,
                                       const Tolerance& tolerance);

/// Judges what a reader made of a sample: null stands for a refusal. Holds for every `expect` value with
/// pictures of 8 bits; of float samples it compares the picture brought to 8 bits.
testing::AssertionResult Check(const Sample& sample, RImage* image);

}  // namespace test

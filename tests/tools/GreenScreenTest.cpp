// The green-screen composite among the samples: the pictures are what the example draws, the key is clean,
// and the graph gives the same composite with every driver that the tests play.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using Json = nlohmann::ordered_json;
using test::RunTool;
using testing::HasSubstr;

// The shim is loaded before the sanitizer's own library.
const test::ToolSettings kSettings{.environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0"}}};

std::string Sample(const std::string& name) { return std::string(RIMAGE_SAMPLES) + "/" + name; }

// Sizes of the parts of the plate, in pixels.
constexpr int kMasked = 30;  // the wall beside the screen
constexpr int kAbove = 12;   // rows above the bear
const QRect kFace(190, 60, 80, 95);
const QRect kBelly(190, 230, 90, 55);

bool IsScreen(int x, int y) { return x < kMasked || y < kAbove; }

class GreenScreen : public testing::Test {
 protected:
  // Evaluates the samples' graph up to one of its nodes, with more properties for that node.
  QImage Evaluate(const std::string& node, const Json& more, const test::Arguments& driver = {}) const {
    Json graph = Json::parse(test::ReadFile(Sample("green-screen.json")));
    for (auto& [name, value] : graph["nodes"].items()) {
      for (Json& input : value["inputs"]) {
        if (input.get<std::string>().find('.') != std::string::npos) input = Sample(input);
      }
    }
    Json wanted = {{"nodes", Json::object()}, {"output", node}};
    for (const char* name : {"key", "correct", "over"}) {
      wanted["nodes"][name] = graph["nodes"][name];
      if (name == node) break;
    }
    wanted["nodes"][node]["properties"].update(more);
    const std::string text = wanted.dump();
    const std::string path = mFolder.Write("graph.json", {text.begin(), text.end()});
    test::Arguments arguments = driver;
    arguments.insert(arguments.end(), {"graph", path, mFolder.Path("out.tif")});
    const auto result = RunTool(arguments, kSettings);
    EXPECT_EQ(result.code, 0) << result.errors;
    return QImage(QString::fromStdString(mFolder.Path("out.tif")));
  }

  test::TemporaryFolder mFolder;
};

// The last bit of a sine may differ from machine to machine, and with it a few pixels at the outlines.
TEST_F(GreenScreen, TheSamplesAreWhatTheExampleDraws) {
  const std::string plate = mFolder.Path("plate.png");
  const std::string clean = mFolder.Path("clean.jpg");
  const std::string meadow = mFolder.Path("meadow.jpg");
  ASSERT_EQ(
      std::system((std::string(RIMAGE_GREEN_SCREEN) + " " + plate + " " + clean + " " + meadow).c_str()), 0);
  const std::pair<const char*, std::string> pairs[] = {
      {"green-screen.png", plate}, {"green-screen-clean.jpg", clean}, {"meadow.jpg", meadow}};
  for (const auto& [name, drawn] : pairs) {
    const test::Pixels stored = test::PixelsOf(test::Load(Sample(name)));
    const test::Pixels fresh = test::PixelsOf(test::Load(drawn));
    ASSERT_EQ(stored.size(), 432U * 288U) << name;
    ASSERT_EQ(fresh.size(), stored.size()) << name;
    std::size_t others = 0;
    for (std::size_t i = 0; i < stored.size(); ++i) others += stored[i] != fresh[i] ? 1 : 0;
    EXPECT_LE(others, stored.size() / 1000) << name;
  }
}

TEST_F(GreenScreen, TheMatteIsClean) {
  const QImage matte =
      Evaluate("key", {{"Output", "Matte"}}).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  ASSERT_EQ(matte.size(), QSize(432, 288));
  int grey = 0;
  for (int y = 0; y < matte.height(); ++y) {
    for (int x = 0; x < matte.width(); ++x) {
      const int alpha = matte.pixelColor(x, y).alpha();
      if (IsScreen(x, y)) {
        ASSERT_EQ(alpha, 0) << x << ", " << y;
      } else if (kFace.contains(x, y) || kBelly.contains(x, y)) {
        ASSERT_EQ(alpha, 255) << x << ", " << y;
      }
      grey += alpha > 0 && alpha < 255 ? 1 : 0;
    }
  }
  EXPECT_GT(grey, 1000) << "hairs and the moving hand have soft edges";
  EXPECT_LT(grey, 432 * 288 / 20) << "and nothing else has";
}

// How much more green than the mean of red and blue the pixels of an outline have at most, in 255ths; colours
// are multiplied with alpha.
double LargestFringe(const QImage& image) {
  const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  double largest = 0;
  for (int y = 0; y < rgba.height(); ++y) {
    for (int x = 0; x < rgba.width(); ++x) {
      const unsigned char* const pixel = rgba.constScanLine(y) + 4L * x;
      if (pixel[3] > 0 && pixel[3] < 255) largest = std::max(largest, pixel[1] - (pixel[0] + pixel[2]) / 2.0);
    }
  }
  return largest;
}

TEST_F(GreenScreen, NoGreenFringeIsLeft) {
  EXPECT_LT(LargestFringe(Evaluate("key", Json::object())), 12) << "a tenth of what the screen has";
  EXPECT_GT(LargestFringe(Evaluate("key", {{"Suppression", 0}, {"Threshold", 60}})), 40)
      << "the measure sees a screen that is left";
}

TEST_F(GreenScreen, WhereTheScreenWasTheLandscapeIs) {
  const QImage composite = Evaluate("over", Json::object());
  const QImage meadow = test::Load(Sample("meadow.jpg"));
  ASSERT_EQ(composite.size(), meadow.size());
  for (int y = 0; y < meadow.height(); ++y) {
    for (int x = 0; x < meadow.width(); ++x) {
      ASSERT_EQ(composite.pixelColor(x, y).alpha(), 255);
      if (!IsScreen(x, y)) continue;
      ASSERT_EQ(composite.pixel(x, y), meadow.pixel(x, y)) << x << ", " << y;
    }
  }
}

TEST_F(GreenScreen, EveryDriverGivesTheSameComposite) {
  const QImage composite = Evaluate("over", Json::object(), {"--gl-shim", "plain"});
  for (const char* driver : {"nv", "rc", "ati", "sgi"})
    EXPECT_LE(test::SeenDifference(Evaluate("over", Json::object(), {"--gl-shim", driver}), composite), 3)
        << driver;
}

}  // namespace

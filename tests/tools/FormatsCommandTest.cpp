// rimage formats.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ToolRunner.h"

namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;

std::vector<std::string> Extensions(const json& list) {
  std::vector<std::string> extensions;
  for (const json& entry : list) extensions.push_back(entry["extension"]);
  return extensions;
}

json Formats(const test::ToolSettings& settings = {}) {
  const auto result = test::RunTool({"formats", "--json"}, settings);
  EXPECT_EQ(result.code, 0);
  return json::parse(result.output);
}

TEST(Formats, ListsReadersAndWritersByExtension) {
  const json formats = Formats();
  EXPECT_THAT(Extensions(formats["readers"]),
              IsSupersetOf({"tif", "tiff", "jpg", "jpeg", "tga", "bmp", "svg", "png"}));
  EXPECT_THAT(Extensions(formats["writers"]), IsSupersetOf({"tif", "tiff", "jpg", "tga"}));
  EXPECT_THAT(Extensions(formats["writers"]), testing::Not(Contains("png")));
}

TEST(Formats, NamesTheClassOfEach) {
  const json formats = Formats();
  for (const json& entry : formats["readers"]) {
    if (entry["extension"] != "png") continue;
    EXPECT_EQ(entry["class"], "RImageStreamQT");
    EXPECT_EQ(entry["available"], true);
  }
}

TEST(Formats, TellsWhatQtAddsForWriting) {
  EXPECT_EQ(Formats()["qt"]["writes"], json({"bmp", "jpeg", "png"}));
}

TEST(Formats, TellsWhenAPluginIsMissing) {
  const json formats = Formats({.environment = {{"QT_PLUGIN_PATH", "/nowhere"}}});
  EXPECT_THAT(formats["qt"]["reads"], Contains("png"));
  const auto result = test::RunTool({"formats"});
  EXPECT_THAT(result.output, HasSubstr("png   RImageStreamQT\n"));
}

TEST(Formats, TextAndJsonAgree) {
  const json formats = Formats();
  const auto text = test::RunTool({"formats"}).output;
  for (const char* group : {"readers", "writers"}) {
    for (const json& entry : formats[group]) {
      EXPECT_THAT(text, HasSubstr(entry["extension"].get<std::string>()));
      EXPECT_THAT(text, HasSubstr(entry["class"].get<std::string>()));
    }
  }
  EXPECT_THAT(text, HasSubstr("Written through Qt as well:\n  bmp, jpeg, png\n"));
}

}  // namespace

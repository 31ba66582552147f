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

// Where Qt's plugins are not installed Qt itself still knows png and bmp, and the module tga.
const test::ToolSettings kNoPlugins{
    .environment = {{"LD_PRELOAD", RIMAGE_HIDDEN_PLUGINS}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}}};

TEST(Formats, TellsWhenAPluginIsMissing) {
  const json formats = Formats(kNoPlugins);
  const auto available = [&](const char* group) {
    std::vector<std::string> names;
    for (const json& entry : formats[group]) {
      if (entry["available"] == true) names.push_back(entry["extension"]);
    }
    return names;
  };
  EXPECT_THAT(available("readers"),
              testing::ElementsAre("tga", "pic", "iff", "bmp", "yuv", "sgi", "rgb", "rgba", "dds", "png"));
  EXPECT_THAT(available("writers"), testing::ElementsAre("tga", "yuv"));
  EXPECT_EQ(formats["qt"]["writes"], json({"bmp", "png"}));
  const std::string text = test::RunTool({"formats"}, kNoPlugins).output;
  EXPECT_THAT(text, HasSubstr("  tif   RImageStreamQT (Qt plugin missing)\n"));
  EXPECT_THAT(text, HasSubstr("  tga   RImageStreamQT\n"));
  EXPECT_THAT(text, HasSubstr("  sgi   RImageStreamsgi\n"));
}

TEST(Formats, WithAllPluginsEveryStreamIsAvailable) {
  const json formats = Formats();
  for (const char* group : {"readers", "writers"}) {
    for (const json& entry : formats[group]) EXPECT_EQ(entry["available"], true) << entry["extension"];
  }
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

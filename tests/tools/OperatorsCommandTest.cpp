// rimage operators and rimage properties, against the list of the effect's properties.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ToolRunner.h"

namespace {

using Json = nlohmann::ordered_json;
using test::RunTool;
using testing::HasSubstr;

// Nothing is drawn, so no GUI application is started: this platform would end the process.
const test::ToolSettings kNoGui{.environment = {{"QT_QPA_PLATFORM", "none-such"}}};

Json JsonOf(const test::Arguments& arguments) {
  const auto result = RunTool(arguments, kNoGui);
  EXPECT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  return Json::parse(result.output);
}

TEST(OperatorsCommand, ListsTheBlend) {
  const Json blend = {{"name", "RImOpBlend"},
                      {"title", "Blend Effect"},
                      {"inputs", {"IN_0", "IN_1"}},
                      {"outputs", {"OUT_0"}},
                      {"properties", 9}};
  EXPECT_THAT(JsonOf({"operators", "--json"}), testing::Contains(blend));
  EXPECT_THAT(RunTool({"operators"}, kNoGui).output,
              HasSubstr("RImOpBlend  Blend Effect, IN_0 IN_1 to OUT_0, 9 properties\n"));
}

TEST(PropertiesCommand, TellsAllOfTheBlend) {
  const Json factorsOfA = {"0",
                           "1",
                           "Color(A)",
                           "1 - Color(A)",
                           "Alpha(A)",
                           "1 - Alpha(A)",
                           "Color(B)",
                           "1 - Color(B)",
                           "Alpha(B)",
                           "1 - Alpha(B)",
                           "Color(C)",
                           "1 - Color(C)",
                           "Alpha(C)",
                           "1 - Alpha(C)",
                           "Sat(Alpha(A))"};
  Json factorsOfB = factorsOfA;
  factorsOfB.back() = "1 - Alpha(C)*Alpha(A)";
  const Json functions = {"Add", "Subtract", "Reverse Subtract", "Min", "Max"};
  const Json presets = {"custom",   "blend",    "dissolve", "clear",  "A",       "B",
                        "A over B", "B over A", "A in B",   "B in A", "A out B", "B out A",
                        "A atop B", "B atop A", "A xor B",  "A + B",  "A * B"};
  const auto enumeration = [](const char* name, const Json& values, const char* text) {
    return Json{{"name", name},
                {"type", "enumeration"},
                {"values", values},
                {"default", text},
                {"animatable", false}};
  };
  const Json expected = {
      {"operator", "RImOpBlend"},
      {"properties",
       {enumeration("Preset", presets, "A"),
        {{"name", "Color"}, {"type", "colour"}, {"default", {1.0, 1.0, 1.0}}, {"animatable", true}},
        {{"name", "Alpha"}, {"type", "number"}, {"default", 100.0}, {"animatable", true}},
        enumeration("FuncRGB", functions, "Add"),
        enumeration("FuncAlpha", functions, "Add"),
        enumeration("AFactorRGB", factorsOfA, "1"),
        enumeration("AFactorAlpha", factorsOfA, "1"),
        enumeration("BFactorRGB", factorsOfB, "0"),
        enumeration("BFactorAlpha", factorsOfB, "0")}}};
  EXPECT_EQ(JsonOf({"properties", "RImOpBlend", "--json"}), expected);
}

TEST(OperatorsCommand, ListsTheKeyerFirst) {
  const Json keyer = {{"name", "RImOpKeyer"},
                      {"title", "Keyer Effect"},
                      {"inputs", {"IN_0", "IN_1"}},
                      {"outputs", {"OUT_0"}},
                      {"properties", 11}};
  EXPECT_EQ(JsonOf({"operators", "--json"}).at(0), keyer);
  EXPECT_THAT(RunTool({"operators"}, kNoGui).output,
              testing::StartsWith("RImOpKeyer  Keyer Effect, IN_0 IN_1 to OUT_0, 11 properties\n"));
}

TEST(PropertiesCommand, TellsAllOfTheKeyer) {
  const auto enumeration = [](const char* name, const Json& values) {
    return Json{{"name", name},
                {"type", "enumeration"},
                {"values", values},
                {"default", values.front()},
                {"animatable", false}};
  };
  const auto percent = [](const char* name, double value) {
    return Json{{"name", name}, {"type", "number"}, {"default", value}, {"animatable", true}};
  };
  const Json expected = {
      {"operator", "RImOpKeyer"},
      {"properties",
       {enumeration("Mode", {"Chroma Keying", "Luminance Keying", "Difference Keying"}),
        enumeration("Output", {"Key", "Matte"}),
        {{"name", "InvertMatte"}, {"type", "boolean"}, {"default", false}, {"animatable", false}},
        {{"name", "Key"}, {"type", "colour"}, {"default", {0.2, 0.28, 0.68}}, {"animatable", false}},
        percent("Threshold", 100),
        percent("Softness", 0),
        percent("Suppression", 0),
        percent("LeftMask", 0),
        percent("RightMask", 0),
        percent("BottomMask", 0),
        percent("TopMask", 0)}}};
  for (const char* name : {"RImOpKeyer", "keyer"})
    EXPECT_EQ(JsonOf({"properties", name, "--json"}), expected);
}

TEST(PropertiesCommand, TakesShortNamesInAnyCase) {
  for (const char* name : {"blend", "Blend", "rimopblend", "RImOpBlend"}) {
    const auto result = RunTool({"properties", name}, kNoGui);
    EXPECT_EQ(result.code, 0) << name;
    EXPECT_THAT(result.output, testing::StartsWith("Preset              enumeration, default A\n"
                                                   "                     0  custom\n"));
    EXPECT_THAT(result.output, HasSubstr("Alpha               number, default 100, animatable\n"));
  }
}

// What people know an effect by is the word that they type to use it.
TEST(PropertiesCommand, TakesTheSubCommandsOfTheEffects) {
  for (const auto& [command, name] : {std::pair{"blend", "RImOpBlend"},
                                      {"correct", "RImOpCC"},
                                      {"Correct", "RImOpCC"},
                                      {"key", "RImOpKeyer"}})
    EXPECT_EQ(JsonOf({"properties", command, "--json"})["operator"], name);
  EXPECT_EQ(RunTool({"properties", "corect"}, kNoGui).errors,
            "rimage: properties: unknown operator 'corect' (did you mean correct?)\n");
}

TEST(PropertiesCommand, TellsMistakes) {
  EXPECT_EQ(RunTool({"properties", "blemd"}, kNoGui).errors,
            "rimage: properties: unknown operator 'blemd' (did you mean Blend?)\n");
  EXPECT_EQ(RunTool({"properties", "frobnicate"}, kNoGui).errors,
            "rimage: properties: unknown operator 'frobnicate' (rimage operators lists them)\n");
  const auto result = RunTool({"properties"}, kNoGui);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.errors, "rimage: properties: OPERATOR is missing (rimage properties --help)\n");
}

}  // namespace

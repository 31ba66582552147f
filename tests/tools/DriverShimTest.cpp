// Tests of --gl-shim: the tool meets the driver that is played.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "ToolRunner.h"

namespace test {
namespace {

// The shim is loaded before the sanitizer's own library.
const ToolSettings kSettings{.environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0"}}};

struct ShimRow {
  const char* name;
  std::set<std::string> extensions;
};

class DriverShim : public testing::TestWithParam<ShimRow> {};

TEST_P(DriverShim, ShowsItsExtensions) {
  const ToolResult result = RunTool({"--gl-shim", GetParam().name, "doctor", "--json"}, kSettings);
  ASSERT_EQ(result.code, 0) << result.errors;
  const auto json = nlohmann::json::parse(result.output);
  std::set<std::string> shown;
  for (const auto& [name, offered] : json.at("opengl").at("extensions").items()) {
    const bool concerned =
        name.starts_with("GL_NV_") || name.starts_with("GL_SGI_") || name.starts_with("GL_ATI_");
    if (concerned && offered.get<bool>()) shown.insert(name);
  }
  EXPECT_EQ(shown, GetParam().extensions);
}

INSTANTIATE_TEST_SUITE_P(Names, DriverShim,
                         testing::Values(ShimRow{"nv", {"GL_NV_fragment_program"}},
                                         ShimRow{"rc", {"GL_NV_register_combiners2"}},
                                         ShimRow{"ati", {"GL_ATI_fragment_shader"}},
                                         ShimRow{"sgi", {"GL_SGI_color_matrix"}}, ShimRow{"plain", {}}),
                         [](const auto& row) { return row.param.name; });

TEST(DriverShimOption, AnUnknownNameIsAUsageError) {
  const ToolResult result = RunTool({"--gl-shim", "cg", "doctor"}, kSettings);
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.errors.find("--gl-shim"), std::string::npos) << result.errors;
}

}  // namespace
}  // namespace test

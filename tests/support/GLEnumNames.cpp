#include "support/GLEnumNames.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace test {

namespace {

struct EnumName {
  unsigned value;
  std::string_view name;
};

// Deducing the size of std::array would nest deeper than compilers like for so many elements.
constexpr auto kNames = std::to_array<EnumName>({
#define GL_NAME(name) EnumName{name, #name},
#include "support/GLEnumNames.inc"
#undef GL_NAME
});

static_assert(std::is_sorted(kNames.begin(), kNames.end(),
                             [](const EnumName& a, const EnumName& b) { return a.value < b.value; }));

constexpr std::array<std::string_view, 10> kPrimitives{
    "GL_POINTS",         "GL_LINES",        "GL_LINE_LOOP", "GL_LINE_STRIP", "GL_TRIANGLES",
    "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN", "GL_QUADS",     "GL_QUAD_STRIP", "GL_POLYGON"};

std::string Hexadecimal(unsigned value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%X", value);
  return text.data();
}

}  // namespace

std::string GLEnumName(unsigned value) {
  const auto found = std::lower_bound(kNames.begin(), kNames.end(), value,
                                      [](const EnumName& row, unsigned v) { return row.value < v; });
  return found != kNames.end() && found->value == value ? std::string(found->name) : Hexadecimal(value);
}

std::string GLBlendFactorName(unsigned value) {
  if (value == GL_ZERO) return "GL_ZERO";
  return value == GL_ONE ? "GL_ONE" : GLEnumName(value);
}

std::string GLPrimitiveName(unsigned value) {
  return value < kPrimitives.size() ? std::string(kPrimitives[value]) : Hexadecimal(value);
}

}  // namespace test

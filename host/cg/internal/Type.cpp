#include "cg/internal/Type.h"

#include <algorithm>
#include <array>

namespace cg {

namespace {

struct Row {
  std::string_view cg;
  std::string_view glsl;
  Type type;
};

// A type of several names is told by the first.
constexpr std::array kTypes{
    Row{"void", "void", {Base::kVoid}},   Row{"bool", "bool", kBoolType},
    Row{"int", "int", kIntType},          Row{"float", "float", FloatType(1)},
    Row{"float1", "float", FloatType(1)}, Row{"float2", "vec2", FloatType(2)},
    Row{"float3", "vec3", FloatType(3)},  Row{"float4", "vec4", FloatType(4)},
    Row{"float4x4", "mat4", kMatrixType}, Row{"sampler2D", "sampler2D", kSamplerType}};

constexpr std::string_view kForeignStems[] = {
    "bool", "int",  "float",  "half",    "fixed",    "double", "char",    "short",    "uint",
    "long", "cint", "cfloat", "sampler", "unsigned", "string", "texture", "isampler", "usampler"};

/// Skips a digit from 1 to 4.
std::string_view SkipSize(std::string_view text) {
  return !text.empty() && text[0] >= '1' && text[0] <= '4' ? text.substr(1) : text;
}

/// "", "3", "3x2" for numbers; "1D", "RECT", "CUBE" and their like for samplers.
bool IsTypeEnding(std::string_view text) {
  if (text == "1D" || text == "2D" || text == "3D" || text == "CUBE" || text == "RECT" || text == "ARRAY")
    return true;
  text = SkipSize(text);
  if (text.starts_with('x')) text = SkipSize(text.substr(1));
  return text.empty();
}

const Row& RowOf(Type type) {
  return *std::find_if(kTypes.begin(), kTypes.end(), [&](const Row& row) { return row.type == type; });
}

}  // namespace

bool Type::IsScalar() const {
  return size == 1 && (base == Base::kBool || base == Base::kInt || base == Base::kFloat);
}

std::optional<Type> FindType(std::string_view name) {
  const auto* found =
      std::find_if(kTypes.begin(), kTypes.end(), [&](const Row& row) { return row.cg == name; });
  return found == kTypes.end() ? std::nullopt : std::optional(found->type);
}

bool IsForeignType(std::string_view name) {
  if (FindType(name)) return false;
  return std::any_of(std::begin(kForeignStems), std::end(kForeignStems), [&](std::string_view stem) {
    return name.starts_with(stem) && IsTypeEnding(name.substr(stem.size()));
  });
}

std::string CgName(Type type) { return std::string(RowOf(type).cg); }
std::string GlslName(Type type) { return std::string(RowOf(type).glsl); }

}  // namespace cg

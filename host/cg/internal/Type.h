// The types of the shading language.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cg {

enum class Base {
  kVoid,
  kBool,
  kInt,
  kFloat,
  kMatrix,   ///< 4 x 4 floats
  kSampler,  ///< a two-dimensional texture
};

struct Type {
  Base base = Base::kVoid;
  int size = 1;  ///< components of a float; 1 for everything else

  bool operator==(const Type&) const = default;
  /// A truth value or a number, not a vector.
  bool IsScalar() const;
  bool IsFloat() const { return base == Base::kFloat; }
};

inline constexpr Type kBoolType{Base::kBool};
inline constexpr Type kIntType{Base::kInt};
inline constexpr Type kMatrixType{Base::kMatrix};
inline constexpr Type kSamplerType{Base::kSampler};
constexpr Type FloatType(int size) { return {Base::kFloat, size}; }

/// Returns the type that a Cg name stands for, if there is one.
std::optional<Type> FindType(std::string_view name);
/// Whether a name is that of a Cg type that is not supported, such as "half4".
bool IsForeignType(std::string_view name);
/// The type's name in Cg and in GLSL.
std::string CgName(Type type);
std::string GlslName(Type type);

}  // namespace cg

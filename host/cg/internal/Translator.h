// From Cg to OpenGL's shading language.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cg/internal/Type.h"

namespace cg {

enum class Stage { kVertex, kFragment };

/// A parameter of the entry point.
struct TranslatedParameter {
  std::string name;
  Type type;
  bool isReferenced = false;  ///< the program reads or writes it
  std::string uniform;        ///< its name in GLSL; empty unless it is a float or sampler that the host sets
  int unit = -1;              ///< texture unit of a sampler
};

struct Translation {
  std::string
      glsl;  ///< of version 1.30, with the built-in variables of fixed functions for inputs and outputs
  std::vector<TranslatedParameter> parameters;
};

/// The most samplers of a program.
inline constexpr int kMostSamplers = 16;

/// Translates the function `entry` of a source. Nothing, with `error` set to "line N: reason", when the
/// source does not follow the language.
std::optional<Translation> Translate(std::string_view source, std::string_view entry, Stage stage,
                                     std::string& error);

}  // namespace cg

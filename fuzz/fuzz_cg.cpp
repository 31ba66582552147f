// The translator of the Cg runtime: any text ends in an error that tells its line, or in a program in which
// nothing of the text is left but numbers and marked names.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

#include "cg/internal/Translator.h"

namespace {

void Check(bool good) {
  if (!good) std::abort();
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The words of GLSL that a program can hold.
bool IsKnown(const std::string& word) {
  static const std::set<std::string> kWords = {"version",
                                               "uniform",
                                               "float",
                                               "int",
                                               "bool",
                                               "vec2",
                                               "vec3",
                                               "vec4",
                                               "mat4",
                                               "sampler2D",
                                               "void",
                                               "main",
                                               "if",
                                               "else",
                                               "return",
                                               "true",
                                               "false",
                                               "texture",
                                               "clamp",
                                               "dot",
                                               "trunc",
                                               "gl_Vertex",
                                               "gl_Color",
                                               "gl_Position",
                                               "gl_FrontColor",
                                               "gl_FragColor",
                                               "gl_TexCoord",
                                               "gl_ModelViewProjectionMatrix"};
  const bool isComponents = word.size() <= 4 && (word.find_first_not_of("xyzw") == std::string::npos ||
                                                 word.find_first_not_of("rgba") == std::string::npos);
  return isComponents || kWords.count(word) != 0 || word.starts_with("gl_MultiTexCoord") ||
         (word.starts_with("c_") && word.find("__") == std::string::npos && IsDigit(word.back()));
}

void CheckProgram(const std::string& glsl) {
  int depth = 0;
  for (std::size_t i = 0; i < glsl.size(); ++i) {
    depth += glsl[i] == '{' || glsl[i] == '(' || glsl[i] == '[';
    depth -= glsl[i] == '}' || glsl[i] == ')' || glsl[i] == ']';
    Check(depth >= 0 && glsl[i] > 0);
    if (IsDigit(glsl[i])) {  // a number, whose exponent is no word
      while (i + 1 < glsl.size() && (IsDigit(glsl[i + 1]) || glsl[i + 1] == '.' || glsl[i + 1] == 'e')) ++i;
      continue;
    }
    if (!IsLetter(glsl[i])) continue;
    std::string word;
    while (i < glsl.size() && (IsLetter(glsl[i]) || IsDigit(glsl[i]))) word += glsl[i++];
    --i;
    Check(IsKnown(word));
  }
  Check(depth == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view source(reinterpret_cast<const char*>(data), size);
  for (const cg::Stage stage : {cg::Stage::kVertex, cg::Stage::kFragment}) {
    std::string error;
    const auto translation = cg::Translate(source, "main", stage, error);
    Check(translation.has_value() == error.empty());
    if (!translation) {
      Check(error.starts_with("line ") && error.find('\n') == std::string::npos);
      continue;
    }
    CheckProgram(translation->glsl);
    int samplers = 0;
    for (const cg::TranslatedParameter& parameter : translation->parameters) {
      samplers += parameter.unit >= 0;
      Check(parameter.unit < cg::kMostSamplers);
    }
    Check(samplers <= cg::kMostSamplers);
  }
  return 0;
}

// What is wrong with a source.
#pragma once

#include <string>
#include <string_view>

namespace cg {

/// Returns a part of a source in quotation marks.
inline std::string Quote(std::string_view text) {
  std::string quoted = "'";
  quoted += text;
  quoted += '\'';
  return quoted;
}

/// Holds the first error of a source; later ones may only follow from it.
class Diagnostic {
 public:
  /// Notes an error. Returns false, so that a caller can fail with it.
  bool Fail(int line, const std::string& reason) {
    if (mText.empty()) mText = "line " + std::to_string(line) + ": " + reason;
    return false;
  }
  /// Returns "line N: reason", or nothing.
  const std::string& Text() const { return mText; }

 private:
  std::string mText;
};

}  // namespace cg

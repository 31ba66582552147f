// Text helpers of the base library's own sources; this header is not installed.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

namespace RText {

/// Compares without case, in ASCII only: the result never depends on the process's locale.
inline bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

/// Returns the shortest text that brings the same number back, with a point whatever the locale.
template <class T>
std::string FromNumber(T value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

/// Reads a number that takes up the whole text; false leaves `value` untouched.
template <class T>
[[nodiscard]] bool ToNumber(std::string_view text, T& value) {
  T parsed{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  value = parsed;
  return true;
}

}  // namespace RText

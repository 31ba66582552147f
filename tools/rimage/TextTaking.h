// Taking the parts of a text off its front.
#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

/// Takes a whole number; false leaves the text as it is.
inline bool TakeNumber(std::string_view& text, int& number, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

/// Takes this character; false leaves the text as it is.
inline bool TakeCharacter(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

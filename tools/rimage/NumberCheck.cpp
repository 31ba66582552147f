#include "NumberCheck.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

#include "Failure.h"

namespace {

// The library would take 010 for eight and 0x10 for sixteen.
template <class Value>
std::optional<Value> Parse(std::string_view text) {
  const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
  if (hasPlus) text.remove_prefix(1);
  Value value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

template <class Value>
CLI::Validator Between(Value least, Value most, const std::string& hint) {
  const auto take = [=](std::string& word) -> std::string {
    const auto value = Parse<Value>(word);
    // Written so that what is no number is refused.
    if (!value || !(*value >= least && *value <= most)) return WrongValue("", word, hint).Reason();
    word = fmt::format("{}", *value);
    return "";
  };
  return {take, hint};
}

}  // namespace

CLI::Validator WholeNumber(std::int64_t least, std::int64_t most) {
  return Between(least, most, fmt::format("a whole number from {} to {}", least, most));
}

CLI::Validator Number(double least, double most) {
  return Between(least, most, fmt::format("a number from {:g} to {:g}", least, most));
}

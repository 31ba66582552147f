// Options whose values are words.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "Suggestion.h"

/// Takes these words alone, and hands an option of an enumeration the value of the word. The help names none
/// of it: that is up to the option's type name or description.
template <class Value>
CLI::Validator OneOf(const std::map<std::string, Value>& choices) {
  const auto choose = [choices](std::string& word) -> std::string {
    if (const auto found = choices.find(word); found != choices.end()) {
      word = std::to_string(static_cast<int>(found->second));
      return "";
    }
    std::vector<std::string> known;
    known.reserve(choices.size());
    for (const auto& [name, value] : choices) known.push_back(name);
    return fmt::format("wrong value '{}' ({})", Printable(word), SuggestOrList(word, known));
  };
  return {choose, ""};
}

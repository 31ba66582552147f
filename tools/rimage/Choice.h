// Options whose values are words.
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "Suggestion.h"

/// Takes these words alone. The help names none of it: that is up to the option's type name or description.
inline CLI::Validator OneOf(const std::vector<std::string>& words) {
  const auto choose = [words](const std::string& word) -> std::string {
    if (std::ranges::find(words, word) != words.end()) return "";
    return WrongValue("", word, SuggestOrList(word, words)).Reason();
  };
  return {choose, ""};
}

/// The same, and hands an option of an enumeration the value of the word.
template <class Value>
CLI::Validator OneOf(const std::map<std::string, Value>& choices) {
  std::vector<std::string> words;
  words.reserve(choices.size());
  for (const auto& [name, value] : choices) words.push_back(name);
  const auto choose = [choices, refuse = OneOf(words)](std::string& word) -> std::string {
    if (const auto found = choices.find(word); found != choices.end()) {
      word = std::to_string(static_cast<int>(found->second));
      return "";
    }
    return refuse(word);
  };
  return {choose, ""};
}

#include "Suggestion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <numeric>

namespace {

bool IsSameLetter(char a, char b) {
  const auto small = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return small(a) == small(b);
}

// Counts the letters to insert, delete or replace between two words.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (IsSameLetter(a[i], b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string Suggest(const std::string& word, const std::vector<std::string>& known) {
  std::size_t least = word.size() / 3 + 1;
  std::string hint;
  for (const std::string& candidate : known) {
    const std::size_t distance = Distance(word, candidate);
    if (distance > least || (distance == least && !hint.empty())) continue;
    least = distance;
    hint = "did you mean " + candidate + "?";
  }
  return hint;
}

std::string SuggestOrList(const std::string& word, const std::vector<std::string>& known) {
  const std::string hint = Suggest(word, known);
  return hint.empty() ? fmt::format("known: {}", fmt::join(known, ", ")) : hint;
}

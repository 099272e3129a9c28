// SPDX-License-Identifier: MIT
#include "cli/text/nearestName.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>
#include <tuple>

namespace {

bool isSameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// The number of insertions, deletions and replacements between two texts, ignoring case.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const bool same = isSameLetter(a[i], b[j]);
      const std::size_t replaced = diagonal + (same ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

constexpr std::size_t kTellingBeginning = 4;  // letters

std::size_t sharedBeginning(const std::string& a, const std::string& b) {
  const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), isSameLetter).first;
  return static_cast<std::size_t>(end - a.begin());
}

constexpr std::size_t kTellingPart = 3;  // letters

bool contains(const std::string& name, const std::string& part) {
  return part.size() >= kTellingPart &&
         std::search(name.begin(), name.end(), part.begin(), part.end(), isSameLetter) != name.end();
}

// Without the dashes of an option, which do not matter for the comparison.
std::size_t bareSize(const std::string& name) {
  return name.size() - std::min(name.find_first_not_of('-'), name.size());
}

}  // namespace

std::string suggestName(const std::string& given, const std::vector<std::string>& known) {
  // Names that contain the given text come first, then those with the same beginning.
  const auto rank = [&given](const std::string& name) {
    return std::tuple(!contains(name, given), sharedBeginning(given, name) < kTellingBeginning, distance(given, name));
  };
  const auto nearest = std::min_element(
      known.begin(), known.end(), [&rank](const std::string& a, const std::string& b) { return rank(a) < rank(b); });
  if (nearest != known.end() &&
      (contains(*nearest, given) || distance(given, *nearest) <= std::max<std::size_t>(1, bareSize(*nearest) / 2))) {
    return "did you mean " + *nearest + "?";
  }
  std::string list;
  for (const std::string& name : known) list += (list.empty() ? "" : ", ") + name;
  return "known: " + list;
}

std::vector<std::size_t> namesLike(const std::string& text, const std::vector<std::string>& names) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (std::equal(text.begin(), text.end(), names[i].begin(), names[i].end(), isSameLetter)) found.push_back(i);
  }
  return found;
}

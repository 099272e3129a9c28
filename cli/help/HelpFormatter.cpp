// SPDX-License-Identifier: MIT
#include "cli/help/HelpFormatter.h"

#include <sstream>

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  const std::string all = CLI::Formatter::make_option_opts(option);
  return all.substr(0, all.find(" Excludes:"));
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  constexpr std::size_t kColumns = 80;
  const std::size_t most = kColumns - get_column_width();
  std::istringstream words(CLI::Formatter::make_option_desc(option));
  std::string text;
  std::size_t column = 0;
  for (std::string word; words >> word; column += word.size()) {
    const bool fits = column + 1 + word.size() <= most;
    if (!text.empty()) text += fits ? ' ' : '\n';
    column = text.empty() || !fits ? 0 : column + 1;
    text += word;
  }
  return text;
}

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

std::string HelpFormatter::make_expanded(const CLI::App* app) const {
  std::string name = app->get_name();
  for (const CLI::App* above = app->get_parent(); above != nullptr; above = above->get_parent()) {
    name.insert(0, above->get_name() + " ");
  }
  // help2man would take a line that ends in a colon, followed by an indented line, for a subsection heading.
  std::string text = "\n" + name + ":\n  " + app->get_description() + ".\n\n";
  for (const bool positional : {true, false}) {
    for (const CLI::Option* option : app->get_options()) {
      const bool listed = option->get_positional() == positional && option != app->get_help_ptr();
      if (listed) text += make_option(option, positional);
    }
  }
  // One paragraph for each example, without the heading "Examples:", which would start a section.
  std::istringstream examples(app->get_footer());
  std::string line;
  if (examples >> line) text += "\nFor example:\n";
  while (std::getline(examples >> std::ws, line)) text += "\n  " + line + "\n";
  for (const CLI::App* one : app->get_subcommands([](const CLI::App*) { return true; })) text += make_expanded(one);
  return text;
}

// SPDX-License-Identifier: MIT
#include "cli/help/commandTree.h"

#include <algorithm>

Apps subcommandsOf(const CLI::App& app) {
  Apps shown;
  for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!one->get_group().empty()) shown.push_back(one);
  }
  return shown;
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& app) {
  std::vector<const CLI::Option*> shown;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_group().empty()) shown.push_back(option);
  }
  return shown;
}

Apps leavesOf(const CLI::App& app) {
  const Apps inner = subcommandsOf(app);
  if (inner.empty()) return {&app};
  Apps leaves;
  for (const CLI::App* one : inner) {
    const Apps below = leavesOf(*one);
    leaves.insert(leaves.end(), below.begin(), below.end());
  }
  return leaves;
}

std::string pathOf(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  if (parent == nullptr) return "";
  const std::string above = pathOf(*parent);
  return above.empty() ? app.get_name() : above + " " + app.get_name();
}

bool takesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::string wordsIn(const std::string& type) {
  std::string words;
  for (std::size_t begin = 0; begin < type.size();) {
    const std::size_t end = std::min(type.find('|', begin), type.size());
    const bool isWord = type[begin] >= 'a' && type[begin] <= 'z';
    if (isWord) words.append(words.empty() ? "" : " ").append(type, begin, end - begin);
    begin = end + 1;
  }
  return words;
}

Values valuesOf(const std::string& type) {
  if (type.size() > 5 && type.compare(type.size() - 5, 5, ".json") == 0) return Values::json;
  if (!wordsIn(type).empty()) return Values::words;
  if (type == "DIR") return Values::folder;
  return type == "FILE" || type == "PATH" ? Values::anyFile : Values::other;
}

Values positionalValuesOf(const CLI::App& app) {
  Values values = Values::other;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) continue;
    values = valuesOf(option->get_name()) == Values::json ? Values::json : Values::anyFile;
  }
  return values;
}

std::string joined(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text.append(text.empty() ? "" : between).append(part);
  return text;
}

std::string parentPattern(const CLI::App& app) {
  std::vector<std::string> parents;
  for (const CLI::App* one : subcommandsOf(app)) {
    if (!subcommandsOf(*one).empty()) parents.push_back(one->get_name());
  }
  return joined(parents, "|");
}

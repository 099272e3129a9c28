// SPDX-License-Identifier: MIT
#include "cli/help/usageError.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>

#include "cli/help/commandTree.h"
#include "cli/text/nearestName.h"

namespace {

// A command line as far as the tables of options explain it.
struct Reading {
  const CLI::App* command = nullptr;  // the innermost subcommand in use
  std::string unknown;                // the first option or subcommand that the command does not have, else empty
  std::string incomplete;             // the first option without its value
  std::string repeated;               // the first option given twice that may be given once
  std::string extra;                  // the first word beyond those that the command takes
  std::string valued;                 // the first option with a value that takes none
  std::string conflict;               // the first two options that exclude each other
  std::string missing;                // the first that must be there and is not
};

bool isOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

const CLI::Option* findOption(const CLI::App& command, const std::string& name) {
  for (const CLI::Option* option : command.get_options()) {
    const std::vector<std::string> names = namesOf(*option);
    if (std::find(names.begin(), names.end(), name) != names.end()) return option;
  }
  return nullptr;
}

const CLI::App* findCommand(const CLI::App& app, const std::string& name) {
  const Apps all = app.get_subcommands([](const CLI::App*) { return true; });
  const auto found =
      std::find_if(all.begin(), all.end(), [&name](const CLI::App* one) { return one->get_name() == name; });
  return found != all.end() ? *found : nullptr;
}

// How many words the command takes that are no options.
int mostPlaced(const CLI::App& command) {
  int most = 0;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) most += option->get_items_expected_max();
  }
  return most;
}

using Given = std::map<const CLI::Option*, int>;

std::string conflictIn(const CLI::App& command, const Given& given) {
  for (const CLI::Option* option : command.get_options()) {
    for (const CLI::Option* other : option->get_excludes()) {
      if (given.count(option) != 0 && given.count(other) != 0) return option->get_name() + " and " + other->get_name();
    }
  }
  return "";
}

// `placed` is how many words there are that are no options.
std::string missingFrom(const CLI::App& command, const Given& given, int placed) {
  for (const CLI::Option* option : command.get_options()) {
    const bool isThere =
        option->get_positional() ? placed >= option->get_items_expected_min() : given.count(option) != 0;
    if (option->get_required() && !isThere) return option->get_name();
    if (option->get_positional()) placed -= option->get_items_expected_max();
  }
  return "";
}

Reading read(const CLI::App& app, const std::vector<std::string>& words) {
  Reading result;
  result.command = &app;
  const auto note = [](std::string& place, const std::string& word) {
    if (place.empty()) place = word;
  };
  Given given;
  int placed = 0;
  for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
    const std::size_t equals = words[i].find('=');
    const std::string name = words[i].substr(0, equals);
    if (!isOption(name)) {
      if (subcommandsOf(*result.command).empty()) {
        if (++placed > mostPlaced(*result.command)) note(result.extra, name);
        continue;
      }
      const CLI::App* const inner = findCommand(*result.command, name);
      if (inner != nullptr) result.command = inner;
      if (inner == nullptr) note(result.unknown, name);
      continue;
    }
    const CLI::Option* const option = findOption(*result.command, name);
    if (option == nullptr) {
      note(result.unknown, name);
      continue;
    }
    if (++given[option] > 1 && takesValue(*option) && option->get_items_expected_max() == 1)
      note(result.repeated, name);
    if (!takesValue(*option) && equals != std::string::npos) note(result.valued, name);
    if (!takesValue(*option) || equals != std::string::npos) continue;
    const bool isMissing = i + 1 == words.size() || words[i + 1] == "--" || findOption(*result.command, words[i + 1]);
    if (isMissing) note(result.incomplete, name);
    if (!isMissing) ++i;
  }
  result.conflict = conflictIn(*result.command, given);
  result.missing = missingFrom(*result.command, given, placed);
  return result;
}

std::string explainUnknown(const std::string& word, const CLI::App& command) {
  const std::filesystem::path path(word);
  std::error_code error;
  if (isOption(word) && (path.has_extension() || std::filesystem::exists(path, error))) {
    return word + " looks like an option; for a file of that name write ./" + word;
  }
  std::vector<std::string> known;
  for (const CLI::Option* option : optionsOf(command)) {
    for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
  }
  for (const CLI::App* one : subcommandsOf(command)) known.push_back(one->get_name());
  return word + " is unknown; " + suggestName(word, known);
}

}  // namespace

std::string explainUsageError(const CLI::App& app, const std::vector<std::string>& words,
                              const CLI::ParseError& error) {
  const Reading reading = read(app, words);
  const std::string path = pathOf(*reading.command);
  const std::string help = "; see brumbler " + (path.empty() ? "" : path + " ") + "--help";
  if (!reading.unknown.empty()) return explainUnknown(reading.unknown, *reading.command);
  if (!reading.repeated.empty()) return reading.repeated + " is given twice; keep one" + help;
  if (!reading.incomplete.empty()) return reading.incomplete + " needs a value" + help;
  if (!reading.valued.empty()) return reading.valued + " takes no value" + help;
  if (!reading.conflict.empty()) return reading.conflict + " contradict each other; keep one" + help;
  if (!reading.extra.empty()) return reading.extra + " is a word too many" + help;
  const Apps choices = subcommandsOf(*reading.command);
  if (!choices.empty()) {
    std::vector<std::string> names;
    for (const CLI::App* one : choices) names.push_back(one->get_name());
    return "choose a subcommand: " + joined(names, ", ") + help;
  }
  if (!reading.missing.empty()) return reading.missing + " must be given" + help;
  return std::string(error.what()) + help;
}

// SPDX-License-Identifier: MIT
#include "cli/help/usageError.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <vector>

#include "cli/text/nearestName.h"

namespace {

std::string explainUnexpected(const std::string& word, const CLI::App& command, const std::string& help) {
  const std::string name = word.substr(0, word.find('='));
  const std::string text = "unexpected argument " + word;
  std::error_code error;
  std::vector<std::string> known;
  if (word[0] == '-') {
    if (std::filesystem::exists(word, error)) return text + "; for a file of that name write ./" + word;
    for (const CLI::Option* option : command.get_options()) {
      for (const std::string& one : option->get_lnames()) known.push_back("--" + one);
    }
  } else {
    for (const CLI::App* one : command.get_subcommands([](const CLI::App*) { return true; })) {
      known.push_back(one->get_name());
    }
  }
  return text + "; " + (known.empty() ? help : suggestName(name, known));
}

}  // namespace

std::string explainUsageError(const CLI::App& app, const CLI::ParseError& error) {
  std::string help = "see brumbler ";
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    help += command->get_name() + " ";
  }
  help += "--help";
  const std::vector<std::string> unexpected = app.remaining(true);
  if (!unexpected.empty()) return explainUnexpected(unexpected.front(), *command, help);
  std::string text = error.what();
  // CLI11's message only counts the values, and all options here take one.
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
    text.replace(text.find(':'), text.npos, " takes one value");
  return text + "; " + help;
}

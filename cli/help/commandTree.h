// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// The command line as its own tables have it, for whatever describes it: manual page, completions, messages. Hidden
// subcommands and options are left out.

using Apps = std::vector<const CLI::App*>;

// In the order of the help.
Apps subcommandsOf(const CLI::App& app);
std::vector<const CLI::Option*> optionsOf(const CLI::App& app);

// Every command that does something itself, in the order of the help.
Apps leavesOf(const CLI::App& app);

// Like "plot curve"; empty for the command itself.
std::string pathOf(const CLI::App& app);

bool takesValue(const CLI::Option& option);

// With their hyphens, the short ones first; none where what is given is known by its place.
std::vector<std::string> namesOf(const CLI::Option& option);

// What may stand in the place of a value, from its type in the help: words in small letters with bars between them, or
// the name of a file.
enum class Values { words, json, anyFile, folder, other };
Values valuesOf(const std::string& type);

// The words that a type names, with spaces between.
std::string wordsIn(const std::string& type);

// What may stand without an option's name: all of that is a file.
Values positionalValuesOf(const CLI::App& app);

std::string joined(const std::vector<std::string>& parts, const char* between);

// A shell pattern of the commands that have others below them.
std::string parentPattern(const CLI::App& app);

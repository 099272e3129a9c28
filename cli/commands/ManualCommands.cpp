// SPDX-License-Identifier: MIT
// The manual page and the shells' completions, made from the tables that parse the command line. The build calls these
// subcommands; --help does not show them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/text/Failure.h"

namespace {

using Apps = std::vector<const CLI::App*>;

Apps subcommandsOf(const CLI::App& app) {
  Apps shown;
  for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!one->get_group().empty()) shown.push_back(one);
  }
  return shown;
}

// Every command that does something itself, in the order of the help.
void collectLeaves(const CLI::App& app, Apps& leaves) {
  const Apps inner = subcommandsOf(app);
  if (inner.empty()) leaves.push_back(&app);
  for (const CLI::App* one : inner) collectLeaves(*one, leaves);
}

// Like "plot curve".
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

std::string escapeRoff(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else if (c == '\'' || c == '`') {
      result += c == '\'' ? "\\(aq" : "\\(ga";
    } else if (c == '.' && (result.empty() || result.back() == '\n')) {
      result += "\\&.";
    } else {
      result += c;
    }
  }
  return result;
}

void printOptions(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    std::string head;
    for (const std::string& name : namesOf(*option)) {
      head.append(head.empty() ? "" : ", ").append("\\fB").append(escapeRoff(name)).append("\\fR");
    }
    if (head.empty()) head = "\\fI" + escapeRoff(option->get_name()) + "\\fR";
    if (!namesOf(*option).empty() && takesValue(*option)) {
      head += " \\fI" + escapeRoff(option->get_type_name()) + "\\fR";
    }
    std::printf(".TP\n%s\n%s\n", head.c_str(), escapeRoff(option->get_description()).c_str());
  }
}

// "Example: LINE" or "Examples:" with a line each.
void printExamples(const CLI::App& app) {
  const std::string footer = app.get_footer();
  const std::size_t colon = footer.find(':');
  if (colon == std::string::npos) return;
  const std::string lines = footer.substr(footer.find_first_not_of(" \n", colon + 1));
  std::printf(".PP\n%s\n.PP\n.nf\n", footer.substr(0, colon + 1).c_str());
  for (std::size_t begin = 0; begin < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', begin), lines.size());
    const std::size_t text = lines.find_first_not_of(' ', begin);
    if (text < end) std::printf("    %s\n", escapeRoff(lines.substr(text, end - text)).c_str());
    begin = end + 1;
  }
  std::puts(".fi");
}

// Like "FILES..." or "[FILE]".
std::string positionalsOf(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) continue;
    const std::string name = "\\fI" + escapeRoff(option->get_name()) + "\\fR";
    const char* const more = option->get_items_expected_max() > 1 ? "..." : "";
    text += option->get_required() ? " " + name + more : " [" + name + more + "]";
  }
  return text;
}

// No date: the page is as old as the command, whose version it has.
void printManual(const CLI::App& app) {
  std::printf(".TH BRUMBLER 1 \"\" \"brumbler %s\" \"User Commands\"\n", BRUMBLER_VERSION);
  std::printf(".SH NAME\nbrumbler \\- a fuzz for guitar and bass\n");
  std::printf(".SH SYNOPSIS\n");
  Apps leaves;
  collectLeaves(app, leaves);
  for (const CLI::App* leaf : leaves) {
    std::printf("%s\\fBbrumbler %s\\fR [\\fIOPTIONS\\fR]%s\n", leaf == leaves.front() ? "" : ".br\n",
                pathOf(*leaf).c_str(), positionalsOf(*leaf).c_str());
  }
  std::printf(".SH DESCRIPTION\n%s\n", escapeRoff(app.get_description()).c_str());
  printOptions(app);
  printExamples(app);
  std::puts(".SH COMMANDS");
  for (const CLI::App* leaf : leaves) {
    std::printf(".SS brumbler %s\n%s.\n", pathOf(*leaf).c_str(), escapeRoff(leaf->get_description()).c_str());
    printOptions(*leaf);
    printExamples(*leaf);
  }
  std::puts(
      ".SH EXIT STATUS\n0: done. 1: the command could not be done, or the sounds compared differ. 2: the command line "
      "is wrong.\nMessages are one line on standard error.");
}

// What may stand in the place of a value, from its type in the help: words in small letters with bars between them, or
// the name of a file.
enum class Values { words, json, anyFile, folder, other };

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

// All that stands without an option's name is a file.
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

// A shell pattern of the commands that have others below them.
std::string parentPattern(const CLI::App& app) {
  std::vector<std::string> parents;
  for (const CLI::App* one : subcommandsOf(app)) {
    if (!subcommandsOf(*one).empty()) parents.push_back(one->get_name());
  }
  return joined(parents, "|");
}

// The two variables of the bash function that say what to offer.
std::string bashOffer(Values values, const std::string& words) {
  switch (values) {
    case Values::words: return "words='" + words + "' files=";
    case Values::json: return "words= files=json";
    case Values::anyFile: return "words= files=any";
    case Values::folder: return "words= files=folder";
    case Values::other: break;
  }
  return "words= files=";
}

void printBashCommand(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* one : subcommandsOf(app)) names.push_back(one->get_name());
  const bool isLeaf = names.empty();
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    for (const std::string& name : namesOf(*option)) names.push_back(name);
  }
  const std::string words = joined(names, " ");
  const std::string path = pathOf(app);
  const Values positional = isLeaf ? positionalValuesOf(app) : Values::other;
  std::printf("    '%s':-*) words='%s' ;;\n", path.c_str(), words.c_str());
  std::printf("    '%s':*) %s ;;\n", path.c_str(),
              positional == Values::other ? ("words='" + words + "'").c_str() : bashOffer(positional, "").c_str());
  for (const CLI::App* one : subcommandsOf(app)) printBashCommand(*one);
}

void printBashOptions(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty() || !takesValue(*option)) continue;
    const std::string type = option->get_type_name();
    for (const std::string& name : namesOf(*option)) {
      std::printf("    '%s:%s') %s ;;\n", pathOf(app).c_str(), name.c_str(),
                  bashOffer(valuesOf(type), wordsIn(type)).c_str());
    }
  }
  for (const CLI::App* one : subcommandsOf(app)) printBashOptions(*one);
}

void printBash(const CLI::App& app) {
  std::printf(
      "# bash completion for brumbler\n"
      "_brumbler() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= words= files=\n"
      "  # bash takes the sign in --option=value for a word of its own\n"
      "  [[ $before == = ]] && before=${COMP_WORDS[COMP_CWORD-2]}\n"
      "  [[ $word == = ]] && word=\n"
      "  ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]}\n"
      "  case $command in\n"
      "    %s) ((COMP_CWORD > 2)) && command+=\" ${COMP_WORDS[2]}\" ;;\n"
      "  esac\n"
      "  case \"$command:$word\" in\n",
      parentPattern(app).c_str());
  printBashCommand(app);
  std::puts("  esac\n  case \"$command:$before\" in");
  printBashOptions(app);
  std::puts(
      "  esac\n"
      "  [[ -z $files ]] || compopt -o filenames -o plusdirs 2>/dev/null\n"
      "  case $files in\n"
      "    '') mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\") ;;\n"
      "    any) mapfile -t COMPREPLY < <(compgen -f -- \"$word\") ;;\n"
      "    json) mapfile -t COMPREPLY < <(compgen -f -X '!*.json' -- \"$word\") ;;\n"
      "    folder) COMPREPLY=() ;;\n"
      "  esac\n"
      "}\n"
      "complete -F _brumbler brumbler");
}

// In single quotes, for the colon-separated fields of zsh's _arguments and _values.
std::string escapeZsh(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result.append(c == ':' || c == '[' || c == ']' || c == '\\' ? "\\" : "").append(1, c);
    }
  }
  return result;
}

std::string zshAction(Values values, const std::string& words) {
  switch (values) {
    case Values::words: return "(" + words + ")";
    case Values::json: return "_files -g \"*.json\"";
    case Values::anyFile: return "_files";
    case Values::folder: return "_files -/";
    case Values::other: break;
  }
  return " ";
}

void printZshCase(const CLI::App& app) {
  const Apps inner = subcommandsOf(app);
  std::printf("    '%s')\n      _arguments -s", pathOf(app).c_str());
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    const std::string type = option->get_type_name();
    for (const std::string& name : namesOf(*option)) {
      const char* const equals = name.compare(0, 2, "--") == 0 && takesValue(*option) ? "=" : "";
      std::printf(" \\\n        '%s%s[%s]", name.c_str(), equals, escapeZsh(option->get_description()).c_str());
      if (takesValue(*option)) {
        std::printf(":%s:%s", escapeZsh(type).c_str(), zshAction(valuesOf(type), wordsIn(type)).c_str());
      }
      std::printf("'");
    }
  }
  if (!inner.empty()) {
    std::printf(" \\\n        '1:command:((");
    for (const CLI::App* one : inner) {
      std::printf("%s%s\\:\"%s\"", one == inner.front() ? "" : " ", one->get_name().c_str(),
                  escapeZsh(one->get_description()).c_str());
    }
    std::printf("))'");
  } else if (const Values values = positionalValuesOf(app); values != Values::other) {
    std::printf(" \\\n        '*:file:%s'", zshAction(values, "").c_str());
  }
  std::puts(" ;;");
  for (const CLI::App* one : inner) printZshCase(*one);
}

void printZsh(const CLI::App& app) {
  std::printf(
      "#compdef brumbler\n"
      "_brumbler() {\n"
      "  local command=\n"
      "  ((CURRENT > 2)) && command=$words[2] && shift words && ((CURRENT--))\n"
      "  case $command in\n"
      "    %s) ((CURRENT > 2)) && command+=\" $words[2]\" && shift words && ((CURRENT--)) ;;\n"
      "  esac\n"
      "  case $command in\n",
      parentPattern(app).c_str());
  printZshCase(app);
  std::puts("  esac\n}\n_brumbler \"$@\"");
}

}  // namespace

void addManualCommands(CLI::App& app) {
  CLI::App* const manual = app.add_subcommand("man", "Print the manual page")->group("");
  manual->footer("Example: brumbler man | man -l -");
  manual->callback([&app] { printManual(app); });
  CLI::App* const completion = app.add_subcommand("completion", "Print a shell's completion")->group("");
  completion->require_subcommand(1);
  completion->footer("Example: source <(brumbler completion bash)");
  completion->add_subcommand("bash", "For bash")->callback([&app] { printBash(app); });
  completion->add_subcommand("zsh", "For zsh")->callback([&app] { printZsh(app); });
}

// SPDX-License-Identifier: MIT
// The manual page and the shells' completions, made from the tables that parse the command line. The build calls these
// subcommands; --help does not show them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/Failure.h"

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

void printManual(const CLI::App& app) {
  std::printf(".TH BRUMBLER 1 \"\" \"brumbler %s\" \"User Commands\"\n", BRUMBLER_VERSION);
  std::printf(".SH NAME\nbrumbler \\- a fuzz for guitar and bass\n");
  std::printf(".SH SYNOPSIS\n");
  Apps leaves;
  collectLeaves(app, leaves);
  for (const CLI::App* leaf : leaves) {
    std::string positionals;
    for (const CLI::Option* option : leaf->get_options()) {
      if (option->get_positional()) positionals += " \\fI" + escapeRoff(option->get_name()) + "\\fR";
    }
    std::printf("%s\\fBbrumbler %s\\fR [\\fIOPTIONS\\fR]%s\n", leaf == leaves.front() ? "" : ".br\n",
                pathOf(*leaf).c_str(), positionals.c_str());
  }
  std::printf(".SH DESCRIPTION\n%s\n", escapeRoff(app.get_description()).c_str());
  printOptions(app);
  printExamples(app);
  for (const CLI::App* leaf : leaves) {
    std::printf(".SH BRUMBLER %s\n%s.\n", CLI::detail::to_lower(pathOf(*leaf)).c_str(),
                escapeRoff(leaf->get_description()).c_str());
    printOptions(*leaf);
    printExamples(*leaf);
  }
  std::puts(
      ".SH EXIT STATUS\n0: done. 1: the command could not be done, or the sounds compared differ. 2: the command line "
      "is wrong.\nMessages are one line on standard error.");
}

// What a shell needs of one command: the words that may follow, and the options that take a file or another value.
struct Words {
  std::string names, fileOptions, valueOptions;
};

void addName(std::string& list, const std::string& name, const char* between) {
  list.append(list.empty() ? "" : between).append(name);
}

Words wordsOf(const CLI::App& app) {
  Words words;
  for (const CLI::App* one : subcommandsOf(app)) addName(words.names, one->get_name(), " ");
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    const std::string type = option->get_type_name();
    const bool file = type.rfind("FILE", 0) == 0 || type == "PATH" || type == "DIR";
    for (const std::string& name : namesOf(*option)) {
      addName(words.names, name, " ");
      if (takesValue(*option)) addName(file ? words.fileOptions : words.valueOptions, name, "|");
    }
  }
  return words;
}

void printBashCase(const CLI::App& app) {
  const Words words = wordsOf(app);
  std::printf("    \"%s\") names=\"%s\" files=\"%s\" values=\"%s\" ;;\n", pathOf(app).c_str(), words.names.c_str(),
              words.fileOptions.c_str(), words.valueOptions.c_str());
  for (const CLI::App* one : subcommandsOf(app)) printBashCase(*one);
}

// A shell pattern of the commands that have others below them.
std::string parentPattern(const CLI::App& app) {
  std::string pattern;
  for (const CLI::App* one : subcommandsOf(app)) {
    if (!subcommandsOf(*one).empty()) addName(pattern, one->get_name(), "|");
  }
  return pattern;
}

void printBash(const CLI::App& app) {
  std::printf(
      "# bash completion for brumbler\n"
      "_brumbler() {\n"
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= names files values\n"
      "  COMPREPLY=()\n"
      "  ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]}\n"
      "  case $command in\n"
      "    %s) ((COMP_CWORD > 2)) && command+=\" ${COMP_WORDS[2]}\" ;;\n"
      "  esac\n"
      "  case $command in\n",
      parentPattern(app).c_str());
  printBashCase(app);
  std::puts(
      "    *) return ;;\n"
      "  esac\n"
      "  if [[ -n $values && $before =~ ^($values)$ ]]; then\n"
      "    return\n"
      "  elif [[ -n $files && $before =~ ^($files)$ ]] || [[ $word != -* && $names == -* ]]; then\n"
      "    compopt -o filenames 2>/dev/null\n"
      "    mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
      "  else\n"
      "    mapfile -t COMPREPLY < <(compgen -W \"$names\" -- \"$word\")\n"
      "  fi\n"
      "}\n"
      "complete -F _brumbler brumbler");
}

// In single quotes, for the colon-separated fields of zsh's _arguments and _describe.
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

void printZshCase(const CLI::App& app) {
  const Apps inner = subcommandsOf(app);
  std::printf("    '%s')\n", pathOf(app).c_str());
  if (inner.empty()) {
    std::printf("      _arguments");
    for (const CLI::Option* option : app.get_options()) {
      if (option->get_group().empty()) continue;
      const std::string type = option->get_type_name();
      const bool file = type.rfind("FILE", 0) == 0 || type == "PATH";
      for (const std::string& name : namesOf(*option)) {
        std::printf(" \\\n        '%s[%s]", name.c_str(), escapeZsh(option->get_description()).c_str());
        if (takesValue(*option)) {
          std::printf(":%s:%s", escapeZsh(type).c_str(), file ? "_files" : type == "DIR" ? "_files -/" : "");
        }
        std::printf("'");
      }
    }
    std::printf(" \\\n        '*:file:_files' ;;\n");
  } else {
    std::printf("      _values command");
    for (const CLI::App* one : inner) {
      std::printf(" \\\n        '%s[%s]'", one->get_name().c_str(), escapeZsh(one->get_description()).c_str());
    }
    std::printf(" ;;\n");
  }
  for (const CLI::App* one : inner) printZshCase(*one);
}

void printZsh(const CLI::App& app) {
  std::printf(
      "#compdef brumbler\n"
      "_brumbler() {\n"
      "  local command=\n"
      "  ((CURRENT > 2)) && command=$words[2]\n"
      "  case $command in\n"
      "    %s) ((CURRENT > 3)) && command+=\" $words[3]\" ;;\n"
      "  esac\n"
      "  case $command in\n",
      parentPattern(app).c_str());
  printZshCase(app);
  std::puts("  esac\n}\n_brumbler \"$@\"");
}

}  // namespace

void addManualCommands(CLI::App& app) {
  CLI::App* const manual = app.add_subcommand("man", "Print the manual page")->group("");
  manual->callback([&app] { printManual(app); });
  CLI::App* const completion = app.add_subcommand("completion", "Print a shell's completion")->group("");
  completion->require_subcommand(1);
  completion->add_subcommand("bash", "For bash")->callback([&app] { printBash(app); });
  completion->add_subcommand("zsh", "For zsh")->callback([&app] { printZsh(app); });
}

// SPDX-License-Identifier: MIT
#include <cstdio>
#include <string>

#include "cli/help/commandTree.h"
#include "cli/help/completion.h"

namespace {

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
  for (const CLI::Option* option : optionsOf(app)) {
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

}  // namespace

void printZshCompletion(const CLI::App& app) {
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

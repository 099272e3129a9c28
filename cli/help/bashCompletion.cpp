// SPDX-License-Identifier: MIT
#include <cstdio>
#include <string>
#include <vector>

#include "cli/help/commandTree.h"
#include "cli/help/completion.h"

namespace {

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
  for (const CLI::Option* option : optionsOf(app)) {
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
  for (const CLI::Option* option : optionsOf(app)) {
    if (!takesValue(*option)) continue;
    const std::string type = option->get_type_name();
    for (const std::string& name : namesOf(*option)) {
      std::printf("    '%s:%s') %s ;;\n", pathOf(app).c_str(), name.c_str(),
                  bashOffer(valuesOf(type), wordsIn(type)).c_str());
    }
  }
  for (const CLI::App* one : subcommandsOf(app)) printBashOptions(*one);
}

}  // namespace

void printBashCompletion(const CLI::App& app) {
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

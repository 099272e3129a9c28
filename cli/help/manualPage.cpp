// SPDX-License-Identifier: MIT
#include "cli/help/manualPage.h"

#include <cstdio>
#include <string>

#include "catalog/catalog.h"
#include "cli/effect/Bank.h"
#include "cli/help/commandTree.h"
#include "cli/text/numbers.h"

namespace {

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
  for (const CLI::Option* option : optionsOf(app)) {
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

// A list of entries with a term each.
void printEntry(const std::string& term, const std::string& text) {
  std::printf(".TP\n\\fB%s\\fR\n%s\n", escapeRoff(term).c_str(), escapeRoff(text).c_str());
}

void printExample(const char* lines) { std::printf(".PP\n.nf\n.RS\n%s\n.RE\n.fi\n", escapeRoff(lines).c_str()); }

std::string positionsOf(const catalog::Parameter& parameter) {
  const bool isSwitch = parameter.scale == catalog::Scale::toggle;
  return isSwitch ? "0 (off) or 1 (on)" : shortText(parameter.minimum) + " to " + shortText(parameter.maximum);
}

void printFileFormats() {
  std::puts(".SH BANKS");
  std::puts("A bank is a JSON file, as \\fBbrumbler bank save\\fR writes it: the programs from the first on.");
  printExample(R"({"programs": [
  {"name": "Warm", "VOLUME": 4, "FUZZ": 2},
  {"name": "Lead", "On/Off": 1, "VOLUME": 6, "FUZZ": 10}
]})");
  std::puts(".PP\nProgram by program, what is left out stays as the effect has it. The keys:");
  printEntry("name", "At most " + std::to_string(Bank::kLongestName) + " bytes.");
  for (int i = 0; i < catalog::kNumEffectParameters; ++i) {
    const catalog::Parameter& parameter = catalog::kParameters[i];
    printEntry(parameter.name, positionsOf(parameter) + ". " + parameter.does);
  }
  std::puts(".SH AUTOMATION");
  std::puts(
      "An automation is a JSON file. A parameter moves along straight lines from keyframe to keyframe; a switch and a "
      "program change at once.");
  printExample(R"({
  "parameters": {
    "FUZZ":   [{"seconds": 0, "value": 2}, {"percent": 100, "value": 10}],
    "On/Off": [{"samples": 0, "value": 0}, {"seconds": 1.5, "value": 1}]
  },
  "programs": [{"seconds": 4, "program": 2}]
})");
  std::puts(
      ".PP\nEach keyframe has one time: \\fBsamples\\fR of the recording, \\fBseconds\\fR, or \\fBpercent\\fR of its "
      "length. Values are those of a bank; programs count from 1. Before its first keyframe a parameter has that "
      "keyframe's value, after its last one the last value. Two keyframes at one time are a jump.");
}

}  // namespace

void printManualPage(const CLI::App& app) {
  std::printf(".TH BRUMBLER 1 \"\" \"brumbler %s\" \"User Commands\"\n", BRUMBLER_VERSION);
  std::printf(".SH NAME\nbrumbler \\- a fuzz for guitar and bass\n");
  std::printf(".SH SYNOPSIS\n");
  const Apps leaves = leavesOf(app);
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
  printFileFormats();
  std::puts(
      ".SH EXIT STATUS\n0: done. 1: the command could not be done, or the sounds compared differ. 2: the command line "
      "is wrong.\nMessages are one line on standard error.\n.SH SEE ALSO\ndocs/command.md, in the "
      "installation's share/doc/brumbler and in the sources, is the guide to the command, with pictures. Beside it are "
      "the "
      "JSON schemas of banks and automation.");
}

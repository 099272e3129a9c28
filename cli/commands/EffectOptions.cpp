// SPDX-License-Identifier: MIT
#include "cli/commands/EffectOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <vector>

#include "cli/effect/Parameter.h"
#include "cli/render/automaticTrim.h"
#include "cli/text/Failure.h"
#include "cli/text/nearestName.h"
#include "cli/text/numbers.h"

namespace {

bool isDigits(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// The index of the program that `text` names, by its number from 1 or by its name in `bank`.
int findProgram(const std::string& text, const Bank& bank) {
  const std::vector<std::string> names = bank.names();
  const auto count = static_cast<int>(names.size());
  if (isDigits(text)) return parseWhole("--program", text, 1, count) - 1;
  const std::vector<std::size_t> found = namesLike(text, names);
  if (found.size() == 1) return static_cast<int>(found.front());
  if (found.size() > 1) {
    throw Failure("--program: " + std::to_string(found.size()) + " programs are called " + names[found.front()] +
                      "; give the number, 1 to " + std::to_string(count),
                  Failure::usage);
  }
  throw Failure("--program: no program is called " + text + "; give a number, 1 to " + std::to_string(count) +
                    ", or a name of the bank: " + suggestName(text, names),
                Failure::usage);
}

}  // namespace

void EffectOptions::addTo(CLI::App& command, Trim kind) {
  const auto addText = [&command](const std::string& name, const std::string& help, const auto& take) {
    return command.add_option_function<std::string>(name, take, help);
  };
  addText("--volume", "How loud the fuzz is, 0 to 10; turned down it also gets a hump in the upper mids",
          [this](const std::string& text) { volume_ = parseKnob("--volume", text); })
      ->type_name("0-10");
  addText("--fuzz", "How much dirt: 0 is almost clean, 10 is a wall", [this](const std::string& text) {
    fuzz_ = parseKnob("--fuzz", text);
  })->type_name("0-10");
  command.add_flag("--off", off_, "Switch the effect off: the dry sound");
  command.add_option("--program", program_, "The program to play, 1 to 16 or a name of the bank")->type_name("N|NAME");
  command.add_option("--bank", bank_, "Programs to load first, from a file of `brumbler bank save`")
      ->type_name("FILE.json");
  const std::string limits = std::to_string(static_cast<int>(kMostTrim));
  std::string trimHelp = "How many dB the sound lies above a guitar's own level, -" + limits + " to " + limits;
  if (kind == Trim::numberOrAuto) trimHelp += "; auto finds it from the recording's peak";
  addText("--trim", trimHelp, [this, kind](const std::string& text) {
    automaticTrim_ = kind == Trim::numberOrAuto && text == "auto";
    if (automaticTrim_) return;
    trim_ = parseNumber("--trim", text, -kMostTrim, kMostTrim, kind == Trim::numberOrAuto ? "dB, or auto" : "dB");
  })->type_name(kind == Trim::numberOrAuto ? "DB|auto" : "DB");
  command.add_option("--module", module_, "The module brumbler.so to play through")->type_name("PATH");
}

EffectSettings EffectOptions::settings(const EffectModule& module) const {
  EffectSettings settings;
  settings.volume = volume_;
  settings.fuzz = fuzz_;
  settings.off = off_;
  if (bank_.empty() && program_.empty()) return settings;
  const auto prototype = module.createEffect(44100, 1);
  if (!bank_.empty()) settings.bank.emplace(bank_, *prototype);
  if (program_.empty()) return settings;
  if (settings.bank) settings.bank->restore(*prototype);
  settings.program = findProgram(program_, Bank(*prototype));
  return settings;
}

float parseKnob(const std::string& option, const std::string& text) {
  return valueAtKnob(parseNumber(option, text, 0.0, kKnobTop));
}

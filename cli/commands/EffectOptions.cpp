// SPDX-License-Identifier: MIT
#include "cli/commands/EffectOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iterator>
#include <vector>

#include "cli/effect/EffectParameter.h"
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

const catalog::Preset* findPreset(const std::string& text) {
  std::vector<std::string> names;
  for (const catalog::Preset& preset : catalog::kPresets) names.emplace_back(preset.label);
  for (const catalog::Preset& preset : catalog::kPresets) names.emplace_back(preset.symbol);
  const std::vector<std::size_t> found = namesLike(text, names);
  if (!found.empty()) return &catalog::kPresets[found.front() % std::size(catalog::kPresets)];
  names.resize(std::size(catalog::kPresets));
  throw Failure("--preset: there is no " + text + "; " + suggestName(text, names), Failure::usage);
}

}  // namespace

void EffectOptions::addTo(CLI::App& command, TrimForm form) {
  const auto addText = [&command](const std::string& name, const std::string& help, const auto& take) {
    return command.add_option_function<std::string>(name, take, help);
  };
  for (int i = 0; i < static_cast<int>(std::size(catalog::kParameters)); ++i) {
    if (catalog::kParameters[i].scale == catalog::Scale::knob) addKnob(command, static_cast<catalog::Index>(i));
  }
  addTrim(command, form);
  addText("--preset", "Volume and Fuzz from one of the presets that `brumbler info --presets` lists",
          [this](const std::string& text) { preset_ = findPreset(text); })
      ->type_name("NAME");
  command.add_flag("--off", off_, "Switch the effect off: the dry sound");
  command.add_option("--bank", bank_, "Programs to load first, from a file of `brumbler bank save`")
      ->type_name("FILE.json");
  command.add_option("--program", program_, "The program to play, by its number from 1 or its name in the bank")
      ->type_name("N|NAME");
  command.add_option("--module", module_, "The module brumbler.so to play through")->type_name("PATH");
}

void EffectOptions::addKnob(CLI::App& command, catalog::Index parameter) {
  const catalog::Parameter& knob = catalog::kParameters[parameter];
  const std::string name = std::string("--") + knob.symbol;
  command
      .add_option_function<std::string>(
          name,
          [this, name, parameter](const std::string& text) {
            knobs_[parameter] = parseKnob(name, text, catalog::kParameters[parameter]);
          },
          helpOf(knob))
      ->type_name(rangeOf(knob));
}

void EffectOptions::addTrim(CLI::App& command, TrimForm form) {
  const catalog::Parameter& trim = catalog::kParameters[catalog::kTrim];
  const bool takesAuto = form == TrimForm::numberOrAuto;
  command
      .add_option_function<std::string>(
          "--trim",
          [this, takesAuto](const std::string& text) {
            automaticTrim_ = takesAuto && text == "auto";
            if (automaticTrim_) return;
            trim_ = parseNumber("--trim", text, trim.minimum, trim.maximum, takesAuto ? "dB, or auto" : "dB");
          },
          helpOf(trim) + ", " + shortText(trim.minimum) + " to " + shortText(trim.maximum) + " dB" +
              (takesAuto ? "; auto finds it from the recording's peak" : ""))
      ->type_name(takesAuto ? "DB|auto" : "DB");
}

EffectSettings EffectOptions::settings(const EffectModule& module) const {
  EffectSettings settings;
  for (int i = 0; i < catalog::kNumEffectParameters; ++i) {
    const catalog::Parameter& parameter = catalog::kParameters[i];
    const auto given = knobs_.find(static_cast<catalog::Index>(i));
    if (given != knobs_.end()) {
      settings.values[i] = valueAtKnob(given->second);
    } else if (preset_ != nullptr && parameter.scale == catalog::Scale::knob) {
      settings.values[i] = valueAtKnob(preset_->values[i]);
    }
  }
  if (off_) settings.values[catalog::kOn] = 0.0F;
  if (bank_.empty() && program_.empty()) return settings;
  const std::unique_ptr<HostedEffect> prototype = module.createEffect(44100, 1);
  if (!bank_.empty()) settings.bank.emplace(bank_, *prototype);
  if (program_.empty()) return settings;
  if (settings.bank) settings.bank->restore(*prototype);
  settings.program = findProgram(program_, Bank(*prototype));
  return settings;
}

double parseKnob(const std::string& option, const std::string& text, const catalog::Parameter& parameter) {
  if (parameter.scale == catalog::Scale::toggle) return parseWhole(option, text, 0, 1);
  return parseNumber(option, text, parameter.minimum, parameter.maximum);
}

std::string rangeOf(const catalog::Parameter& parameter) {
  const char* const between = parameter.scale == catalog::Scale::toggle ? "|" : "-";
  return shortText(parameter.minimum) + between + shortText(parameter.maximum);
}

std::string helpOf(const catalog::Parameter& parameter) {
  std::string help = parameter.does;
  if (!help.empty() && help.back() == '.') help.pop_back();
  return help;
}

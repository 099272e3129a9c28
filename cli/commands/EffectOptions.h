// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>

#include "catalog/catalog.h"
#include "cli/effect/EffectChannels.h"

namespace CLI {
class App;
}

// The options that set the effect before it plays, the same for every command that plays: one for each knob in the
// catalog, --off, --preset, --program, --bank, --trim and --module. The bank is loaded first, then its program is
// chosen, then the preset sets its knobs; a knob that is given by name overrides all of them.
class EffectOptions {
 public:
  // Whether --trim accepts "auto", which needs a sound whose peak can be measured first.
  enum class TrimForm { number, numberOrAuto };

  // Adds the options to `command`; this object must outlive the parsing.
  void addTo(CLI::App& command, TrimForm form);

  // The settings for each effect of `module`. Reads the bank. Throws Failure if it cannot be read, or has no such
  // program.
  EffectSettings settings(const EffectModule& module) const;

  // How many dB the sound is above a guitar's own level, as given. Presets do not change it, because it belongs to the
  // recording.
  std::optional<double> trim() const noexcept { return trim_; }
  // Whether --trim was given.
  bool isTrimGiven() const noexcept { return trim_ || automaticTrim_; }
  bool isTrimAutomatic() const noexcept { return automaticTrim_; }

  bool isOff() const noexcept { return off_; }

  // The path of the bank; empty when none was given.
  const std::string& bank() const noexcept { return bank_; }

  // The path of the module; empty for the one that EffectModule finds itself.
  const std::string& module() const noexcept { return module_; }

 private:
  void addKnob(CLI::App& command, catalog::Index parameter);
  void addTrim(CLI::App& command, TrimForm form);

  std::string module_;
  std::string bank_;
  std::string program_;
  const catalog::Preset* preset_ = nullptr;
  std::map<catalog::Index, double> knobs_;  // as given
  bool off_ = false;
  std::optional<double> trim_;
  bool automaticTrim_ = false;
};

// Parses `text` as the position of a knob or switch. Throws Failure (usage) naming `option` and the limits if it is not
// one.
double parseKnob(const std::string& option, const std::string& text, const catalog::Parameter& parameter);

// "0-10", or "0|1".
std::string rangeOf(const catalog::Parameter& parameter);

// What the control does, as the end of a help text.
std::string helpOf(const catalog::Parameter& parameter);

// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "cli/effect/EffectChannels.h"

namespace CLI {
class App;
}

// The options that say how the effect is set before it plays, the same for every command that plays: --volume, --fuzz,
// --off, --program, --bank, --trim and --module. They hold from the last to the first: the bank is loaded, its program
// chosen, then the knobs are turned.
class EffectOptions {
 public:
  // Whether --trim takes "auto", which needs a sound whose peak can be looked for.
  enum class Trim { number, numberOrAuto };

  // Adds the options to `command`; this object must outlive the parsing.
  void addTo(CLI::App& command, Trim kind);

  // What to tell each effect of `module`. Reads the bank. Throws Failure when it cannot be read, or has no such
  // program.
  EffectSettings settings(const EffectModule& module) const;

  // How many dB the sound lies above a guitar's own level; nothing when it was not said.
  const std::optional<double>& trim() const noexcept { return trim_; }
  bool isTrimAutomatic() const noexcept { return automaticTrim_; }

  // The path of the module; empty for the one that EffectModule finds itself.
  const std::string& module() const noexcept { return module_; }

 private:
  std::string module_;
  std::string bank_;
  std::string program_;
  std::optional<float> volume_;
  std::optional<float> fuzz_;
  bool off_ = false;
  std::optional<double> trim_;
  bool automaticTrim_ = false;
};

// The effect's value for a knob at the position that `text` says. Throws Failure (usage) naming `option` when that is
// no number from 0 to 10.
float parseKnob(const std::string& option, const std::string& text);

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/effect/AutomationTrack.h"
#include "cli/effect/Bank.h"
#include "cli/effect/EffectModule.h"

// The settings made before the effect plays; anything not set keeps the module's default.
struct EffectSettings {
  int block = 512;  // the most samples in a call
  std::optional<Bank> bank;
  std::optional<int> program;   // from 0
  std::map<int, float> values;  // the effect's, by parameter

  // Applies them to an effect, in the order above.
  void applyTo(HostedEffect& effect) const;
};

// The player of a sound, with its settings and the automation that moves them.
class EffectChannels {
 public:
  EffectChannels(const EffectModule& module, const EffectSettings& settings, AutomationTrack automation, int rate,
                 int channels);

  // Plays `frames` interleaved frames in place. Each call continues where the one before ended.
  void process(double* samples, int frames);

 private:
  std::unique_ptr<EffectPlayer> player_;
  AutomationTrack automation_;
  std::int64_t position_ = 0;  // frames since the start
};

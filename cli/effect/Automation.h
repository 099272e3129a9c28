// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/effect/AutomationTrack.h"
#include "cli/effect/EffectParameter.h"
#include "cli/files/JsonFile.h"

class HostedEffect;

// An automation file (docs/automation.schema.json). Its times are converted once a sound's length and rate are known.
class Automation {
 public:
  // `effect` provides the parameters and programs. Throws Failure naming line and key.
  Automation(const std::string& path, const HostedEffect& effect);

  // The track for a sound of `frames` (nothing: not known yet) at `rate` Hz, played through effects at `effectRate` Hz.
  // Throws Failure naming line and key if a time is outside the sound or before its predecessor, or if it is a
  // percentage of an unknown length.
  AutomationTrack trackFor(std::optional<std::int64_t> frames, int rate, int effectRate) const;

 private:
  enum class Unit { samples, seconds, percent };
  struct Time {
    Unit unit;
    double amount;
    JsonFile::Path path;
  };
  struct Lane {
    int parameter;
    AutomationTrack::Kind kind;
    std::vector<Time> times;
    std::vector<float> values;
  };

  void readLane(const JsonFile::Path& path, int index, const EffectParameter& parameter);
  void readProgramChanges(int numPrograms);
  Time readTime(const JsonFile::Path& path) const;

  JsonFile file_;
  std::vector<Lane> lanes_;
  std::vector<Time> changeTimes_;
  std::vector<int> programs_;
};

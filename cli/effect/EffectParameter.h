// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/files/JsonFile.h"
#include "player/HostedEffect.h"

// The scale on which people read and turn knobs: 0 to 10, as in the effect's own texts. The interface's values run from
// 0 to 1.
inline constexpr double kKnobMaximum = 10.0;

// The effect's value where a knob shows `knob`: 5 is exactly 0.5F, 3.1 is the float nearest to 0.31.
float valueAtKnob(double knob) noexcept;

// The knob position for an effect's value, from the value's shortest decimal digits: 3.1 for 0.31F. valueAtKnob()
// converts it back to the same float for every value.
double knobAtValue(float value) noexcept;

// One of the effect's parameters: a knob from 0 to 10, or a switch, which is 0 or 1. What people read and turn is
// called its knob, the effect's own number from 0 to 1 its value.
struct EffectParameter {
  std::string name;  // as the effect gives it
  bool isSwitch = false;

  double maximum() const noexcept { return isSwitch ? 1.0 : kKnobMaximum; }

  // Convert between the knob and the effect's value.
  float valueAt(double knob) const noexcept { return isSwitch ? static_cast<float>(knob) : valueAtKnob(knob); }
  double knobAt(float value) const noexcept { return isSwitch ? static_cast<double>(value) : knobAtValue(value); }

  // The effect's value for the number at `path`; throws Failure when that is out of range.
  float read(const JsonFile& file, const JsonFile::Path& path) const;
};

// The text that an effect returns for `opcode`; empty if it has none.
std::string askText(const HostedEffect& effect, EffectOpcode opcode, int index = 0, intptr value = 0);

// All of an effect's parameters, in the order of their indices.
std::vector<EffectParameter> parametersOf(const HostedEffect& effect);
std::vector<std::string> namesOf(const std::vector<EffectParameter>& parameters);

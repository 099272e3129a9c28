// SPDX-License-Identifier: MIT
#include "cli/effect/EffectParameter.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "host/VstRecords.h"

float valueAtKnob(double knob) noexcept { return static_cast<float>(knob / kKnobMaximum); }

double knobAtValue(float value) noexcept {
  const double exact = static_cast<double>(value) * kKnobMaximum;
  // The value's own shortest digits, one power of ten higher.
  std::array<char, 32> text{};
  char* const end = text.data() + text.size();
  char* const digitsEnd = std::to_chars(text.data(), end, value, std::chars_format::scientific).ptr;
  char* const mark = std::find(text.data(), digitsEnd, 'e');
  if (mark == digitsEnd) return exact;  // infinity or NaN
  int exponent = 0;
  std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, digitsEnd, exponent);
  double knob = exact;
  std::from_chars(text.data(), std::to_chars(mark + 1, end, exponent + 1).ptr, knob);
  // Of all floats from 0 to 1, one rounds to its neighbour this way.
  return valueAtKnob(knob) == value ? knob : exact;
}

float EffectParameter::read(const JsonFile& file, const JsonFile::Path& path) const {
  const double knob = file.number(path, 0.0, maximum());
  if (isSwitch && knob != 0.0 && knob != 1.0) file.fail(path, "must be 0 (off) or 1 (on)");
  return valueAt(knob);
}

std::string askText(const HostedEffect& effect, EffectOpcode opcode, int index, intptr value) {
  std::array<char, 256> text{};  // several times what the interface's longest text needs
  effect.ask(opcode, index, value, text.data());
  text.back() = '\0';
  return text.data();
}

std::vector<EffectParameter> parametersOf(const HostedEffect& effect) {
  std::vector<EffectParameter> parameters;
  for (int i = 0; i < effect.record().numParams; ++i) {
    VstParameterProperties properties{};
    const bool known = effect.ask(EffectOpcode::getParameterProperties, i, 0, &properties) != 0;
    parameters.push_back(
        {askText(effect, EffectOpcode::getParameterName, i), known && (properties.flags & kVstParameterIsSwitch) != 0});
  }
  return parameters;
}

std::vector<std::string> namesOf(const std::vector<EffectParameter>& parameters) {
  std::vector<std::string> names;
  for (const EffectParameter& parameter : parameters) names.push_back(parameter.name);
  return names;
}

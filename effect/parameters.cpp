// SPDX-License-Identifier: MIT
// What a host can ask about the parameters.
#include <cstring>

#include "effect/Brumbler.h"

namespace {

constexpr int32 kTextLimit = 8;  // characters of a parameter's name, label or display
constexpr const char* kNames[Brumbler::kNumParams] = {"On/Off", "VOLUME", "FUZZ"};

bool isParameter(int32 index) noexcept { return index >= 0 && index < Brumbler::kNumParams; }

}  // namespace

void Brumbler::getParameterName(int32 index, char* text) {
  if (isParameter(index) && text != nullptr) std::strcpy(text, kNames[index]);
}

void Brumbler::getParameterLabel(int32 index, char* label) {
  if (isParameter(index) && label != nullptr) *label = '\0';
}

void Brumbler::getParameterDisplay(int32 index, char* text) { getParameterDisplayOf(index, getParameter(index), text); }

void Brumbler::getParameterDisplayOf(int32 index, float value, char* text) {
  if (!isParameter(index) || text == nullptr) return;
  if (index == kOnOff) {
    std::strncpy(text, value == 1.0F ? "on" : "off", kTextLimit);
    text[kTextLimit] = '\0';
  } else {
    float2string(value * 10.0F, text, kTextLimit);
  }
}

bool Brumbler::getParameterProperties(int32 index, VstParameterProperties* properties) {
  if (properties == nullptr || !isParameter(index)) return false;
  *properties = {};
  getParameterLabel(index, properties->label);
  if (index == kOnOff) {
    properties->flags = kVstParameterIsSwitch;
  } else {
    properties->flags = kVstParameterUsesFloatStep;
    properties->stepFloat = 0.01F;
  }
  properties->extension = 1;
  return true;
}

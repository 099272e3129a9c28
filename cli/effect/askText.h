// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "host/HostedEffect.h"

// The text that the effect writes when it is asked `opcode`; empty when it has none.
inline std::string askText(const HostedEffect& effect, EffectOpcode opcode, int index = 0, intptr value = 0) {
  std::array<char, 256> text{};  // several times what the interface's longest text needs
  effect.ask(opcode, index, value, text.data());
  text.back() = '\0';
  return text.data();
}

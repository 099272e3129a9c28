// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>
#include <iterator>
#include <string>

#include "catalog/catalog.h"

// What the window shows of the pedal. Controls are rows of catalog::kParameters.
struct PedalState {
  static constexpr int kNumControls = static_cast<int>(std::size(catalog::kParameters));
  static constexpr int kPresets = kNumControls;  // the preset bar, which can have the focus as a control can
  static constexpr int kNone = -1;

  std::array<float, kNumControls> values = defaults();
  std::array<float, 2> levels{};  // of the input and the output, 0 to 1
  int focus = kNone;              // the control that keys turn, or kPresets
  bool showsFocus = false;        // the window has the keyboard
  bool isTyping = false;          // `typed` stands in place of the focused control's value
  std::string typed;
  bool menuIsOpen = false;
  int highlighted = 0;  // the preset that Enter would choose

  float valueOf(int control) const { return values[static_cast<std::size_t>(control)]; }

  static std::array<float, kNumControls> defaults() {
    std::array<float, kNumControls> initial{};
    for (std::size_t i = 0; i < initial.size(); ++i) initial[i] = static_cast<float>(catalog::kParameters[i].initial);
    return initial;
  }

  // The preset whose values the knobs have, or kNone.
  int preset() const {
    for (int i = 0; i < static_cast<int>(std::size(catalog::kPresets)); ++i) {
      bool same = true;
      for (int control = 0; control < kNumControls; ++control) {
        const bool isSwitch = catalog::kParameters[control].scale == catalog::Scale::toggle;
        same = same && (isSwitch || std::fabs(valueOf(control) - catalog::kPresets[i].values[control]) < 1e-4);
      }
      if (same) return i;
    }
    return kNone;
  }
};

// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "catalog/catalog.h"
#include "player/decibels.h"

// The peak, in dBFS, that is assumed for a guitar at its own level. The effect's output peaks near it whatever the
// input, so the result comes out near the recording's own peak.
inline constexpr double kGuitarPeak = -24.0;

// From this many dB above it, the output is clearly quieter than the recording.
inline constexpr double kFarAbove = 10.0;

// The trim in dB for a recording whose peak is `peak`, full scale being 1; 0 for silence.
inline double automaticTrim(double peak) noexcept {
  constexpr const catalog::Parameter& kTrim = catalog::kParameters[catalog::kTrim];
  return peak > 0.0 ? std::clamp(decibels(peak) - kGuitarPeak, kTrim.minimum, kTrim.maximum) : 0.0;
}

// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "catalog/catalog.h"
#include "player/decibels.h"

// The peak, in dBFS, of a sound that is taken for a guitar at its own level. It is about where the effect itself peaks
// whatever goes in, so the result comes out near the recording's own peak.
inline constexpr double kGuitarPeak = -24.0;

// From here on, in dB above that, the fuzz is clearly quieter than the sound was.
inline constexpr double kFarAbove = 10.0;

// Trim for a recording that peaks at `peak` of full scale, in dB; 0 for silence.
inline double automaticTrim(double peak) noexcept {
  constexpr const catalog::Parameter& kTrim = catalog::kParameters[catalog::kTrim];
  return peak > 0.0 ? std::clamp(decibels(peak) - kGuitarPeak, kTrim.minimum, kTrim.maximum) : 0.0;
}

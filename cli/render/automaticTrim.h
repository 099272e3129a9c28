// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "cli/text/numbers.h"

// The peak, in dBFS, of a sound that is taken for a guitar at its own level. It is about where the effect itself peaks
// whatever goes in, so the result comes out near the recording's own peak.
inline constexpr double kGuitarPeak = -24.0;
inline constexpr double kMostTrim = 30.0;  // dB, either way

// Trim for a recording that peaks at `peak` of full scale, in dB; 0 for silence.
inline double automaticTrim(double peak) noexcept {
  return peak > 0.0 ? std::clamp(decibels(peak) - kGuitarPeak, -kMostTrim, kMostTrim) : 0.0;
}

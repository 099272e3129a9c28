// SPDX-License-Identifier: MIT
#pragma once

#include "math/nearest.h"

// Amplitudes and their levels in dB; an amplitude of 1 is full scale, 0 dBFS. Both are correctly rounded, so that they
// are the same on all targets. decibels(0) is minus infinity.
inline double amplitude(double decibels) noexcept { return nearest::exp10(decibels / 20.0); }
inline double decibels(double amplitude) noexcept { return 20.0 * nearest::log10(amplitude); }

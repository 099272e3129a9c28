// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

// Amplitudes and their levels in dB; an amplitude of 1 is full scale, 0 dBFS. decibels(0) is minus infinity.
inline double amplitude(double decibels) noexcept { return std::pow(10.0, decibels / 20.0); }
inline double decibels(double amplitude) noexcept { return 20.0 * std::log10(amplitude); }

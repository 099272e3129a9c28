// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

// Levels in dB of amplitudes, full scale being 1 and 0 dBFS.
inline double amplitude(double decibels) noexcept { return std::pow(10.0, decibels / 20.0); }
inline double decibels(double amplitude) noexcept { return 20.0 * std::log10(amplitude); }

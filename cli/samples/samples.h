// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>

// Operations on whole pieces of samples, written so that every compiler can vectorise them. Full scale is -1 to 1.

// The largest magnitude; 0 for no samples; not finite if any sample is not.
double peakOf(std::span<const double> samples) noexcept;

void scaleBy(std::span<double> samples, double gain) noexcept;

// Each sample times 2^(bits-1), rounded to the nearest (halves to the even one) and shifted to the top of the integer,
// where libsndfile expects it; so what was read from an integer file comes out unchanged. Samples out of range are
// clipped. Returns how many were. `bits` is 8 to 32, for short ones 8 to 16; samples are finite, and there is room for
// as many integers.
std::int64_t toIntegers(std::span<const double> samples, int bits, int* integers) noexcept;
std::int64_t toIntegers(std::span<const double> samples, int bits, short* integers) noexcept;

// The samples of a 16-bit file.
void fromIntegers(std::span<const short> integers, double* samples) noexcept;

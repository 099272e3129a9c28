// SPDX-License-Identifier: MIT
#include "cli/samples/samples.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Adding it to a number below 2^51 and subtracting it again rounds to the nearest whole number.
constexpr double kRounder = 0x1.8p52;

template <class Integer>
Integer toInteger(double fitting, int unit) noexcept {
  return static_cast<Integer>(static_cast<int>((fitting + kRounder) - kRounder) * unit);
}

template <class Integer>
std::int64_t convert(std::span<const double> samples, int bits, Integer* integers) noexcept {
  const double scale = std::ldexp(1.0, bits - 1);
  const double highest = scale - 1.0;
  const int unit = 1 << (std::numeric_limits<Integer>::digits + 1 - bits);
  if (peakOf(samples) * scale <= highest) {  // the usual case, which can be vectorised
    for (std::size_t i = 0; i < samples.size(); ++i) integers[i] = toInteger<Integer>(samples[i] * scale, unit);
    return 0;
  }
  std::int64_t clipped = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double exact = samples[i] * scale;
    if (exact < -scale - 0.5 || exact >= highest + 0.5) ++clipped;
    integers[i] = toInteger<Integer>(std::clamp(exact, -scale, highest), unit);
  }
  return clipped;
}

}  // namespace

double peakOf(std::span<const double> samples) noexcept {
  // Independent lanes, because the compiler must not reorder a maximum or a sum. x * 0.0 is 0 only for finite x, so a
  // non-zero sum reveals NaN or infinity.
  constexpr std::size_t kLanes = 8;
  double largest[kLanes] = {};
  double zero[kLanes] = {};
  std::size_t i = 0;
  for (; i + kLanes <= samples.size(); i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const double magnitude = std::fabs(samples[i + lane]);
      largest[lane] = magnitude > largest[lane] ? magnitude : largest[lane];
      zero[lane] += magnitude * 0.0;
    }
  }
  double peak = *std::max_element(largest, largest + kLanes);
  for (const double one : zero) peak += one;
  for (; i < samples.size(); ++i) peak = std::max(peak, std::fabs(samples[i])) + samples[i] * 0.0;
  return peak;
}

void scaleBy(std::span<double> samples, double gain) noexcept {
  if (gain == 1.0) return;
  for (double& sample : samples) sample *= gain;
}

std::int64_t toIntegers(std::span<const double> samples, int bits, int* integers) noexcept {
  return convert(samples, bits, integers);
}

std::int64_t toIntegers(std::span<const double> samples, int bits, short* integers) noexcept {
  return convert(samples, bits, integers);
}

void fromIntegers(std::span<const short> integers, double* samples) noexcept {
  for (std::size_t i = 0; i < integers.size(); ++i) samples[i] = integers[i] * (1.0 / 32768.0);
}

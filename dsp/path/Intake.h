// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/Lanes.h"

// What may come in. Guitars give less than 1e3; what lies beyond this would clip for seconds after the fault that made
// it.
constexpr double kLargestSample = 1e36;

// Takes samples in, and notes whether one is too large to leave a trace, or no number (or whether all of them together
// are too large: no signal comes near that). Denormal ones go as zeros: nothing of them would reach the
// output, they vanish where the interpolated sample is added to the centre of the curve, but as operands they cost some
// processors a hundred cycles each.
class Intake {
 public:
  // One sample (T double), or two (Lanes).
  template <typename T>
  [[gnu::always_inline]] T take(const double* in) noexcept {
    const T samples = withoutDenormals(load<T>(in));
    sum_.add(magnitudes(samples));
    return samples;
  }
  // `length` samples, to `piece`.
  [[gnu::always_inline]] void take(const double* in, int length, double* piece) noexcept {
    forEachLanes(0, length, [&]<typename T>(int i) { store<T>(piece + i, take<T>(in + i)); });
  }

  // Whether all were sound.
  bool good() const noexcept { return sum_.total() <= kLargestSample; }  // false for not-a-numbers

 private:
  LaneSum sum_;
};

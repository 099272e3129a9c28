// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/Lanes.h"

// What may stay in a history. Guitars leave less than 1e3, a sample of 1e30 not yet 1e33; what lies beyond would clip
// for seconds after the fault that made it.
constexpr double kLargestHistory = 1e36;

// Takes samples in, and notes whether one is too large to stay in a history, or no number (or whether all of them
// together are too large: no signal comes near that). Denormal ones go as zeros: nothing of them would reach the
// output, they vanish where the interpolated sample is added to the centre of the curve, but as operands they cost some
// processors a hundred cycles each.
class Intake {
 public:
  // `count` samples, 1 or 2, as loadLanes().
  template <int count>
  [[gnu::always_inline]] Lanes take(const double* in) noexcept {
    const Lanes samples = withoutDenormals(loadLanes<count>(in));
    sum_ += magnitudes(samples);
    return samples;
  }

  // The samples from `first` up to `end`, to piece[0] onwards.
  [[gnu::always_inline]] void take(const double* in, int first, int end, double* piece) noexcept {
    forEachPair(first, end, [&]<int count>(int i) { storeLanes<count>(piece + (i - first), take<count>(in + i)); });
  }

  // Whether all were sound.
  bool good() const noexcept { return sum_[0] + sum_[1] <= kLargestHistory; }  // false for not-a-numbers

 private:
  Lanes sum_ = {0.0, 0.0};
};

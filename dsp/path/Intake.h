// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/Lanes.h"

// The largest magnitude of a valid sample. Guitars stay below 1e3; a faulty sample beyond this limit would make the
// effect clip for seconds.
constexpr double kLargestSample = 1e36;

// Reads samples and records whether all are valid: not NaN, and not beyond kLargestSample. Denormal samples are read as
// zeros. They could not reach the output, because they vanish when the interpolated sample is added to the centre of
// the curve, but arithmetic with them costs some processors a hundred cycles each.
class Intake {
 public:
  // Reads one sample (T double), or two (Lanes).
  template <typename T>
  [[gnu::always_inline]] T take(const double* in) noexcept {
    const T samples = load<T>(in);
    check(magnitudes(samples));
    return withoutDenormals(samples);
  }
  // Reads `length` samples into `piece`.
  [[gnu::always_inline]] void take(const double* in, int length, double* piece) noexcept {
    forEachLanes(0, length, [&]<typename T>(int i) { store<T>(piece + i, take<T>(in + i)); });
  }

  // Whether all samples were valid.
  bool good() const noexcept { return single_ && (!kHasLanes || (pairs_[0] & pairs_[1]) != 0); }

 private:
  // Each sample is checked by itself: a sum over a piece would depend on the block length. False for NaN.
  void check(Lanes sizes) noexcept { pairs_ &= sizes <= bothLanes(kLargestSample); }
  void check(double size) noexcept { single_ &= size <= kLargestSample; }

  Bits pairs_ = {-1, -1};
  bool single_ = true;
};

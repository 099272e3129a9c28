// SPDX-License-Identifier: MIT
#pragma once

// VOLUME over a block: a straight line from `start` at sample 0.
struct VolumeGlide {
  double start;
  double step;  // per sample; 0: VOLUME rests at `start`

  // From `first` at sample 0 to `last` at the last of `length` samples; a block of one sample stays at `first`. Where
  // VOLUME rests, each sample's value is start + i * 0, which is +0 even if `start` is -0.
  static VolumeGlide between(double first, double last, int length) noexcept {
    const double step = length > 1 ? (last - first) * (1.0 / (length - 1)) : 0.0;
    return {step == 0.0 ? first + 0.0 : first, step};
  }

  // VOLUME at sample number `sample`, a double, or at two of them, Lanes.
  template <typename T>
  T at(T sample) const noexcept {
    return start + sample * step;
  }
};

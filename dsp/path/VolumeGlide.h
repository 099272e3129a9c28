// SPDX-License-Identifier: MIT
#pragma once

// VOLUME over a block: a straight line from `start` at sample 0.
struct VolumeGlide {
  double start;
  double step;  // per sample

  // `sample` as a double, or two in Lanes.
  template <typename T>
  T at(T sample) const noexcept {
    return start + sample * step;
  }
};

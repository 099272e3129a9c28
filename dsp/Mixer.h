// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "dsp/Lanes.h"
#include "dsp/VolumeGlide.h"

// Where the switch value is 1 the effect signal, elsewhere the dry input, each times the fade's gain. An effect sample
// that is not finite becomes 0. `out` may be `dry`.
struct Mixer {
  const float* switchValues;
  const double* gains;
  const double* dry;
  double* out;
  VolumeGlide volume;
  double outputGain;

  // Writes the samples from `first` up to `end`, whose effect signal is effect[0] onwards. False when one was not
  // finite.
  [[gnu::always_inline]] bool run(const double* effect, int first, int end) const noexcept {
    Lanes sum = {0.0, 0.0};
    Lanes counter = {static_cast<double>(first), first + 1.0};
    forEachPair(first, end, [&]<int count>(int i) {
      sum += mix<count>(loadLanes<count>(effect + (i - first)), i, counter);
      counter += 2.0;
    });
    return settle(sum, first, end);
  }

  // Writes `count` samples from sample i on, which is counter[0]; returns their effect signal at its loudness.
  template <int count>
  [[gnu::always_inline]] Lanes mix(Lanes effect, int i, Lanes counter) const noexcept {
    const Lanes gain = loadLanes<count>(gains + i);
    const Lanes wet = ((gain * effect) * volume.at(counter)) * outputGain;
    const Lanes through = gain * withoutDenormals(loadLanes<count>(dry + i));
    const Lanes source = {switchValues[i], switchValues[i + count - 1]};
    storeLanes<count>(out + i, source == bothLanes(1.0) ? wet : through);
    return wet;
  }

  // `sum` of what mix() returned for the samples from `first` up to `end`.
  [[gnu::always_inline]] bool settle(Lanes sum, int first, int end) const noexcept {
    if (std::isfinite(sum[0] + sum[1])) return true;
    for (int i = first; i < end; ++i) {
      if (switchValues[i] == 1.0F && !std::isfinite(out[i])) out[i] = 0.0;
    }
    return false;
  }
};

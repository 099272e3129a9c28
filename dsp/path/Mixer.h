// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "dsp/Lanes.h"
#include "dsp/path/VolumeGlide.h"

// How a block is mixed.
enum class Mix {
  rest,   // nothing fades and VOLUME rests: two products a sample
  glide,  // VOLUME glides
  fade,   // each sample has a gain and a source of its own; VOLUME may glide
};

// Writes a block's output: the effect signal at VOLUME or the dry input, each times the fade's gain. An effect sample
// that is not finite becomes 0.
struct Mixer {
  const double* dry;
  double* out;  // may be `dry`
  VolumeGlide volume;
  double outputGain;
  Mix mix;
  bool on;                    // whether the effect signal plays; not for Mix::fade
  const float* switchValues;  // Mix::fade: the effect signal plays where the value is 1
  const double* gains;        // Mix::fade: the gain of each sample

  // Writes the samples from `first` up to `end`, whose effect signal is effect[0] onwards. False when one was not
  // finite.
  [[gnu::always_inline]] bool run(const double* effect, int first, int end) const noexcept {
    LaneSum sum;
    if (mix == Mix::rest) {
      forEachLanes(first, end, [&]<typename T>(int i) { sum.add(rest<T>(load<T>(effect + (i - first)), i)); });
    } else if (mix == Mix::fade) {
      forEachLanes(first, end, [&]<typename T>(int i) { sum.add(fade<T>(load<T>(effect + (i - first)), i)); });
    } else {
      forEachLanes(first, end, [&]<typename T>(int i) { sum.add(glide<T>(load<T>(effect + (i - first)), i)); });
    }
    return settle(sum.total(), first, end);
  }

  // Writes sample i. Returns its effect signal with VOLUME and the gains applied; settle() takes the sum of these.
  [[gnu::always_inline]] double put(double effect, int i) const noexcept {
    if (mix == Mix::rest) return rest(effect, i);
    return mix == Mix::fade ? fade(effect, i) : glide(effect, i);
  }

  // `sum`: of the samples from `first` up to `end`, already written. If one was not finite, replaces it by 0 and
  // returns false.
  [[gnu::always_inline]] bool settle(double sum, int first, int end) const noexcept {
    if (std::isfinite(sum)) [[likely]]
      return true;
    silenceNotFinite(first, end);
    return false;
  }

 private:
  [[gnu::noinline]] void silenceNotFinite(int first, int end) const noexcept {
    for (int i = first; i < end; ++i) {
      if ((mix == Mix::fade ? switchValues[i] == 1.0F : on) && !std::isfinite(out[i])) out[i] = 0.0;
    }
  }

  template <typename T>
  [[gnu::always_inline]] T rest(T effect, int i) const noexcept {
    return play((effect * volume.start) * outputGain, i);
  }
  template <typename T>
  [[gnu::always_inline]] T glide(T effect, int i) const noexcept {
    return play((effect * volume.at(counted<T>(i))) * outputGain, i);
  }
  template <typename T>
  [[gnu::always_inline]] T play(T wet, int i) const noexcept {
    store<T>(out + i, on ? wet : withoutDenormals(load<T>(dry + i)));
    return wet;
  }

  template <typename T>
  [[gnu::always_inline]] T fade(T effect, int i) const noexcept {
    const T gain = load<T>(gains + i);
    const T wet = ((gain * effect) * volume.at(counted<T>(i))) * outputGain;
    const T through = gain * withoutDenormals(load<T>(dry + i));
    if constexpr (std::is_same_v<T, Lanes>) {
      const Lanes source = {switchValues[i], switchValues[i + 1]};
      store<T>(out + i, source == bothLanes(1.0) ? wet : through);
    } else {
      store<T>(out + i, switchValues[i] == 1.0F ? wet : through);
    }
    return wet;
  }
};

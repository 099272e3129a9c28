// SPDX-License-Identifier: MIT
#pragma once

#include "player/decibels.h"

// How far a sound lies above a guitar's own level, in dB: taken off before the effect, put back behind it.
//
// At rest a sample is multiplied by amplitude(-dB) on the way in and by amplitude(dB) on the way out; at 0 dB both are
// exact. A dry signal of floats comes out as it went in, to the bit, at any trim: the two products are off by a few
// parts in 2^53, which rounds to the float that went in.
//
// A changed trim glides over one block as VOLUME does: the first sample still has the old gain, the last has the new.
//
// One thread. The calls of a block are begin(), takeOff() and putBack() for each channel, end().
class Trim {
 public:
  // From the next block on.
  void set(double decibels) noexcept {
    if (decibels == decibels_) return;
    decibels_ = decibels;
    next_ = {amplitude(-decibels), amplitude(decibels)};
  }

  // The next block begins with the trim that was set, without a glide.
  void jump() noexcept { end(); }

  // A block of `length` samples, at least 1. One of a single sample still has the old gain.
  void begin(int length) noexcept { step_ = length > 1 ? (next_.out - now_.out) / (length - 1) : 0.0; }

  // From the samples of a sound to those for the effect, in place.
  void takeOff(double* samples, int length) const noexcept {
    if (step_ == 0.0) return scale(samples, length, now_.in);
    for (int i = 0; i < length; ++i) samples[i] /= now_.out + i * step_;
  }

  // From the effect's samples to those of the sound, in place.
  void putBack(double* samples, int length) const noexcept {
    if (step_ == 0.0) return scale(samples, length, now_.out);
    for (int i = 0; i < length; ++i) samples[i] *= now_.out + i * step_;
  }

  void end() noexcept { now_ = next_; }

 private:
  struct Gains {
    double in = 1.0;   // before the effect
    double out = 1.0;  // behind it
  };

  static void scale(double* samples, int length, double gain) noexcept {
    if (gain == 1.0) return;
    for (int i = 0; i < length; ++i) samples[i] *= gain;
  }

  double decibels_ = 0.0;
  Gains now_;
  Gains next_;
  double step_ = 0.0;  // of the gain behind the effect, per sample
};

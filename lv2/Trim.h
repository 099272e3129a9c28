// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <limits>

// How far the host's signal lies above a guitar's own level: taken off on the way into the effect, put back on the way
// out. At 0 dB both are exact. At any other trim the effect's dry signal still comes out as it went in, to the bit: the
// double that was divided and multiplied is off by at most two parts in 2^53, and so rounds to the float it came from.
//
// A changed trim glides over one block as VOLUME does: the first sample still has the old gain, the last has the new.
class Trim {
 public:
  // `decibels` of the block that comes, of `samples` samples.
  void set(float decibels, int samples) noexcept {
    begin_ = end_;
    if (decibels != decibels_) end_ = std::pow(10.0, static_cast<double>(decibels) / 20.0);
    decibels_ = decibels;
    step_ = samples > 1 ? (end_ - begin_) / (samples - 1) : 0.0;
  }

  // The next block starts at `decibels`, without a glide.
  void reset(float decibels) noexcept {
    set(decibels, 1);
    begin_ = end_;
  }

  // From the host's samples to the effect's. What is no finite number becomes 0, so that the dry signal has none
  // either.
  void takeOff(const float* in, double* block, int samples) const noexcept {
    for (int i = 0; i < samples; ++i) {
      const bool finite = std::fabs(in[i]) <= std::numeric_limits<float>::max();
      block[i] = (finite ? static_cast<double>(in[i]) : 0.0) / (begin_ + i * step_);
    }
  }

  // From the effect's samples to the host's.
  void putBack(const double* block, float* out, int samples) const noexcept {
    for (int i = 0; i < samples; ++i) out[i] = static_cast<float>(block[i] * (begin_ + i * step_));
  }

 private:
  float decibels_ = 0.0F;
  double begin_ = 1.0;  // gain at the first sample of the block
  double end_ = 1.0;    // and at the last
  double step_ = 0.0;
};

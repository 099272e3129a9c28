// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/Lanes.h"

// The tone stage's coefficients for a value of VOLUME, for one sample (T double) or two (Lanes). `k`: the prewarped
// centre, tan(pi * 1600 Hz / sample rate). Costs three divisions.
template <typename T>
struct ToneCoefficients {
  T f1, f2, b2, b0, inverse;

  static ToneCoefficients forVolume(double k, T volume) noexcept {
    const double K2 = k * k;
    const T Kq = k / (0.35 * volume + 0.3);
    const T g = 0.8741074588 * volume * volume + 0.1258925412;
    const T den = 1.0 + K2 + g * Kq;
    const T inverse = 1.0 / den;
    const T f1 = ((K2 - 1.0) * 2.0) / den;
    const T f2 = (1.0 + K2 - g * Kq) * inverse;
    return {f1, f2, 1.0 + K2 - Kq, 1.0 + K2 + Kq, inverse};
  }

  // The coefficients of one of two samples.
  ToneCoefficients<double> lane(int index) const noexcept {
    return {f1[index], f2[index], b2[index], b0[index], inverse[index]};
  }
};

// The tone control that follows VOLUME: a peak at 1600 Hz, 18 dB high at VOLUME 0, flat at 1. The bilinear transform of
// (p^2 + p/Q + 1) / (p^2 + g p/Q + 1) with Q = 0.35 vol + 0.3 and g = 0.874 vol^2 + 0.126, in direct form II.
class ToneStage {
 public:
  ToneStage(double& z1, double& z2) noexcept : z1_(&z1), z2_(&z2) {}

  // As in SectionLanes: enter() loads the histories before the first sample, leave() stores them after the last.
  void enter() noexcept {
    w1_ = *z1_;
    w2_ = *z2_;
  }
  void leave() const noexcept {
    *z1_ = w1_;
    *z2_ = w2_;
  }

  double output() const noexcept { return output_; }

  void step(double sample, const ToneCoefficients<double>& c) noexcept {
    const double feedback = c.f1 * w1_;
    const double w0 = (sample - c.f2 * w2_) - feedback;
    output_ = (c.b2 * w2_ + c.b0 * w0) * c.inverse + feedback;
    w2_ = w1_;
    w1_ = w0;
  }

 private:
  double* z1_;
  double* z2_;
  double w1_ = 0.0;
  double w2_ = 0.0;
  double output_ = 0.0;
};

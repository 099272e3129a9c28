// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/ClipCurve.h"
#include "dsp/Lanes.h"

// The oversampling lowpass, fifth order in transposed direct form II: y = sum b[k] x[n-k] + sum a[k] y[n-k]. The
// feed-forward weights are symmetric (b5 = b0, b4 = b1, b3 = b2), so three products are enough. T is double, or Lanes
// for two signals at once.
template <typename T>
struct OversamplingFilter {
  T a1, a2, a3, a4, a5;
  T b0, b1, b2;
  T h0, h1, h2, h3, h4;

  OversamplingFilter(const double (&a)[5], const double (&b)[6]) noexcept
      : a1(T{} + a[0]),
        a2(T{} + a[1]),
        a3(T{} + a[2]),
        a4(T{} + a[3]),
        a5(T{} + a[4]),
        b0(T{} + b[0]),
        b1(T{} + b[1]),
        b2(T{} + b[2]),
        h0{},
        h1{},
        h2{},
        h3{},
        h4{} {}

  T step(T x) noexcept {
    const T b0x = b0 * x;
    const T b1x = b1 * x;
    const T b2x = b2 * x;
    const T y = b0x + h0;
    h0 = (b1x + a1 * y) + h1;
    h1 = (b2x + a2 * y) + h2;
    h2 = (b2x + a3 * y) + h3;
    h3 = (b1x + a4 * y) + h4;
    h4 = b0x + a5 * y;
    return y;
  }

  // step(0) without the products that are zero.
  T stepWithoutInput() noexcept {
    const T y = h0;
    h0 = a1 * y + h1;
    h1 = a2 * y + h2;
    h2 = a3 * y + h3;
    h3 = a4 * y + h4;
    h4 = a5 * y;
    return y;
  }

  // Load and store all five histories of a filter for one signal.
  void load(const double* h) noexcept {
    h0 = h[0];
    h1 = h[1];
    h2 = h[2];
    h3 = h[3];
    h4 = h[4];
  }
  void store(double* h) const noexcept {
    h[0] = h0;
    h[1] = h1;
    h[2] = h2;
    h[3] = h3;
    h[4] = h4;
  }

  // Load and store the histories of one lane of a filter for two signals.
  void loadLane(int lane, const double* h) noexcept {
    setLane(h0, lane, h[0]);
    setLane(h1, lane, h[1]);
    setLane(h2, lane, h[2]);
    setLane(h3, lane, h[3]);
    setLane(h4, lane, h[4]);
  }
  void storeLane(int lane, double* h) const noexcept {
    h[0] = h0[lane];
    h[1] = h1[lane];
    h[2] = h2[lane];
    h[3] = h3[lane];
    h[4] = h4[lane];
  }
};

// The saturating stage, at four times the sample rate: the interpolating lowpass, the clip curve, the decimating
// lowpass.
//
// The two lowpasses have the same coefficients and share a vector. The decimating one runs two samples behind, which
// keeps the curve out of the recurrences. The curve is a long chain of operations: from the interpolated sample to a
// position in the table, and from there to the table's value. It is cut in two halves that do not wait for each other,
// so that the processor can do other work at the same time; the whole chain in one step took a fifth longer.
//
// enter() loads a lane's history just before the step of its first sample, and leave() stores it just after the step of
// its last one. Lane 0 interpolates, lane 1 decimates.
class ClipStage {
 public:
  static constexpr int kDelay = 2;  // steps from the interpolating to the decimating lowpass

  // `a`, `b`: the lowpass's coefficients. `histories`: for each of the two lowpasses, five values and a sixth that
  // stays 0.
  ClipStage(const double (&a)[5], const double (&b)[6], double (&histories)[2][6],
            const ClipCurve<double>& curve) noexcept
      : histories_(&histories), curve_(curve), filter_(a, b) {}

  void enter(int lane) noexcept { filter_.loadLane(lane, (*histories_)[lane]); }
  void leave(int lane) const noexcept { filter_.storeLane(lane, (*histories_)[lane]); }

  // The decimated sample of the last step.
  double output() const noexcept { return output_; }

  // One step, for one sample at the base rate.
  void step(double sample) noexcept {
    lowpass<0>(sample);
    lowpass<1>();
    clip<1>();
    lowpass<2>();
    clip<0>();
    lowpass<3>();
  }

  // The parts of a step, for a caller that does other work in between. Call them in the order of step(), except that
  // clip<0>() may come anywhere after lowpass<1>(), and clip<1>() anywhere before lowpass<2>().

  // Runs sub-sample k of a step through both lowpasses. Three zeros are inserted between two input samples; the factor
  // 4 makes up for them.
  template <int k>
  void lowpass(double sample = 0.0) noexcept {
    const Lanes in = bothLanes(k == 0 ? sample * 4.0 : 0.0);
    const Lanes clipped = clipped_[k / 2];
    const Lanes y = filter_.step(k % 2 == 0 ? lowLanes(in, clipped) : lowHighLanes(in, clipped));
    interpolated_[k / 2] = k % 2 == 0 ? y : lowLanes(interpolated_[k / 2], y);
    if (k == 0) output_ = y[1];
  }

  // The curve for two sub-samples, half a step: reads the table at the positions found in the last step and finds the
  // next ones.
  template <int half>
  void clip() noexcept {
    clipped_[half] = curve_.read(spots_[half]);
    spots_[half] = curve_.locate(interpolated_[half]);
  }

 private:
  double (*histories_)[2][6];
  ClipCurve<Lanes> curve_;
  OversamplingFilter<Lanes> filter_;
  Lanes interpolated_[2] = {};  // four sub-samples in time order
  ClipCurve<Lanes>::Spot spots_[2] = {};
  Lanes clipped_[2] = {};
  double output_ = 0.0;
};

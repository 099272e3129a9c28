// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <utility>

#include "dsp/IIRFilter.h"
#include "dsp/Lanes.h"

// N filter sections in series, two to a vector, the second of each vector one sample behind the first.
//
// Section s needs, for sample n, what section s - 1 made of it. Within a vector that was made a step earlier, so at
// step n the low lane works on a sample and the high lane on the one before; the next vector takes over in the same
// step:
//
//   step n    [ s0(n)    s1(n-1) ]  [ s2(n-1)  s3(n-2) ]  [ s4(n-2)  ...
//   step n+1  [ s0(n+1)  s1(n)   ]  [ s2(n)    s3(n-1) ]  [ s4(n-1)  ...
//
// A section's history is put in its lane by enter() just before the step of its first sample, and taken out by leave()
// just after the step of its last one; what a lane does before and after that goes nowhere.
//
// Exact: every section sees the samples, and updates its history, as if the sections ran one after the other. All must
// be of the two-history form. Cost: 9 vector operations and a shuffle for two sections.
template <int N>
class SectionLanes {
 public:
  explicit SectionLanes(IIRFilter* const (&sections)[N]) noexcept : sections_(&sections[0]) {
    for (int s = 0; s < N; ++s) {
      for (int k = 0; k < 5; ++k) c_[s / 2][k][s % 2] = sections[s]->coef[k];
    }
  }

  // Before and after step `n` of a block, for the sections whose first or last sample that is.
  void enter(int n) noexcept {
    forEachBehind(n, [this](int s) {
      z1_[s / 2] = withLane(z1_[s / 2], s % 2, sections_[s]->z1);
      z2_[s / 2] = withLane(z2_[s / 2], s % 2, sections_[s]->z2);
    });
  }
  void leave(int n) const noexcept {
    forEachBehind(n, [this](int s) {
      sections_[s]->z1 = z1_[s / 2][s % 2];
      sections_[s]->z2 = z2_[s / 2][s % 2];
    });
  }

  // What `section` made of its sample in the last step.
  double output(int section) const noexcept { return y_[section / 2][section % 2]; }

  // One step. `first` holds the samples for the sections 0 and 1.
  void step(Lanes first) noexcept {
    [&]<int... p>(std::integer_sequence<int, p...>) { (stepPair<p>(first), ...); }
    (std::make_integer_sequence<int, kPairs>());
  }

  // One step's share of a pair of sections, for a caller that puts other work in between: all pairs, in their order.
  // `first` is for pair 0 alone.
  template <int pair>
  void stepPair(Lanes first = Lanes{}) noexcept {
    const Lanes x = pair == 0 ? first : highLowLanes(y_[std::max(pair - 1, 0)], y_[pair]);
    const Lanes(&c)[5] = c_[pair];
    const Lanes y = c[2] * x + z1_[pair];
    z1_[pair] = (c[3] * x + z2_[pair]) + c[0] * y;
    z2_[pair] = c[4] * x + c[1] * y;
    y_[pair] = y;
  }

 private:
  static constexpr int kPairs = (N + 1) / 2;  // an odd last lane idles

  // The sections that work `n` steps behind the first one.
  template <typename Function>
  static void forEachBehind(int n, Function function) noexcept {
    if (n < 0) return;
    if (n > 0 && 2 * n - 1 < N) function(2 * n - 1);
    if (2 * n < N) function(2 * n);
  }

  IIRFilter* const* sections_;
  Lanes c_[kPairs][5] = {};
  Lanes z1_[kPairs] = {};
  Lanes z2_[kPairs] = {};
  Lanes y_[kPairs] = {};
};

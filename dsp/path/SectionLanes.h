// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "dsp/IIRFilter.h"
#include "dsp/Lanes.h"

// N filter sections in series, `width` of them to a vector, 2 or 4, each one sample behind the one before.
//
// Section s needs the output of section s - 1 for the same sample. Within a vector that output comes from the step
// before, so each lane works one sample behind the lane to its left. The first lane of the next vector takes its input
// in the same step. For two lanes:
//
//   step n    [ s0(n)    s1(n-1) ]  [ s2(n-1)  s3(n-2) ]  [ s4(n-2)  ...
//   step n+1  [ s0(n+1)  s1(n)   ]  [ s2(n)    s3(n-1) ]  [ s4(n-1)  ...
//
// enter() loads a section's history into its lane just before the step of its first sample, and leave() stores it just
// after the step of its last one. What a lane computes before and after that is discarded.
//
// Exact: every section sees the samples, and updates its history, as if the sections ran one after the other. All
// sections must have the two-history form. Cost: 9 vector operations and a shuffle for each vector of sections.
template <int N, int width = 2>
class SectionLanes {
 public:
  explicit SectionLanes(IIRFilter* const (&sections)[N]) noexcept : sections_(&sections[0]) {
    for (int s = 0; s < N; ++s) {
      for (int k = 0; k < 5; ++k) c_[s / width][k][s % width] = sections[s]->coef[k];
    }
  }

  // How many steps `section` works behind the first one.
  static constexpr int behind(int section) noexcept { return section - section / width; }

  // Call enter() before step `n` of a block: it loads the histories of the sections whose first sample is due. Call
  // leave() after the step that is `n` steps after the block's last sample came in: it stores the histories of the
  // sections that have just finished.
  void enter(int n) noexcept {
    forEachBehind(n, [this](int s) {
      setLane(z1_[s / width], s % width, sections_[s]->z1);
      setLane(z2_[s / width], s % width, sections_[s]->z2);
    });
  }
  void leave(int n) const noexcept {
    forEachBehind(n, [this](int s) {
      sections_[s]->z1 = z1_[s / width][s % width];
      sections_[s]->z2 = z2_[s / width][s % width];
    });
  }

  // The output of `section` in the last step.
  double output(int section) const noexcept { return y_[section / width][section % width]; }

  // One step. `first` and `second` are the samples for the sections 0 and 1.
  void step(double first, double second) noexcept {
    [&]<int... v>(std::integer_sequence<int, v...>) { (stepVector<v>(first, second), ...); }
    (std::make_integer_sequence<int, kVectors>());
  }

  // The part of a step for vector `v`, for a caller that does other work in between. Call it for all vectors in order;
  // a vector that does not exist costs nothing. `first` and `second` are for vector 0 only.
  template <int v>
  void stepVector(double first = 0.0, double second = 0.0) noexcept {
    if constexpr (v < kVectors) {
      Vector x;
      if constexpr (v > 0 && width == 2) {
        x = __builtin_shufflevector(y_[v - 1], y_[v], 1, 2);
      } else if constexpr (v > 0) {
        x = __builtin_shufflevector(y_[v - 1], y_[v], 3, 4, 5, 6);
      } else if constexpr (width == 2) {
        x = Vector{first, second};
      } else {
        x = Vector{first, second, y_[0][1], y_[0][2]};
      }
      const Vector(&c)[5] = c_[v];
      const Vector y = c[2] * x + z1_[v];
      z1_[v] = (c[3] * x + z2_[v]) + c[0] * y;
      z2_[v] = c[4] * x + c[1] * y;
      y_[v] = y;
    }
  }

 private:
  using Vector = LanesOf<width>;
  static constexpr int kVectors = (N + width - 1) / width;  // the last lanes may be unused

  // The sections that work `n` steps behind the first one.
  template <typename Function>
  static void forEachBehind(int n, Function function) noexcept {
    for (int s = 0; s < N; ++s) {
      if (behind(s) == n) function(s);
    }
  }

  IIRFilter* const* sections_;
  Vector c_[kVectors][5] = {};
  Vector z1_[kVectors] = {};
  Vector z2_[kVectors] = {};
  Vector y_[kVectors] = {};
};

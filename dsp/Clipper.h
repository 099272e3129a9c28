// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>

#include "dsp/Lanes.h"

// Index into the curve's table. The width is the one for which the processor needs fewer instructions to convert a
// double and to compute an address: 64 bits save AArch64 10 instructions a sample, but make x86-64 a twentieth slower.
#if defined(__SSE2__)
using TableIndex = int;
#else
using TableIndex = std::ptrdiff_t;
#endif

// The saturation curve tanh(18 u) for u in [-1, 1] as a table, read with linear interpolation: two reads and a
// multiply-add instead of an exponential. The error against tanh is below 2e-7 and is largest at the bend.
//
// One table of 313 KiB serves every effect in the process. It does not depend on the sample rate.
struct Clipper {
  static constexpr int kHalfWidth = 20000;  // entries on each side of the curve's zero

  double center;                     // kHalfWidth once built: the index of the zero, and entries per unit of u
  double table[2 * kHalfWidth + 1];  // entry k: the curve at u = (k - kHalfWidth) / kHalfWidth
  double guard;                      // right-hand neighbour of the last entry, equal to it

  // Fills the table. Entries that already hold the right value are not written, so building a complete table again does
  // not disturb a reader. Builds must not overlap.
  void build() noexcept;

  // Entry `index`, 0 to 2 * kHalfWidth, and the one after it. Any thread.
  Lanes entries(TableIndex index) const noexcept {
    Lanes pair;  // one read; after the last entry comes the guard
    std::memcpy(&pair, &table[0] + index, sizeof pair);
    return pair;
  }
};

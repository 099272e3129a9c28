// SPDX-License-Identifier: MIT
#pragma once

#include <cfloat>
#include <cmath>
#include <cstring>
#include <type_traits>

// Two doubles that are worked on at once: the compilers' own vector type, SSE2 on x86, NEON on AArch64, plain scalar
// code elsewhere, always with the results of scalar arithmetic in the same order.
using Lanes = double __attribute__((vector_size(2 * sizeof(double))));

// The same for four, which is worth it where the processor has vectors of them (laneCount.h); others work on them by
// twos. `count` 2 or 4.
using FourLanes = double __attribute__((vector_size(4 * sizeof(double))));
template <int count>
using LanesOf = std::conditional_t<count == 4, FourLanes, Lanes>;

// Whether the processor has them. Where it has not (32-bit ARM), one double after the other is better.
#if defined(__SSE2__) || defined(__aarch64__) || defined(__wasm_simd128__)
constexpr bool kHasLanes = true;
#else
constexpr bool kHasLanes = false;
#endif

// Whether it has 32 registers for them, not 16 or fewer.
#if defined(__aarch64__)
constexpr bool kManyRegisters = true;
#else
constexpr bool kManyRegisters = false;
#endif

constexpr Lanes bothLanes(double value) noexcept { return Lanes{value, value}; }

// Puts `value` in one of the lanes. Writes the whole vector: a load of it must not wait for two stores.
template <typename T>
void setLane(T& lanes, int lane, double value) noexcept {
  T changed = lanes;
  for (int i = 0; i < static_cast<int>(sizeof(T) / sizeof(double)); ++i) changed[i] = i == lane ? value : changed[i];
  lanes = changed;
}

// One double or two neighbours, at any alignment. T: double or Lanes.
template <typename T>
T load(const double* values) noexcept {
  T loaded;
  std::memcpy(&loaded, values, sizeof loaded);
  return loaded;
}
template <typename T>
void store(double* values, T stored) noexcept {
  std::memcpy(values, &stored, sizeof stored);
}

// The lanes' bits.
using Bits = long long __attribute__((vector_size(sizeof(Lanes))));
constexpr long long kSignBit = static_cast<long long>(1ULL << 63);

inline Lanes magnitudes(Lanes values) noexcept {
  return reinterpret_cast<Lanes>(reinterpret_cast<Bits>(values) & ~kSignBit);
}

// Denormal values as zeros of the same sign.
inline Lanes withoutDenormals(Lanes values) noexcept {
  const Lanes zeros = reinterpret_cast<Lanes>(reinterpret_cast<Bits>(values) & kSignBit);
  return magnitudes(values) < bothLanes(DBL_MIN) ? zeros : values;
}

// Both for a single value.
inline double magnitudes(double value) noexcept { return std::fabs(value); }
inline double withoutDenormals(double value) noexcept {
  return std::fabs(value) < DBL_MIN ? std::copysign(0.0, value) : value;
}

// One lane of each, named in the order of the arguments.
inline Lanes lowLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 2); }
inline Lanes highLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 1, 3); }
inline Lanes lowHighLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 3); }

// Sample number i as a double, or it and the next one.
template <typename T>
T counted(int i) noexcept {
  if constexpr (std::is_same_v<T, Lanes>) {
    return bothLanes(i) + Lanes{0.0, 1.0};
  } else {
    return i;
  }
}

// A sum of doubles and of the lanes of pairs.
struct LaneSum {
  Lanes ofPairs = {0.0, 0.0};
  double ofSingles = 0.0;

  void add(Lanes values) noexcept { ofPairs += values; }
  void add(double value) noexcept { ofSingles += value; }
  double total() const noexcept { return kHasLanes ? (ofPairs[0] + ofPairs[1]) + ofSingles : ofSingles; }
};

// Calls step.operator()<T>(i) for the samples from `first` up to `end`: with Lanes for two at a time where the
// processor has vectors of them, with double for one that is left.
template <typename Step>
[[gnu::always_inline]] inline void forEachLanes(int first, int end, const Step& step) noexcept {
  int i = first;
  if constexpr (kHasLanes) {
    for (; i + 1 < end; i += 2) step.template operator()<Lanes>(i);
  }
  for (; i < end; ++i) step.template operator()<double>(i);
}

// SPDX-License-Identifier: MIT
#pragma once

#include <cfloat>
#include <cmath>
#include <cstring>
#include <type_traits>

// Two doubles processed at once, in the compilers' own vector type: SSE2 on x86, NEON on AArch64, plain scalar code
// elsewhere. The results are those of scalar arithmetic in the same order.
using Lanes = double __attribute__((vector_size(2 * sizeof(double))));

// Four doubles at once. They pay only where the processor has vectors of four (laneCount.h); others process them two at
// a time. `count`: 2 or 4.
using FourLanes = double __attribute__((vector_size(4 * sizeof(double))));
template <int count>
using LanesOf = std::conditional_t<count == 4, FourLanes, Lanes>;

// Whether the processor has vectors of doubles. Without them (32-bit ARM), it is better to process one double at a
// time.
#if defined(__SSE2__) || defined(__aarch64__) || defined(__wasm_simd128__)
constexpr bool kHasLanes = true;
#else
constexpr bool kHasLanes = false;
#endif

// Whether the processor has 32 vector registers, not 16 or fewer.
#if defined(__aarch64__)
constexpr bool kManyRegisters = true;
#else
constexpr bool kManyRegisters = false;
#endif

constexpr Lanes bothLanes(double value) noexcept { return Lanes{value, value}; }

// Sets one lane to `value`. Writes the whole vector, so that a load of it need not wait for two stores.
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

// Replaces denormal values by zeros of the same sign.
inline Lanes withoutDenormals(Lanes values) noexcept {
  const Lanes zeros = reinterpret_cast<Lanes>(reinterpret_cast<Bits>(values) & kSignBit);
  return magnitudes(values) < bothLanes(DBL_MIN) ? zeros : values;
}

// Both functions for a single value.
inline double magnitudes(double value) noexcept { return std::fabs(value); }
inline double withoutDenormals(double value) noexcept {
  return std::fabs(value) < DBL_MIN ? std::copysign(0.0, value) : value;
}

// Combine one lane of `a` with one of `b`; the names give the lanes in the order of the arguments.
inline Lanes lowLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 2); }
inline Lanes highLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 1, 3); }
inline Lanes lowHighLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 3); }

// The sample number i as a double, or i and i + 1 as Lanes.
template <typename T>
T counted(int i) noexcept {
  if constexpr (std::is_same_v<T, Lanes>) {
    return bothLanes(i) + Lanes{0.0, 1.0};
  } else {
    return i;
  }
}

// Adds up single doubles and the lanes of vectors.
struct LaneSum {
  Lanes ofPairs = {0.0, 0.0};
  double ofSingles = 0.0;

  void add(Lanes values) noexcept { ofPairs += values; }
  void add(double value) noexcept { ofSingles += value; }
  double total() const noexcept { return kHasLanes ? (ofPairs[0] + ofPairs[1]) + ofSingles : ofSingles; }
};

// Calls step.operator()<T>(i) for the samples from `first` up to `end`. T is Lanes for two samples at a time where the
// processor has vectors of doubles, and double for the rest.
template <typename Step>
[[gnu::always_inline]] inline void forEachLanes(int first, int end, const Step& step) noexcept {
  int i = first;
  if constexpr (kHasLanes) {
    for (; i + 1 < end; i += 2) step.template operator()<Lanes>(i);
  }
  for (; i < end; ++i) step.template operator()<double>(i);
}

// SPDX-License-Identifier: MIT
#pragma once

#include <cfloat>
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

constexpr Lanes bothLanes(double value) noexcept { return Lanes{value, value}; }

// Puts `value` in one of the lanes. Writes the whole vector: a load of it must not wait for two stores.
template <typename T>
void setLane(T& lanes, int lane, double value) noexcept {
  T changed = lanes;
  for (int i = 0; i < static_cast<int>(sizeof(T) / sizeof(double)); ++i) changed[i] = i == lane ? value : changed[i];
  lanes = changed;
}

// `count` neighbours in memory, at any alignment: 2, or 1 in the low lane and 0 in the high one.
template <int count>
Lanes loadLanes(const double* values) noexcept {
  Lanes lanes = {0.0, 0.0};
  std::memcpy(&lanes, values, count * sizeof(double));
  return lanes;
}
template <int count>
void storeLanes(double* values, Lanes lanes) noexcept {
  std::memcpy(values, &lanes, count * sizeof(double));
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

// One lane of each, named in the order of the arguments.
inline Lanes lowLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 2); }
inline Lanes highLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 1, 3); }
inline Lanes lowHighLanes(Lanes a, Lanes b) noexcept { return __builtin_shufflevector(a, b, 0, 3); }

// Calls step.operator()<count>(i) for the samples from `first` up to `end`: two at a time, then one that is left.
template <typename Step>
[[gnu::always_inline]] inline void forEachPair(int first, int end, const Step& step) noexcept {
  int i = first;
  for (; i + 1 < end; i += 2) step.template operator()<2>(i);
  if (i < end) step.template operator()<1>(i);
}

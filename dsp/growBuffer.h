// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

// Makes `buffer`, which holds `length` values, hold at least `wanted`. If it has to grow, its contents are lost. It
// never shrinks. Returns false, and leaves the buffer as it was, when memory runs out or when no array can be so large
// (a size for which even the nothrow form of new throws).
template <typename T>
bool growBuffer(T*& buffer, std::int32_t& length, std::int32_t wanted) noexcept {
  if (wanted <= length) return true;
  const auto count = static_cast<std::size_t>(wanted);
  constexpr std::size_t kMost = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T);
  if (count > kMost) return false;
  T* const larger = new (std::nothrow) T[count];
  if (larger == nullptr) return false;
  delete[] buffer;
  buffer = larger;
  length = wanted;
  return true;
}

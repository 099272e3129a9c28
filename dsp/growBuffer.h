// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

// Makes `buffer`, which holds `length` values, hold at least `wanted`; what it held is gone then. It never shrinks.
// False when storage ran out, and what was there stays.
template <typename T>
bool growBuffer(T*& buffer, std::int32_t& length, std::int32_t wanted) noexcept {
  if (wanted <= length) return true;
  T* const larger = new (std::nothrow) T[static_cast<std::size_t>(wanted)];
  if (larger == nullptr) return false;
  delete[] buffer;
  buffer = larger;
  length = wanted;
  return true;
}

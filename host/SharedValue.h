// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

// Read and write a plain field that one thread stores while another reads it without a lock. The accesses are atomic
// and unordered. For fields whose type and place the interface fixes, so that std::atomic is not possible. Uses the
// compilers' own operations instead of std::atomic_ref, which not every standard library has.

template <typename T>
T loadShared(const T& value) noexcept {
  static_assert(std::is_trivially_copyable_v<T> && __atomic_always_lock_free(sizeof(T), nullptr));
  T loaded;
  __atomic_load(&value, &loaded, __ATOMIC_RELAXED);
  return loaded;
}

template <typename T>
void storeShared(T& value, T newValue) noexcept {
  static_assert(std::is_trivially_copyable_v<T> && __atomic_always_lock_free(sizeof(T), nullptr));
  __atomic_store(&value, &newValue, __ATOMIC_RELAXED);
}

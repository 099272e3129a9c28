// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

// Reads and writes of a plain field that one thread stores while another reads it without a lock: whole, unordered.
// Used where the interface fixes the field's type and place, so that std::atomic cannot stand there.

template <typename T>
T loadShared(const T& value) noexcept {
  static_assert(std::atomic_ref<T>::is_always_lock_free);
  auto& field = const_cast<T&>(value);  // NOLINT(cppcoreguidelines-pro-type-const-cast): only read
  return std::atomic_ref<T>(field).load(std::memory_order_relaxed);
}

template <typename T>
void storeShared(T& value, T newValue) noexcept {
  static_assert(std::atomic_ref<T>::is_always_lock_free);
  std::atomic_ref<T>(value).store(newValue, std::memory_order_relaxed);
}

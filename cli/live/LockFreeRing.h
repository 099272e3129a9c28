// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <vector>

// A queue of plain values between two threads, one that writes and one that reads. Neither ever waits for the other,
// allocates or makes a system call.
template <typename T>
class LockFreeRing {
 public:
  // Holds `capacity` values.
  explicit LockFreeRing(std::size_t capacity) : values_(capacity + 1) {}

  // The writing thread: for how many values, at least, there is room.
  std::size_t room() const noexcept {
    return values_.size() - 1 - distance(read_.load(acquire), written_.load(relaxed));
  }

  // The writing thread. If there is no room for all `count` values, writes nothing and returns false.
  bool write(const T* values, std::size_t count) noexcept {
    if (room() < count) return false;
    const std::size_t at = written_.load(relaxed);
    const std::size_t first = std::min(count, values_.size() - at);
    std::copy_n(values, first, values_.begin() + static_cast<std::ptrdiff_t>(at));
    std::copy_n(values + first, count - first, values_.begin());
    written_.store((at + count) % values_.size(), std::memory_order_release);
    return true;
  }

  // The reading thread: takes up to `most` values, the oldest first, and returns how many.
  std::size_t read(T* values, std::size_t most) noexcept {
    const std::size_t at = read_.load(relaxed);
    const std::size_t count = std::min(most, distance(at, written_.load(acquire)));
    const std::size_t first = std::min(count, values_.size() - at);
    std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(at), first, values);
    std::copy_n(values_.begin(), count - first, values + first);
    read_.store((at + count) % values_.size(), std::memory_order_release);
    return count;
  }

 private:
  static constexpr auto relaxed = std::memory_order_relaxed;
  static constexpr auto acquire = std::memory_order_acquire;

  std::size_t distance(std::size_t from, std::size_t to) const noexcept {
    return to >= from ? to - from : to + values_.size() - from;
  }

  std::vector<T> values_;  // one place always stays free, so that full and empty differ
  alignas(64) std::atomic<std::size_t> written_ = 0;
  alignas(64) std::atomic<std::size_t> read_ = 0;
};

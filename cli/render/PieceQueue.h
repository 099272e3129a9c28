// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

// Interleaved samples that are read, played or written at once.
using Piece = std::vector<double>;

// Passes pieces from one thread to another in order. It holds a few; the thread that is ahead waits. Pieces are
// swapped, not copied, so that their memory is reused.
class PieceQueue {
 public:
  // Waits for room, then takes `piece` and leaves a used one in its place. If the queue is closed, takes nothing and
  // returns false.
  bool push(Piece& piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || count_ < pieces_.size(); });
    if (closed_) return false;
    pieces_[(first_ + count_) % pieces_.size()].swap(piece);
    ++count_;
    changed_.notify_one();
    return true;
  }

  // Waits for a piece and swaps it with the used one in `piece`. False when the queue is closed and empty.
  bool pop(Piece& piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || count_ > 0; });
    if (count_ == 0) return false;
    pieces_[first_].swap(piece);
    first_ = (first_ + 1) % pieces_.size();
    --count_;
    changed_.notify_one();
    return true;
  }

  // From now on nothing can be added; what is there can still be taken.
  void close() {
    const std::lock_guard guard(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  // From now on nothing can be added or taken.
  void abandon() {
    const std::lock_guard guard(mutex_);
    closed_ = true;
    count_ = 0;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::array<Piece, 4> pieces_;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
  bool closed_ = false;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <span>
#include <thread>

#include "cli/audio/AudioWriter.h"
#include "cli/render/PieceQueue.h"

// Writes a sound; with `threaded`, on a thread of its own that may be a few pieces behind. For one thread. Nothing else
// may use the writer, which must outlive this, until finish() has returned.
class WriteBehind {
 public:
  WriteBehind(AudioWriter& writer, bool threaded) : writer_(writer) {
    if (threaded) thread_ = std::thread([this] { run(); });
  }
  WriteBehind(const WriteBehind&) = delete;
  WriteBehind& operator=(const WriteBehind&) = delete;

  // Drops what has not been written yet.
  ~WriteBehind() {
    queue_.abandon();
    if (thread_.joinable()) thread_.join();
  }

  // Throws what the writer throws, which may be about an earlier piece.
  void write(std::span<const double> samples) {
    if (!thread_.joinable()) return writer_.write(samples);
    piece_.assign(samples.begin(), samples.end());
    if (!queue_.push(piece_)) finish();
  }

  // Returns when all is written. Throws what the writer throws.
  void finish() {
    queue_.close();
    if (thread_.joinable()) thread_.join();
    if (error_ != nullptr) std::rethrow_exception(error_);
  }

 private:
  void run() {
    try {
      for (Piece piece; queue_.pop(piece);) writer_.write(piece);
    } catch (...) {
      error_ = std::current_exception();
    }
    queue_.close();
  }

  AudioWriter& writer_;
  PieceQueue queue_;
  Piece piece_;
  std::exception_ptr error_;  // belongs to the thread until it has ended
  std::thread thread_;
};

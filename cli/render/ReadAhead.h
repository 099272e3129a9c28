// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <thread>

#include "cli/audio/AudioReader.h"
#include "cli/render/PieceQueue.h"

// Reads a sound in pieces; with `threaded`, a few pieces ahead on a thread of its own. For one thread. Nothing else may
// read from the reader, which must outlive this.
class ReadAhead {
 public:
  // `frames` is the length of each piece but the last.
  ReadAhead(AudioReader& reader, int frames, bool threaded) : reader_(reader), frames_(frames) {
    if (threaded) thread_ = std::thread([this] { run(); });
  }
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  ~ReadAhead() {
    queue_.abandon();
    if (thread_.joinable()) thread_.join();
  }

  // Reads the next samples into `piece`; none at the end. Throws what the reader throws.
  void next(Piece& piece) {
    if (!thread_.joinable()) return read(piece);
    if (queue_.pop(piece)) return;
    piece.clear();
    if (error_ != nullptr) std::rethrow_exception(error_);
  }

 private:
  void read(Piece& piece) {
    const auto channels = static_cast<std::size_t>(reader_.format().channels);
    piece.resize(static_cast<std::size_t>(frames_) * channels);
    piece.resize(static_cast<std::size_t>(reader_.read(piece.data(), frames_)) * channels);
  }

  void run() {
    try {
      Piece piece;
      do read(piece);
      while (!piece.empty() && queue_.push(piece));
    } catch (...) {
      error_ = std::current_exception();
    }
    queue_.close();
  }

  AudioReader& reader_;
  const int frames_;
  PieceQueue queue_;
  std::exception_ptr error_;  // belongs to the thread until the queue is closed
  std::thread thread_;
};

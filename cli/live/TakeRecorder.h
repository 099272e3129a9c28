// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cli/live/LockFreeRing.h"
#include "cli/live/TakeFile.h"
#include "cli/text/Failure.h"

// Writes what the audio thread plays into a file, on a thread of its own. If the disk falls behind by more than
// kBufferSeconds, frames that do not fit the buffer are counted and written to the file as silence.
class TakeRecorder {
 public:
  static constexpr int kBufferSeconds = 10;
  static constexpr auto kBetweenWrites = std::chrono::milliseconds(250);

  // Throws Failure as TakeFile does.
  TakeRecorder(const std::string& path, int rate, int channels, bool replace)
      : file_(path, rate, channels, replace),
        rate_(rate),
        channels_(static_cast<std::size_t>(channels)),
        samples_(static_cast<std::size_t>(kBufferSeconds) * static_cast<std::size_t>(rate) * channels_),
        gaps_(256),
        thread_([this] { run(); }) {}
  TakeRecorder(const TakeRecorder&) = delete;
  TakeRecorder& operator=(const TakeRecorder&) = delete;
  ~TakeRecorder() { stop(); }

  int rate() const noexcept { return rate_; }
  const TakeFile& file() const noexcept { return file_; }

  // The audio thread: `frames` of each channel. Never waits.
  void record(const float* const* channels, int frames) noexcept {
    const auto count = static_cast<std::size_t>(frames);
    if (samples_.room() < count * channels_ || (missing_ > 0 && gaps_.room() == 0)) {
      missing_ += frames;
      lost_.fetch_add(frames, std::memory_order_relaxed);
      return;
    }
    if (missing_ > 0) {
      const Gap gap{sent_, missing_};
      gaps_.write(&gap, 1);
      missing_ = 0;
    }
    sent_ += frames;
    if (channels_ == 1) {
      samples_.write(channels[0], count);
      return;
    }
    for (std::size_t i = 0; i < count; ++i) {
      const float frame[2] = {channels[0][i], channels[1][i]};
      samples_.write(frame, 2);
    }
  }

  // The audio thread: records `frames` of silence, for a time in which nothing could be played.
  void skip(std::int64_t frames) noexcept { missing_ += frames; }

  // Frames lost so far. Any thread.
  std::int64_t lostFrames() const noexcept { return lost_.load(std::memory_order_relaxed); }

  // Why the file can no longer be written; empty as long as it can. Any thread but the audio thread.
  std::string failure() const {
    const std::lock_guard guard(mutex_);
    return failure_;
  }

  // Writes the rest and gives the file its name; the audio thread must have stopped recording. Throws Failure if that
  // fails, or if writing failed before.
  void finish() {
    stop();
    if (!failure_.empty()) throw Failure(failure_);
    file_.writeSilence(missing_);
    file_.finish();
  }

 private:
  struct Gap {
    std::int64_t frame;  // of those sent, before which the gap is
    std::int64_t length;
  };

  void stop() {
    {
      const std::lock_guard guard(mutex_);
      stopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) thread_.join();
  }

  void run() {
    std::unique_lock guard(mutex_);
    for (bool last = false; !last && failure_.empty();) {
      last = wake_.wait_for(guard, kBetweenWrites, [this] { return stopping_; });
      guard.unlock();
      std::string reason;
      try {
        drain();
        if (!file_.isInPlace()) {
          throw Failure(file_.path() + ": " + file_.unfinishedPath() + " was removed or renamed while it was written");
        }
      } catch (const std::exception& error) {
        reason = error.what();
      }
      guard.lock();
      failure_ = reason;
    }
  }

  void drain() {
    std::vector<float> piece(4096 * channels_);
    for (std::size_t got = piece.size(); got == piece.size();) {
      got = samples_.read(piece.data(), piece.size());
      auto frames = static_cast<std::int64_t>(got / channels_);
      const float* from = piece.data();
      // A gap is sent before the samples that follow it, so it has arrived by now.
      while (nextGap_.length > 0 || gaps_.read(&nextGap_, 1) > 0) {
        if (nextGap_.frame >= written_ + frames) break;
        const std::int64_t before = nextGap_.frame - written_;
        file_.write(from, before);
        file_.writeSilence(nextGap_.length);
        from += before * static_cast<std::int64_t>(channels_);
        frames -= before;
        written_ += before;
        nextGap_ = {};
      }
      if (frames > 0) file_.write(from, frames);
      written_ += frames;
    }
  }

  TakeFile file_;
  const int rate_;
  const std::size_t channels_;
  LockFreeRing<float> samples_;
  LockFreeRing<Gap> gaps_;
  std::atomic<std::int64_t> lost_ = 0;
  std::int64_t sent_ = 0;     // frames, by the audio thread
  std::int64_t missing_ = 0;  // frames of silence since the last that was sent
  std::int64_t written_ = 0;  // frames, without the gaps
  Gap nextGap_{};
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::string failure_;
  std::thread thread_;
};

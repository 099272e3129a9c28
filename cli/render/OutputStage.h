// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "player/Tail.h"

class WriteBehind;

// Processes the effect's output: sets its level, ends it after its tail, measures and writes it.
class OutputStage {
 public:
  // With a null `writer` it only measures. If `tailSeconds` is empty, the tail lasts as long as it is audible.
  OutputStage(WriteBehind* writer, int rate, int channels, double gain, std::optional<double> tailSeconds);

  // Sets the length of the sound, once known; what follows is its tail. No frame of the tail may have been written
  // before.
  void endSound(std::int64_t frames) noexcept { soundLength_ = frames; }

  // Takes what comes next, and changes it. Throws Failure when a sample is not a number or cannot be written.
  void write(std::span<double> samples);

  // True once nothing that follows would be kept. Until then the caller must play silence after the sound.
  bool isComplete() const noexcept { return received_ >= soundLength_ && tail_.isComplete(); }

  int rate() const noexcept { return rate_; }  // Hz
  std::int64_t framesKept() const noexcept { return kept_; }
  double peak() const noexcept { return peak_; }

 private:
  void keep(std::span<const double> samples, double peak);

  WriteBehind* writer_;
  int rate_;
  std::size_t channels_;
  double gain_;
  Tail tail_;
  std::int64_t soundLength_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t received_ = 0;
  std::int64_t kept_ = 0;
  double peak_ = 0.0;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "player/Tail.h"

class WriteBehind;

// What happens to the effect's answer: brings it to its level, ends it with its tail, measures and writes it.
class OutputStage {
 public:
  // `writer` null: only measures. `tailSeconds` empty: as long as it is heard.
  OutputStage(WriteBehind* writer, int rate, int channels, double gain, std::optional<double> tailSeconds);

  // Tells the length of the sound, once known: what comes after it is its tail. No frame after it may have been
  // written before.
  void endSound(std::int64_t frames) noexcept { soundLength_ = frames; }

  // Takes what comes next, and changes it. Throws Failure when a sample is not a number or cannot be written.
  void write(std::span<double> samples);

  // True when nothing that follows would be kept. Until then the source plays silence after the sound.
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

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "cli/audio/AudioWriter.h"

// The end of the render chain: brings the result to its level, decides where it ends, measures and writes it.
//
// What follows the sound's own length is its tail. Without a fixed length the tail ends with the last sample above
// kQuiet, sought until kQuietSeconds in a row lie below it, or kLongestTailSeconds are over.
class RenderSink {
 public:
  static constexpr double kQuiet = 3.1622776601683795e-5;  // -90 dBFS
  static constexpr double kQuietSeconds = 0.25;
  static constexpr double kLongestTailSeconds = 2.0;

  // `writer` null: only measures. `tailSeconds` empty: as long as it is heard.
  RenderSink(AudioWriter* writer, int rate, int channels, double gain, std::optional<double> tailSeconds);

  // Tells the length of the sound, once known. No frame after it may have been written before.
  void setSoundLength(std::int64_t frames) noexcept { soundLength_ = frames; }

  // Throws Failure when a sample is not a number or cannot be written.
  void write(const double* samples, std::int64_t frames);

  // True when nothing that follows would be kept. Until then the source plays silence after the sound.
  bool isComplete() const noexcept { return quiet_.size() >= quietSamples_ || missing() == 0; }

  std::int64_t framesKept() const noexcept { return kept_; }
  double peak() const noexcept { return peak_; }

 private:
  // Frames up to the end of the longest tail.
  std::int64_t missing() const noexcept {
    constexpr auto kUnknown = std::numeric_limits<std::int64_t>::max();
    return soundLength_ == kUnknown ? kUnknown : soundLength_ + longestTail_ - received_;
  }
  void keep(const double* samples, std::int64_t frames);
  void writeTail(const double* samples, std::int64_t frames);

  AudioWriter* writer_;
  int rate_;
  std::size_t channels_;
  double gain_;
  bool fixedTail_;
  std::int64_t longestTail_;
  std::size_t quietSamples_;
  std::int64_t soundLength_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t received_ = 0;
  std::int64_t kept_ = 0;
  double peak_ = 0.0;
  std::vector<double> scaled_;
  std::vector<double> quiet_;  // the end of the tail so far, kept only if something louder follows
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Decides how much of the output after the end of a sound belongs to it. A tail of fixed length is kept whole. An open
// one ends with the last frame that has a sample above kQuiet; the search stops after kQuietSeconds of quiet frames, or
// after kLongestSeconds. Stores at most kQuietSeconds of sound.
class Tail {
 public:
  static constexpr double kQuiet = 3.1622776601683795e-5;  // -90 dBFS
  static constexpr double kQuietSeconds = 0.25;
  static constexpr double kLongestSeconds = 2.0;

  // `rate` in Hz; `seconds` empty: an open tail.
  Tail(int rate, int channels, std::optional<double> seconds);

  // Takes the next interleaved frames. Returns the frames that are now known to belong to the tail, including frames
  // held back before; they stay valid until the next call. Allocates, so it does not belong in an audio thread.
  std::span<const double> take(std::span<const double> samples);

  // True when nothing that follows would be kept.
  bool isComplete() const noexcept { return missing_ == 0 || quiet_.size() >= quietSamples_; }

 private:
  std::size_t channels_;
  std::size_t quietSamples_;
  std::size_t missing_;        // samples up to the end of the longest tail
  std::vector<double> quiet_;  // the end so far, kept only if something louder follows
  std::vector<double> kept_;
};

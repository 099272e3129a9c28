// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Decides how much of what follows a sound belongs to it. A tail of fixed length is kept whole. Without one it ends
// with the last frame that has a sample above kQuiet, sought until kQuietSeconds in a row lie below it, or
// kLongestSeconds are over. Holds kQuietSeconds of sound at most.
class Tail {
 public:
  static constexpr double kQuiet = 3.1622776601683795e-5;  // -90 dBFS
  static constexpr double kQuietSeconds = 0.25;
  static constexpr double kLongestSeconds = 2.0;

  // `rate` in Hz; `seconds` empty: as long as it is heard.
  Tail(int rate, int channels, std::optional<double> seconds);

  // Takes the interleaved frames that come next. Answers those of them, and of the ones held back before, that are now
  // known to be part of the tail; they stay until the next call.
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

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

// One string of an electric guitar, after Karplus and Strong: a burst of noise circulates in a delay line one period
// long and loses a little treble each time. An allpass tunes it. It is picked at an eighth of its length, and the
// pickup is at another place. Deterministic: the noise comes from a fixed generator.
class PluckedString {
 public:
  // `rate` in Hz; `seed` makes strings sound different from one another.
  PluckedString(double rate, std::uint32_t seed);

  // Starts a note, ending the one before. `frequency` in Hz, at least 20; `strength` 0 to 1; `muted`: the edge of the
  // hand lies on the strings at the bridge.
  void pluck(double frequency, double strength, bool muted);

  // Lays a finger on the string: it falls silent within a few hundredths of a second.
  void stop() noexcept { loss_ = stoppedLoss_; }

  // The next sample at the pickup, about -3 to 3 times the strength at first.
  double next() noexcept;

 private:
  double noise() noexcept;

  double rate_;
  std::uint32_t random_;
  std::vector<double> line_;
  std::size_t at_ = 0;
  std::size_t pickup_ = 0;  // samples between the two ways on which the wave passes the pickup
  double loss_ = 0.0;       // factor per period
  double stoppedLoss_ = 0.0;
  double damping_ = 0.5;  // share of the previous sample in the loop's lowpass
  double allpass_ = 0.0;  // coefficient
  double lowpassState_ = 0.0;
  double allpassIn_ = 0.0;
  double allpassOut_ = 0.0;
};

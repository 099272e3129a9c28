// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

// The peak of a signal for a meter that is read some thirty times a second, less often than blocks are played. The
// level therefore jumps to each peak and falls by 60 dB in about two seconds. Linear, from 0 to 1; louder peaks read 1.
// NaN counts as 0.
//
// Cost: two of these, for the input and the output of one channel, take 6.9 ns of the 1350 ns that a block of 64
// samples takes, 0.5 % (bench/meters.cpp).
class LevelMeter {
 public:
  // `rate` in Hz.
  explicit LevelMeter(double rate) noexcept : fall_(static_cast<float>(3.5 / rate)) {}

  // Call once for each channel of a run, then read() once. The loudest channel counts.
  void hear(const float* samples, std::uint32_t length) noexcept { peak_ = std::max(peak_, peakOf(samples, length)); }

  // The level after a run of `length` samples.
  float read(std::uint32_t length) noexcept {
    level_ *= std::max(1.0F - fall_ * static_cast<float>(length), 0.0F);
    level_ = std::max(level_, std::min(peak_, 1.0F));
    if (level_ < kSilence) level_ = 0.0F;
    peak_ = 0.0F;
    return level_;
  }

 private:
  using Lanes = float __attribute__((vector_size(16)));
  using Bits = std::int32_t __attribute__((vector_size(16)));
  static constexpr float kSilence = 1e-5F;  // -100 dBFS

  // Four vectors at a time, so that no comparison waits for the one before.
  static float peakOf(const float* samples, std::uint32_t length) noexcept {
    Lanes peaks[4] = {};
    std::uint32_t i = 0;
    for (; i + 16 <= length; i += 16) {
      for (std::size_t k = 0; k < 4; ++k) {
        Bits bits;
        std::memcpy(&bits, samples + i + std::size_t{4} * k, sizeof bits);
        bits &= 0x7fffffff;
        Lanes magnitudes;
        std::memcpy(&magnitudes, &bits, sizeof bits);
        peaks[k] = magnitudes > peaks[k] ? magnitudes : peaks[k];
      }
    }
    const Lanes even = peaks[0] > peaks[2] ? peaks[0] : peaks[2], odd = peaks[1] > peaks[3] ? peaks[1] : peaks[3];
    const Lanes all = even > odd ? even : odd;
    float peak = std::max(std::max(all[0], all[1]), std::max(all[2], all[3]));
    for (; i < length; ++i) peak = std::max({peak, samples[i], -samples[i]});
    return peak;
  }

  float fall_;  // part of the level that is lost with each sample
  float peak_ = 0.0F;
  float level_ = 0.0F;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>
#include <span>

// Adds dither before samples are rounded to integers: noise with a triangular distribution (TPDF), up to one step of
// the format either way, which turns the rounding error into steady noise that does not depend on the sound. The noise
// is the same in every run. Samples that are whole steps already, such as dry sound and digital silence, stay as they
// are, and so do those within two steps of full scale.
class Dither {
 public:
  // For integers of `bits` bits. Full scale is -1 to 1.
  explicit Dither(int bits) noexcept : scale_(std::ldexp(1.0, bits - 1)) {}

  void apply(std::span<double> samples) noexcept {
    constexpr double kRounder = 0x1.8p52;  // leaves the nearest whole number of one below 2^51
    constexpr std::uint64_t kMask = (1U << 21U) - 1;
    const double step = 1.0 / scale_;
    const double limit = scale_ - 2.0;
    std::uint64_t state = state_;
    for (double& sample : samples) {
      state = state * 6364136223846793005U + 1442695040888963407U;  // Knuth's MMIX generator
      const auto first = static_cast<double>(state >> 43U);
      const auto second = static_cast<double>(state >> 22U & kMask);
      const double exact = sample * scale_;
      const bool isLeft = (exact + kRounder) - kRounder == exact || std::fabs(exact) > limit;
      sample = isLeft ? sample : (exact + (first - second) * 0x1p-21) * step;
    }
    state_ = state;
  }

 private:
  double scale_;
  std::uint64_t state_ = 1;
};

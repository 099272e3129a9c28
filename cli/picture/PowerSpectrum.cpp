// SPDX-License-Identifier: MIT
#include "cli/picture/PowerSpectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "player/decibels.h"

namespace {

constexpr double kLongestWindow = 1.5;  // seconds
constexpr std::size_t kWindowsPerLength = 4;
constexpr double kPointsPerBand = 4.0;
constexpr double kSinePower = 0.5;  // of full scale

std::size_t windowLength(int rate) {
  std::size_t length = 2 * kWindowsPerLength;
  while (2.0 * static_cast<double>(length) <= kLongestWindow * rate) length *= 2;
  return length;
}

}  // namespace

PowerSpectrum::PowerSpectrum(int rate)
    : rate_(rate),
      length_(windowLength(rate)),
      window_(length_),
      fourier_(length_, false),
      recent_(length_),
      power_(length_ / 2 + 1) {
  for (std::size_t i = 0; i < length_; ++i) {
    window_[i] = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(length_));
  }
}

void PowerSpectrum::add(double sample) {
  const std::size_t step = length_ / kWindowsPerLength;
  recent_[length_ - step + pending_] = sample;
  ++samples_;
  if (++pending_ == step) {
    transform(power_, recent_);
    std::copy(recent_.begin() + static_cast<std::ptrdiff_t>(step), recent_.end(), recent_.begin());
    std::fill(recent_.end() - static_cast<std::ptrdiff_t>(step), recent_.end(), 0.0);
    pending_ = 0;
  }
}

// Adds one window's power, with the upper half of the spectrum folded into the lower one.
void PowerSpectrum::transform(std::vector<double>& power, const std::vector<double>& last) const {
  std::vector<Complex> in(length_);
  std::vector<Complex> out(length_);
  for (std::size_t i = 0; i < length_; ++i) in[i] = last[i] * window_[i];
  fourier_.transform(in.data(), out.data());
  for (std::size_t k = 0; k < power.size(); ++k) {
    power[k] += std::norm(out[k]) * (k == 0 || k == length_ / 2 ? 1.0 : 2.0);
  }
}

Picture::Points PowerSpectrum::levels() const {
  if (samples_ == 0) return {};
  // Feed silence until the last sample has left the window.
  const std::size_t step = length_ / kWindowsPerLength;
  std::vector<double> power = power_;
  std::vector<double> last = recent_;
  for (std::size_t i = 0; i < kWindowsPerLength; ++i) {
    transform(power, last);
    std::copy(last.begin() + static_cast<std::ptrdiff_t>(step), last.end(), last.begin());
    std::fill(last.end() - static_cast<std::ptrdiff_t>(step), last.end(), 0.0);
  }

  // The power below the upper edge of each bin, which extends half a bin to both sides of its frequency.
  const double squaredWindows = 3.0 / 8.0 * kWindowsPerLength;  // their sum at every sample
  const double scale =
      1.0 / (squaredWindows * static_cast<double>(length_) * static_cast<double>(samples_) * kSinePower);
  std::vector<double> below(power.size() + 1);
  for (std::size_t k = 0; k < power.size(); ++k) below[k + 1] = below[k] + scale * power[k];
  const auto powerBelow = [&](double frequency) {
    const double bin = frequency / rate_ * static_cast<double>(length_) + 0.5;
    const double whole = std::min(std::floor(bin), static_cast<double>(power.size()));
    const auto k = static_cast<std::size_t>(whole);
    return below[k] + (k < power.size() ? (bin - whole) * scale * power[k] : 0.0);
  };

  Picture::Points points;
  const double half = std::exp2(0.5 / kBandsPerOctave);
  for (int i = 0;; ++i) {
    const double frequency = 20.0 * std::exp2(i / (kBandsPerOctave * kPointsPerBand));
    if (frequency > std::min(20000.0, rate_ / 2.0)) return points;
    const double inBand = powerBelow(frequency * half) - powerBelow(frequency / half);
    points.emplace_back(frequency, std::max(kFloor, decibels(std::sqrt(std::max(inBand, 0.0)))));
  }
}

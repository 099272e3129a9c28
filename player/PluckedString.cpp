// SPDX-License-Identifier: MIT
#include "player/PluckedString.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kPickPosition = 1.0 / 8.0;  // of the string's length, from the bridge
constexpr double kPickupPosition = 1.0 / 5.0;

// The factor per period that makes a note fall by 60 dB in `seconds`.
double lossFor(double frequency, double seconds) { return std::pow(10.0, -3.0 / (frequency * seconds)); }

}  // namespace

PluckedString::PluckedString(double rate, std::uint32_t seed) : rate_(rate), random_(seed), line_(1, 0.0) {}

double PluckedString::noise() noexcept {
  random_ = random_ * 1664525U + 1013904223U;
  return static_cast<double>(random_ >> 8) / 8388608.0 - 1.0;
}

void PluckedString::pluck(double frequency, double strength, bool muted) {
  const double decay = muted ? 0.45 : 1500.0 / (frequency + 120.0);  // seconds; low strings ring longer
  damping_ = muted ? 0.5 : 0.3;
  loss_ = lossFor(frequency, decay);
  stoppedLoss_ = lossFor(frequency, 0.06);

  // The loop delays by the line, the lowpass (about `damping_` samples) and the allpass, which takes the rest.
  const double period = rate_ / frequency - damping_;
  const auto whole = static_cast<std::size_t>(period - 0.3);
  const double rest = period - static_cast<double>(whole);
  allpass_ = (1.0 - rest) / (1.0 + rest);
  lowpassState_ = allpassIn_ = allpassOut_ = 0.0;

  // A plucked string has less of each higher partial: two lowpasses, one that goes with the note and one that opens
  // with the strength of the stroke.
  std::vector<double> burst(whole);
  const double slope = std::min(1.0, 2.0 * std::numbers::pi * 3.0 * frequency / rate_);
  const double brightness = muted ? 0.2 : 0.2 + 0.4 * strength;
  double sloped = 0.0;
  double smooth = 0.0;
  double mean = 0.0;
  double square = 0.0;
  for (double& sample : burst) {
    sloped += slope * (noise() - sloped);
    smooth += brightness * (sloped - smooth);
    sample = smooth;
    mean += smooth / static_cast<double>(whole);
    square += smooth * smooth / static_cast<double>(whole);
  }
  const double level = strength / std::sqrt(square - mean * mean);
  const auto pick = static_cast<std::size_t>(kPickPosition * static_cast<double>(whole));
  line_.assign(whole, 0.0);
  for (std::size_t i = 0; i < whole; ++i) {
    line_[i] = level * (burst[i] - burst[(i + whole - pick) % whole]);
  }
  at_ = 0;
  pickup_ = static_cast<std::size_t>(kPickupPosition * static_cast<double>(whole));
}

double PluckedString::next() noexcept {
  const double wave = line_[at_];
  const double filtered = loss_ * ((1.0 - damping_) * wave + damping_ * lowpassState_);
  lowpassState_ = wave;
  const double delayed = allpass_ * (filtered - allpassOut_) + allpassIn_;
  allpassIn_ = filtered;
  allpassOut_ = delayed;
  line_[at_] = delayed;
  const double heard = wave - line_[(at_ + line_.size() - pickup_) % line_.size()];
  at_ = (at_ + 1) % line_.size();
  return heard;
}

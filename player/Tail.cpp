// SPDX-License-Identifier: MIT
#include "player/Tail.h"

#include <algorithm>
#include <cmath>
#include <limits>

Tail::Tail(int rate, int channels, std::optional<double> seconds)
    : channels_(static_cast<std::size_t>(channels)),
      quietSamples_(seconds ? std::numeric_limits<std::size_t>::max()
                            : static_cast<std::size_t>(std::llround(kQuietSeconds * rate)) * channels_),
      missing_(static_cast<std::size_t>(std::llround(seconds.value_or(kLongestSeconds) * rate)) * channels_) {}

std::span<const double> Tail::take(std::span<const double> samples) {
  samples = samples.first(std::min(samples.size(), missing_));
  missing_ -= samples.size();
  const bool isFixed = quietSamples_ == std::numeric_limits<std::size_t>::max();
  if (isFixed) return samples;
  kept_.clear();
  for (; !samples.empty() && quiet_.size() < quietSamples_; samples = samples.subspan(channels_)) {
    const auto frame = samples.first(channels_);
    quiet_.insert(quiet_.end(), frame.begin(), frame.end());
    if (std::any_of(frame.begin(), frame.end(), [](double x) { return std::fabs(x) > kQuiet; })) {
      kept_.insert(kept_.end(), quiet_.begin(), quiet_.end());
      quiet_.clear();
    }
  }
  return kept_;
}

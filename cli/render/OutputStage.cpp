// SPDX-License-Identifier: MIT
#include "cli/render/OutputStage.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "cli/text/Failure.h"

OutputStage::OutputStage(AudioWriter* writer, int rate, int channels, double gain, std::optional<double> tailSeconds)
    : writer_(writer),
      rate_(rate),
      channels_(static_cast<std::size_t>(channels)),
      gain_(gain),
      tail_(rate, channels, tailSeconds) {}

void OutputStage::write(const double* samples, std::int64_t frames) {
  scaled_.resize(static_cast<std::size_t>(frames) * channels_);
  for (std::size_t i = 0; i < scaled_.size(); ++i) {
    scaled_[i] = samples[i] * gain_;
    if (!std::isfinite(scaled_[i])) {
      throw Failure("the effect's answer is no number any more after " +
                    std::to_string(static_cast<double>(received_) / rate_) +
                    " s; the sound is far too loud, lower it or use --trim");
    }
  }
  const std::int64_t ofSound = std::clamp<std::int64_t>(soundLength_ - received_, 0, frames);
  received_ += frames;
  const std::span<const double> all(scaled_);
  const std::size_t end = static_cast<std::size_t>(ofSound) * channels_;
  keep(all.first(end));
  keep(tail_.take(all.subspan(end)));
}

void OutputStage::keep(std::span<const double> samples) {
  if (samples.empty()) return;
  for (const double sample : samples) peak_ = std::max(peak_, std::fabs(sample));
  const auto frames = static_cast<int>(samples.size() / channels_);
  if (writer_ != nullptr) writer_->write(samples.data(), frames);
  kept_ += frames;
}

// SPDX-License-Identifier: MIT
#include "cli/render/RenderSink.h"

#include <algorithm>
#include <cmath>

#include "cli/text/Failure.h"

RenderSink::RenderSink(AudioWriter* writer, int rate, int channels, double gain, std::optional<double> tailSeconds)
    : writer_(writer),
      rate_(rate),
      channels_(static_cast<std::size_t>(channels)),
      gain_(gain),
      fixedTail_(tailSeconds.has_value()),
      longestTail_(std::llround(tailSeconds.value_or(kLongestTailSeconds) * rate)),
      quietSamples_(static_cast<std::size_t>(std::llround(kQuietSeconds * rate)) * channels_) {}

void RenderSink::write(const double* samples, std::int64_t frames) {
  const std::int64_t wanted = std::min(frames, missing());
  scaled_.resize(static_cast<std::size_t>(wanted) * channels_);
  for (std::size_t i = 0; i < scaled_.size(); ++i) {
    scaled_[i] = samples[i] * gain_;
    if (!std::isfinite(scaled_[i])) {
      throw Failure("the effect's answer is no number any more after " +
                    std::to_string(static_cast<double>(received_) / rate_) +
                    " s; the sound is far too loud, lower it or use --trim");
    }
  }
  const std::int64_t ofSound = std::clamp<std::int64_t>(soundLength_ - received_, 0, wanted);
  received_ += wanted;
  keep(scaled_.data(), ofSound);
  const double* const tail = scaled_.data() + static_cast<std::size_t>(ofSound) * channels_;
  if (fixedTail_) {
    keep(tail, wanted - ofSound);
  } else {
    writeTail(tail, wanted - ofSound);
  }
}

void RenderSink::writeTail(const double* samples, std::int64_t frames) {
  for (std::int64_t f = 0; f < frames && quiet_.size() < quietSamples_; ++f, samples += channels_) {
    quiet_.insert(quiet_.end(), samples, samples + channels_);
    if (std::any_of(samples, samples + channels_, [](double x) { return std::fabs(x) > kQuiet; })) {
      keep(quiet_.data(), static_cast<std::int64_t>(quiet_.size() / channels_));
      quiet_.clear();
    }
  }
}

void RenderSink::keep(const double* samples, std::int64_t frames) {
  if (frames == 0) return;
  const double* const end = samples + static_cast<std::size_t>(frames) * channels_;
  for (const double* sample = samples; sample != end; ++sample) peak_ = std::max(peak_, std::fabs(*sample));
  if (writer_ != nullptr) writer_->write(samples, static_cast<int>(frames));
  kept_ += frames;
}

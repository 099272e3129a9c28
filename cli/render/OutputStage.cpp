// SPDX-License-Identifier: MIT
#include "cli/render/OutputStage.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "cli/render/WriteBehind.h"
#include "cli/samples/samples.h"
#include "cli/text/Failure.h"

OutputStage::OutputStage(WriteBehind* writer, int rate, int channels, double gain, std::optional<double> tailSeconds)
    : writer_(writer),
      rate_(rate),
      channels_(static_cast<std::size_t>(channels)),
      gain_(gain),
      tail_(rate, channels, tailSeconds) {}

void OutputStage::write(std::span<double> samples) {
  scaleBy(samples, gain_);
  const double peak = peakOf(samples);
  if (!std::isfinite(peak)) {
    const auto bad = std::find_if_not(samples.begin(), samples.end(), [](double x) { return std::isfinite(x); });
    const auto frame = received_ + (bad - samples.begin()) / static_cast<std::ptrdiff_t>(channels_);
    throw Failure("the effect's output stopped being a number after " +
                  std::to_string(static_cast<double>(frame) / rate_) +
                  " s; the input is far too loud; turn it down, or use --trim");
  }
  const auto frames = static_cast<std::int64_t>(samples.size() / channels_);
  const std::int64_t ofSound = std::clamp<std::int64_t>(soundLength_ - received_, 0, frames);
  received_ += frames;
  if (ofSound == frames) {
    keep(samples, peak);
  } else {
    const std::size_t end = static_cast<std::size_t>(ofSound) * channels_;
    keep(samples.first(end), peakOf(samples.first(end)));
    const std::span<const double> tail = tail_.take(samples.subspan(end));
    keep(tail, peakOf(tail));
  }
}

void OutputStage::keep(std::span<const double> samples, double peak) {
  if (samples.empty()) return;
  peak_ = std::max(peak_, peak);
  kept_ += static_cast<std::int64_t>(samples.size() / channels_);
  if (writer_ != nullptr) writer_->write(samples);
}

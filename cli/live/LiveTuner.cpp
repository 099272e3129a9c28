// SPDX-License-Identifier: MIT
#include "cli/live/LiveTuner.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr auto kHoldTime = std::chrono::milliseconds(600);  // for a note that is no longer detected
constexpr double kSameNote = 0.03;                          // about half a semitone, as a share of the frequency

}  // namespace

void LiveTuner::listen() {
  samples_.resize(4096);
  if (!player_.isTuning()) {
    while (player_.readTuner(samples_.data(), samples_.size()) > 0) continue;  // discards old samples
    detector_.reset();
    estimates_.clear();
    note_.reset();
    return;
  }
  if (detector_ == nullptr || rate_ != player_.rate()) {
    rate_ = player_.rate();
    detector_ = std::make_unique<PitchDetector>(rate_);
  }
  for (std::size_t got = 0; (got = player_.readTuner(samples_.data(), samples_.size())) > 0;) {
    detector_->add(samples_.data(), got);
  }
  const double frequency = detector_->frequency();
  const auto now = Clock::now();
  if (frequency > 0.0) {
    heardTime_ = now;
    if (!estimates_.empty() && std::fabs(frequency / estimates_.back() - 1.0) > kSameNote) estimates_.clear();
    if (estimates_.size() == kNumEstimates) estimates_.erase(estimates_.begin());
    estimates_.push_back(frequency);
    std::vector<double> sorted = estimates_;
    std::sort(sorted.begin(), sorted.end());
    note_ = TunerNote::nearest(sorted[sorted.size() / 2]);
  } else if (now - heardTime_ > kHoldTime) {
    estimates_.clear();
    note_.reset();
  }
}

std::string LiveTuner::text() const {
  if (!note_) return "no note";
  char cents[32];
  std::snprintf(cents, sizeof cents, " %+.0f cents", note_->cents + 0.0);
  return note_->name() + cents;
}

// SPDX-License-Identifier: MIT
#include "web/PagePlayer.h"

PagePlayer::PagePlayer(int rate, int channels)
    : player_(getinterface, rate, kLongestBlock, channels),
      samples_(static_cast<std::size_t>(channels) * kLongestBlock),
      tail_(rate, channels, std::nullopt) {
  for (int c = 0; c < channels; ++c) planes_.push_back(&samples_[static_cast<std::size_t>(c) * kLongestBlock]);
}

void PagePlayer::process(int length) noexcept {
  start();
  player_.process(planes_.data(), planes_.data(), length);
}

const std::vector<float>& PagePlayer::playTail() {
  start();
  silence_.assign(samples_.size(), 0.0);
  player_.processFrames(silence_.data(), kLongestBlock);
  const auto kept = tail_.take(silence_);
  kept_.assign(kept.begin(), kept.end());
  return kept_;
}

void PagePlayer::start() noexcept {
  if (!hasStarted_) player_.start();
  hasStarted_ = true;
}

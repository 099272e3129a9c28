// SPDX-License-Identifier: MIT
#include "web/Player.h"

#include <algorithm>
#include <cmath>

#include "player/decibels.h"

Player::Player(int rate, int channels) : tail_(rate, channels, std::nullopt) {
  for (int c = 0; c < channels; ++c) channels_.push_back(std::make_unique<Channel>(rate));
}

bool Player::exists() const noexcept {
  return std::all_of(channels_.begin(), channels_.end(), [](const auto& channel) { return channel->effect.exists(); });
}

void Player::setTrim(double decibels) noexcept {
  takenOffNext_ = amplitude(-decibels);
  putBackNext_ = amplitude(decibels);
}

void Player::process(int length) noexcept {
  for (const auto& channel : channels_) {
    for (int i = 0; i < length; ++i) {
      channel->block[i] = std::isfinite(channel->samples[i]) ? static_cast<double>(channel->samples[i]) : 0.0;
    }
  }
  run(length);
  for (const auto& channel : channels_) {
    std::transform(channel->block, channel->block + length, channel->samples,
                   [](double sample) { return static_cast<float>(sample); });
  }
}

const std::vector<float>& Player::playTail() {
  for (const auto& channel : channels_) std::fill_n(channel->block, kLongestBlock, 0.0);
  run(kLongestBlock);
  interleaved_.clear();
  for (int i = 0; i < kLongestBlock; ++i) {
    for (const auto& channel : channels_) interleaved_.push_back(channel->block[i]);
  }
  const auto kept = tail_.take(interleaved_);
  kept_.assign(kept.begin(), kept.end());
  return kept_;
}

void Player::run(int length) noexcept {
  if (!started_) {
    started_ = true;
    takenOff_ = takenOffNext_;
    putBack_ = putBackNext_;
    for (const auto& channel : channels_) channel->effect.start();
  }
  const bool glides = putBackNext_ != putBack_ && length > 1;
  const double step = glides ? (putBackNext_ - putBack_) / (length - 1) : 0.0;
  for (const auto& channel : channels_) {
    double* const block = channel->block;
    // At rest the very products that the command makes.
    for (int i = 0; i < length; ++i) block[i] *= glides ? 1.0 / (putBack_ + i * step) : takenOff_;
    channel->effect.process(block, length);
    for (int i = 0; i < length; ++i) block[i] *= putBack_ + i * step;
  }
  if (length == 0) return;
  takenOff_ = takenOffNext_;
  putBack_ = putBackNext_;
}

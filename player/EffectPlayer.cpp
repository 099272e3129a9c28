// SPDX-License-Identifier: MIT
#include "player/EffectPlayer.h"

#include <cmath>
#include <limits>

EffectPlayer::EffectPlayer(HostedEffect::Entry entry, int rate, int blockLength, int channels)
    : blockLength_(blockLength), blocks_(static_cast<std::size_t>(blockLength) * static_cast<std::size_t>(channels)) {
  for (int c = 0; c < channels; ++c) effects_.push_back(std::make_unique<HostedEffect>(entry, rate, blockLength));
}

const char* EffectPlayer::fault() const noexcept {
  for (const auto& effect : effects_) {
    if (!effect->exists()) return effect->fault();
  }
  return nullptr;
}

void EffectPlayer::announce(int rate, int blockLength) {
  blocks_.resize(static_cast<std::size_t>(blockLength) * effects_.size());
  blockLength_ = blockLength;
  for (const auto& effect : effects_) effect->announce(rate, blockLength);
}

void EffectPlayer::start() noexcept {
  trim_.jump();
  for (const auto& effect : effects_) effect->start();
}

void EffectPlayer::stop() noexcept {
  for (const auto& effect : effects_) effect->stop();
}

void EffectPlayer::setParameter(int index, float value) noexcept {
  for (const auto& effect : effects_) effect->setParameter(index, value);
}

void EffectPlayer::setProgram(int index) noexcept {
  for (const auto& effect : effects_) effect->setProgram(index);
}

void EffectPlayer::setProgramName(const char* name) noexcept {
  for (const auto& effect : effects_) effect->setProgramName(name);
}

template <class Sample>
void EffectPlayer::playPlanes(const Sample* const* in, Sample* const* out, int length) noexcept {
  // All inputs are read before the first output is written.
  for (std::size_t c = 0; c < effects_.size(); ++c) {
    double* const samples = block(c);
    for (int i = 0; i < length; ++i) {
      const bool isFinite = std::fabs(in[c][i]) <= std::numeric_limits<Sample>::max();
      samples[i] = isFinite ? static_cast<double>(in[c][i]) : 0.0;
    }
  }
  play(length);
  for (std::size_t c = 0; c < effects_.size(); ++c) {
    const double* const samples = block(c);
    for (int i = 0; i < length; ++i) out[c][i] = static_cast<Sample>(samples[i]);
  }
}
template void EffectPlayer::playPlanes(const float* const* in, float* const* out, int length) noexcept;
template void EffectPlayer::playPlanes(const double* const* in, double* const* out, int length) noexcept;

void EffectPlayer::processFrames(double* frames, int length) noexcept {
  const std::size_t channels = effects_.size();
  const auto count = static_cast<std::size_t>(length);
  for (std::size_t c = 0; c < channels; ++c) {
    double* const samples = block(c);
    for (std::size_t i = 0; i < count; ++i) samples[i] = frames[i * channels + c];
  }
  play(length);
  for (std::size_t c = 0; c < channels; ++c) {
    const double* const samples = block(c);
    for (std::size_t i = 0; i < count; ++i) frames[i * channels + c] = samples[i];
  }
}

void EffectPlayer::play(int length) noexcept {
  if (length == 0) return;
  trim_.begin(length);
  for (std::size_t c = 0; c < effects_.size(); ++c) {
    double* const samples = block(c);
    trim_.takeOff(samples, length);
    effects_[c]->process(samples, length);
    trim_.putBack(samples, length);
  }
  trim_.end();
}

// SPDX-License-Identifier: MIT
#include "cli/effect/EffectChannels.h"

#include <algorithm>
#include <utility>

#include "cli/effect/Parameter.h"
#include "cli/text/Failure.h"

namespace {

void setNamed(HostedEffect& effect, const std::string& name, float value) {
  const std::vector<std::string> names = namesOf(parametersOf(effect));
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) throw Failure("the module has no parameter " + name + "; see brumbler info");
  effect.setParameter(static_cast<int>(found - names.begin()), value);
}

}  // namespace

void EffectSettings::applyTo(HostedEffect& effect) const {
  if (bank) bank->restore(effect);
  if (program) {
    if (*program >= effect.record().numPrograms) {
      throw Failure("--program: the module has the programs 1 to " + std::to_string(effect.record().numPrograms),
                    Failure::usage);
    }
    effect.setProgram(*program);
  }
  for (const auto& [name, value] : values) setNamed(effect, name, value);
}

EffectChannels::EffectChannels(const EffectModule& module, const EffectSettings& settings, AutomationTrack automation,
                               int rate, int channels)
    : block_(settings.block), automation_(std::move(automation)), scratch_(static_cast<std::size_t>(settings.block)) {
  for (int i = 0; i < channels; ++i) {
    auto& effect = effects_.emplace_back(module.createEffect(rate, block_));
    settings.applyTo(*effect);
    automation_.apply(*effect, 0, 0);
    effect->start();
  }
}

void EffectChannels::process(double* samples, int frames) {
  const std::size_t channels = effects_.size();
  while (frames > 0) {
    const std::int64_t cut = automation_.nextCut(position_);
    const auto length = static_cast<int>(std::min<std::int64_t>(std::min(frames, block_), cut - position_));
    for (std::size_t c = 0; c < channels; ++c) {
      automation_.apply(*effects_[c], position_, position_ + length);
      if (channels == 1) {
        effects_[c]->process(samples, length);
        continue;
      }
      for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) scratch_[i] = samples[i * channels + c];
      effects_[c]->process(scratch_.data(), length);
      for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) samples[i * channels + c] = scratch_[i];
    }
    samples += static_cast<std::size_t>(length) * channels;
    frames -= length;
    position_ += length;
  }
}

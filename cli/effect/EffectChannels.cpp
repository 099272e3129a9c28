// SPDX-License-Identifier: MIT
#include "cli/effect/EffectChannels.h"

#include <algorithm>
#include <utility>

#include "catalog/catalog.h"
#include "cli/text/Failure.h"

void EffectSettings::applyTo(HostedEffect& effect) const {
  if (bank) bank->restore(effect);
  if (program) {
    if (*program >= effect.record().numPrograms) {
      throw Failure("--program: the module has the programs 1 to " + std::to_string(effect.record().numPrograms),
                    Failure::usage);
    }
    effect.setProgram(*program);
  }
  for (const auto& [parameter, value] : values) {
    if (parameter >= effect.record().numParams) {
      throw Failure(std::string("the module has no parameter ") + catalog::kParameters[parameter].name +
                    "; see brumbler info");
    }
    effect.setParameter(parameter, value);
  }
}

EffectChannels::EffectChannels(const EffectModule& module, const EffectSettings& settings, AutomationTrack automation,
                               int rate, int channels)
    : player_(module.createPlayer(rate, settings.block, channels)), automation_(std::move(automation)) {
  for (int c = 0; c < channels; ++c) settings.applyTo(player_->effect(c));
  automation_.apply(*player_, 0, 0);
  player_->start();
}

void EffectChannels::process(double* samples, int frames) {
  while (frames > 0) {
    const std::int64_t cut = automation_.nextCut(position_);
    const auto length =
        static_cast<int>(std::min<std::int64_t>(std::min(frames, player_->blockLength()), cut - position_));
    automation_.apply(*player_, position_, position_ + length);
    player_->processFrames(samples, length);
    samples += static_cast<std::ptrdiff_t>(length) * player_->channels();
    frames -= length;
    position_ += length;
  }
}

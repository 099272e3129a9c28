// SPDX-License-Identifier: MIT
#include "cli/effect/AutomationTrack.h"

#include <algorithm>
#include <limits>

#include "player/EffectPlayer.h"

namespace {

using Keyframes = std::vector<AutomationTrack::Keyframe>;

// The value on the line to `next` from the keyframe before it; constant before the first and after the last keyframe.
float valueOnLine(const Keyframes& keyframes, Keyframes::const_iterator next, std::int64_t frame) {
  if (next == keyframes.begin()) return next->value;
  const auto& last = *(next - 1);
  if (next == keyframes.end() || next->frame == last.frame) return last.value;
  const double share = static_cast<double>(frame - last.frame) / static_cast<double>(next->frame - last.frame);
  return static_cast<float>(last.value + share * (static_cast<double>(next->value) - last.value));
}

Keyframes::const_iterator firstAfter(const Keyframes& keyframes, std::int64_t frame) {
  return std::upper_bound(keyframes.begin(), keyframes.end(), frame,
                          [](std::int64_t f, const AutomationTrack::Keyframe& k) { return f < k.frame; });
}

Keyframes::const_iterator firstFrom(const Keyframes& keyframes, std::int64_t frame) {
  return std::lower_bound(keyframes.begin(), keyframes.end(), frame,
                          [](const AutomationTrack::Keyframe& k, std::int64_t f) { return k.frame < f; });
}

float valueOf(const AutomationTrack::Lane& lane, std::int64_t from, std::int64_t to) {
  const auto next = firstAfter(lane.keyframes, from);
  switch (lane.kind) {
    case AutomationTrack::Kind::toggles: return next == lane.keyframes.begin() ? next->value : (next - 1)->value;
    case AutomationTrack::Kind::steps: return valueOnLine(lane.keyframes, next, from);
    case AutomationTrack::Kind::glides: break;
  }
  // Where two keyframes share the frame `to`, the jump between them is the next block's.
  return valueOnLine(lane.keyframes, firstFrom(lane.keyframes, to), to);
}

}  // namespace

std::int64_t AutomationTrack::nextCut(std::int64_t position) const {
  std::int64_t cut = std::numeric_limits<std::int64_t>::max();
  const auto consider = [&](std::int64_t frame) {
    if (frame > position) cut = std::min(cut, frame);
  };
  for (const Lane& lane : lanes) {
    const auto next = firstAfter(lane.keyframes, position);
    if (next != lane.keyframes.begin()) consider((next - 1)->frame + kGrid);
    if (next == lane.keyframes.end()) continue;
    consider(next->frame);
    const bool moves = next != lane.keyframes.begin() && (next - 1)->value != next->value;
    if (moves && lane.kind != Kind::toggles) consider((position / kGrid + 1) * kGrid);
  }
  for (const ProgramChange& change : programChanges) {
    consider(change.frame);
    consider(change.frame + kGrid);
  }
  return cut;
}

void AutomationTrack::apply(EffectPlayer& player, std::int64_t from, std::int64_t to) const {
  for (const ProgramChange& change : programChanges) {
    if (change.frame == from) player.setProgram(change.program);
  }
  for (const Lane& lane : lanes) player.setParameter(lane.parameter, valueOf(lane, from, to));
}

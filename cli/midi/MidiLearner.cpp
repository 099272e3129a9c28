// SPDX-License-Identifier: MIT
#include "cli/midi/MidiLearner.h"

#include <algorithm>

namespace {

constexpr double kReleaseSeconds = 0.5;

bool isSwitchRole(LiveAction action) { return action != LiveAction::volume && action != LiveAction::fuzz; }

}  // namespace

std::string MidiLearner::request() const { return isDone() ? "" : MidiMap::kRoles.at(step_).request; }

std::string MidiLearner::take(const MidiControl& control, double seconds) {
  const auto isThis = [&control](const MidiControl& other) { return control.isSameControl(other); };
  if (std::any_of(taken_.begin(), taken_.end(), isThis)) {
    // Still the same movement: a knob that goes on, or a switch that springs back.
    const bool springsBack = isThis(taken_.back()) && !control.isPressed() && seconds - lastSeconds_ < kReleaseSeconds;
    if (springsBack && map_.actionOf(control) == LiveAction::onOff) map_.assign(LiveAction::toggle, control);
    return "";
  }
  if (isDone()) return "";
  const MidiMap::Role& role = MidiMap::kRoles.at(step_);
  if (isSwitchRole(role.action) && role.action != LiveAction::onOff && !control.isPressed()) return "";
  map_.assign(role.action, control);
  taken_.push_back(control);
  lastSeconds_ = seconds;
  ++step_;
  return std::string(role.key) + ": " + control.text();
}

void MidiLearner::skip() {
  if (!isDone()) ++step_;
}

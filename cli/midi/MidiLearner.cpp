// SPDX-License-Identifier: MIT
#include "cli/midi/MidiLearner.h"

#include <algorithm>

namespace {

constexpr double kReleaseSeconds = 0.5;

bool isSwitch(LiveAction action) { return action != LiveAction::volume && action != LiveAction::fuzz; }

// Whether `fine` is the lower half of a 14-bit control whose upper half is `coarse`: controllers n + 32 and n.
bool isFineHalf(const MidiControl& fine, const MidiControl& coarse) {
  constexpr auto controller = MidiControl::Kind::controller;
  return fine.kind == controller && coarse.kind == controller && coarse.number < 32 &&
         fine.number == coarse.number + 32;
}

}  // namespace

std::string MidiLearner::request() const { return isDone() ? "" : MidiMap::kRoles.at(step_).request; }

std::string MidiLearner::take(const MidiControl& control, double seconds) {
  if (control.kind == MidiControl::Kind::program) {
    return "That switch sends program changes: they select programs 1 to 16 and cannot be learned";
  }
  const auto isSame = [&control](const MidiControl& other) {
    return control.isSameControl(other) || isFineHalf(control, other) || isFineHalf(other, control);
  };
  const auto before = std::find_if(taken_.begin(), taken_.end(), isSame);
  if (before != taken_.end()) {
    // Still the same action: a pedal that keeps moving, the other half of its value, or a switch that is released.
    const LiveAction action = map_.actionOf(*before);
    if (isFineHalf(*before, control)) {
      map_.assign(action, control);
      *before = control;
    } else if (control.isSameControl(*before) && isSwitch(action) && !control.isPressed()) {
      const bool isLast = &*before == &taken_.back();
      if (action == LiveAction::onOff && isLast && seconds - lastSeconds_ < kReleaseSeconds) {
        map_.assign(LiveAction::toggle, control);
      }
      map_.setPressOnly(action, false);
    }
    return "";
  }
  if (isDone()) return "";
  const MidiMap::Role& role = MidiMap::kRoles.at(step_);
  const bool isButton = isSwitch(role.action) && role.action != LiveAction::onOff;
  if (isButton && !control.isPressed()) return "";
  map_.assign(role.action, control);
  map_.setPressOnly(role.action, isButton && control.kind == MidiControl::Kind::controller);
  taken_.push_back(control);
  lastSeconds_ = seconds;
  ++step_;
  return std::string(role.key) + ": " + control.text();
}

void MidiLearner::skip() {
  if (!isDone()) ++step_;
}

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/midi/MidiMap.h"

// Learns a map: for each action in turn it takes the control that moves. One thread.
class MidiLearner {
 public:
  // Begins with what `map` has; what is skipped stays.
  explicit MidiLearner(const MidiMap& map) : map_(map) {}

  bool isDone() const noexcept { return step_ == MidiMap::kNumRoles; }
  const MidiMap& map() const noexcept { return map_; }

  // What the player is to do now, like "Move the control for Volume"; empty when done.
  std::string request() const;

  // A control moved, at `seconds` of any clock. Answers what to tell the player, like "volume: controller 7"; empty
  // when there is nothing to tell.
  //
  // A pedal that sends 14 bits sends two controllers, n and n + 32: they count as one control, controller n. A switch
  // for On/Off that lets go within half a second is taken for one that toggles. Other switches count as sending presses
  // alone until they let go. A switch that sends program changes cannot be learned.
  std::string take(const MidiControl& control, double seconds);

  // Leaves the action as it is.
  void skip();

 private:
  MidiMap map_;
  std::size_t step_ = 0;
  std::vector<MidiControl> taken_;  // in the order of learning
  double lastSeconds_ = 0.0;        // when the last one was taken
};

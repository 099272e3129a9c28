// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/midi/MidiMap.h"

// Learns a map: for each action in turn it takes the control that moves. One thread.
class MidiLearner {
 public:
  // Starts from `map`; skipped actions keep their controls.
  explicit MidiLearner(const MidiMap& map) : map_(map) {}

  bool isDone() const noexcept { return step_ == MidiMap::kNumRoles; }
  const MidiMap& map() const noexcept { return map_; }

  // What to ask the player for, like "Move the control for Volume"; empty when done.
  std::string request() const;

  // Call it when a control moved, at `seconds` of any clock. Returns a message for the player, like "volume: controller
  // 7"; empty if there is none.
  //
  // A pedal that sends 14 bits sends two controllers, n and n + 32: they count as one control, controller n. A switch
  // for On/Off that is released within half a second becomes a toggle. Other switches count as press-only until they
  // are released. A switch that sends program changes cannot be learned.
  std::string take(const MidiControl& control, double seconds);

  // Skips the action, which keeps its control.
  void skip();

 private:
  MidiMap map_;
  std::size_t step_ = 0;
  std::vector<MidiControl> taken_;  // in the order of learning
  double lastSeconds_ = 0.0;        // when the last one was taken
};

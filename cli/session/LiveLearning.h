// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "cli/live/LivePlayer.h"
#include "cli/midi/MidiLearner.h"
#include "cli/session/LiveMessages.h"

// The MIDI maps of a session: the one it starts with, and those that are learned while it plays. The control thread.
// Must outlive the player.
class LiveLearning {
 public:
  // Reads the map of `path`; empty: the default map. With `isToLearn` the file may be missing. Throws Failure when it
  // cannot be read.
  LiveLearning(std::string path, bool isToLearn);

  const MidiMap& map() const noexcept { return maps_.back(); }

  // Asks for one control after the other; the controls that move go into a new map.
  void start(LivePlayer& player, LiveMessages& messages);
  bool isOn() const noexcept { return learner_.has_value(); }

  // Call it a few times a second: takes the controls that moved.
  void proceed(LivePlayer& player, LiveMessages& messages);
  // Skips the action that is asked for, which keeps its control.
  void skip(LivePlayer& player, LiveMessages& messages);
  // Cancels learning; the map stays as it was.
  void cancel(LivePlayer& player, LiveMessages& messages);

 private:
  void finish(LivePlayer& player, LiveMessages& messages);

  std::string path_;
  std::deque<MidiMap> maps_;  // the newest last; the audio thread may still read an old one
  std::optional<MidiLearner> learner_;
};

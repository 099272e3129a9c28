// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <memory>
#include <string>

#include "cli/effect/EffectChannels.h"
#include "cli/live/LivePlayer.h"
#include "cli/session/LiveMessages.h"

// The sixteen programs of a session: their names, and their way between the bank's file and the player. The control
// thread.
class LivePrograms {
 public:
  // Loads what `settings` says into the player. `bankPath` may be empty: no file. Throws Failure when the module is
  // another effect than the player plays.
  LivePrograms(const EffectModule& module, const EffectSettings& settings, std::string bankPath, LivePlayer& player,
               LiveMessages& messages);

  const std::string& name(int program) const { return names_.at(static_cast<std::size_t>(program)); }

  // Reads the bank's file again, whole or not at all, and keeps the program selected.
  void readBank();
  // Writes the programs as the player has them to the bank's file.
  void writeBank();

 private:
  void load();
  void update();

  std::unique_ptr<HostedEffect> prototype_;  // holds the programs for files and texts; never plays
  std::string bankPath_;
  LivePlayer& player_;
  LiveMessages& messages_;
  std::array<std::string, LivePlayer::kNumPrograms> names_;
};

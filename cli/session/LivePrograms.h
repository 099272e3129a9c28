// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "cli/effect/EffectChannels.h"
#include "cli/live/LivePlayer.h"
#include "cli/session/LiveMessages.h"

// The sixteen programs of a session: their names, and their transfer between the bank's file and the player. The
// control thread.
class LivePrograms {
 public:
  static constexpr auto kRest = std::chrono::seconds(3);  // from the last change until the bank is written

  struct File {
    std::string path;   // empty: none
    bool keep = false;  // changes are written back to the bank
  };

  // Loads the settings into the player. Throws Failure if the module is not the effect that the player plays.
  LivePrograms(const EffectModule& module, const EffectSettings& settings, File file, LivePlayer& player,
               LiveMessages& messages);

  const std::string& name(int program) const { return names_.at(static_cast<std::size_t>(program)); }

  // Reads the bank's file again, completely or not at all; the selected program stays selected.
  void readBank();
  // Writes all programs to the bank's file, as they are now.
  void writeBank();

  // Call it a few times a second: stores the program that plays when a MIDI control asks for it, and with `keep` writes
  // all programs some time after the last change. A file that another program has changed is not written automatically.
  void check();
  // With `keep`, writes the changes since the last write.
  void end();

 private:
  using Clock = std::chrono::steady_clock;
  using AllValues = std::array<LivePlayer::Values, LivePlayer::kNumPrograms>;

  AllValues played() const;
  void load();
  void update(const AllValues& values);
  void write(const AllValues& values);
  void keep();
  std::filesystem::file_time_type fileTime() const;

  std::unique_ptr<HostedEffect> prototype_;  // holds the programs for files and texts; never plays
  File file_;
  LivePlayer& player_;
  LiveMessages& messages_;
  std::array<std::string, LivePlayer::kNumPrograms> names_;
  AllValues saved_{};  // as loaded or written last
  AllValues seen_{};   // at the check before
  Clock::time_point changeTime_;
  std::filesystem::file_time_type fileTime_;  // of the file as read or written last
  bool isRefusalTold_ = false;
  int storesDone_ = 0;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/live/LivePlayer.h"
#include "player/PitchDetector.h"

// Shows the note that is played while the player's tuner is on. The control thread.
class LiveTuner {
 public:
  explicit LiveTuner(LivePlayer& player) : player_(player) {}

  // Call it a few times a second: analyses the input since the last call.
  void listen();

  // The note being played, or played until a moment ago; its cents are the median of the last few estimates.
  const std::optional<TunerNote>& note() const noexcept { return note_; }

  // Like "E2 -3 cents"; "no note" if there is none.
  std::string text() const;

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::size_t kNumEstimates = 5;

  LivePlayer& player_;
  std::unique_ptr<PitchDetector> detector_;
  int rate_ = 0;
  std::vector<float> samples_;
  std::vector<double> estimates_;  // Hz, the newest last; of one note
  Clock::time_point heardTime_;
  std::optional<TunerNote> note_;
};

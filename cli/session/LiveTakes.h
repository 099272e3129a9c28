// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/live/LivePlayer.h"
#include "cli/live/TakeRecorder.h"
#include "cli/session/LiveMessages.h"

// The takes of a session: input and output, each in its own file, and a new file (take-2.wav) after each change of the
// sample rate. The control thread. Must outlive every thread that plays.
class LiveTakes {
 public:
  // Empty paths: not recorded. Throws Failure when a take cannot be written there.
  LiveTakes(std::string dryPath, std::string wetPath, bool replace, LivePlayer& player, LiveMessages& messages);

  // Records from now on, at the player's rate: takes of another rate end and continue in new files. Throws Failure if
  // the first file of a take cannot be written.
  void start();

  // Call it a few times a second: reports what the disk could not take, and follows a change of the sample rate. A take
  // that cannot be written stops, and continues in a new file as soon as there is a folder with kLeastRoom.
  void check();

  // Completes the files and stops recording. The caller reports failure(); further failures are reported here.
  void end();

  // The first failure; empty if the takes are complete.
  const std::string& failure() const noexcept { return failure_; }

  // For the screen: a line for each take that is being recorded, and for each that should be but is not.
  std::vector<std::string> lines() const;
  std::vector<std::string> warnings() const;

  static constexpr std::uintmax_t kLeastRoom = 64U << 20U;  // bytes, about three minutes of mono at 96 kHz

 private:
  using Clock = std::chrono::steady_clock;
  struct Take {
    std::string path;
    std::unique_ptr<TakeRecorder> recorder;
    std::int64_t lostTold = 0;  // frames
    Clock::time_point lostTime;
    int part = 1;
    Clock::time_point tryTime;  // while it is to be recorded, but is not: when to try again
  };

  bool open(Take& take);
  void attach();
  void end(Take& take, bool isLast);
  void fail(const std::string& text, bool isTold);

  std::array<Take, 2> takes_;  // in, out
  bool replace_;
  bool hasStarted_ = false;
  std::string failure_;
  LivePlayer& player_;
  LiveMessages& messages_;
};

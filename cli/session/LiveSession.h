// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "cli/effect/EffectChannels.h"
#include "cli/live/JackClient.h"
#include "cli/live/LivePlayer.h"
#include "cli/live/LiveScreen.h"
#include "cli/live/LiveTuner.h"
#include "cli/session/LiveLearning.h"
#include "cli/session/LiveMessages.h"
#include "cli/session/LivePrograms.h"
#include "cli/session/LiveSignals.h"
#include "cli/session/LiveTakes.h"

// The options of `brumbler live`.
struct LiveSettings {
  EffectSettings effect;
  LivePrograms::File bank;
  double trim = 0.0;  // dB that the sound lies above a guitar's own level
  bool stereo = false;
  JackClient::Wishes jack;
  bool wait = false;        // for a server, at the start and when it quits
  int midiChannel = -1;     // 0 to 15; -1 is all
  std::string midiMapPath;  // empty: none
  bool learn = false;
  std::string recordPath;     // of the output; empty: none
  std::string recordDryPath;  // of the input
  bool replace = false;       // takes that exist
};

// One run of `brumbler live`: the control thread. It reads keys and signals, joins servers as they appear, and updates
// the screen. Only it sends changes to the player.
class LiveSession {
 public:
  // Throws Failure when a file of the settings cannot be read, or the module is not the effect that this command plays.
  LiveSession(const EffectModule& module, const LiveSettings& settings);

  // Plays until the player quits or a signal comes. Throws Failure if there is no server and it is not to wait for one,
  // or if part of a take is missing from its file.
  void run();

 private:
  using Clock = std::chrono::steady_clock;

  void readKeys();
  void obeyKey(int key);

  void fadeOut();
  void finish();
  bool join();
  void checkServer();
  void tellWaiting(const std::string& text);

  void tellLatePeriods();
  void tellPauses();
  void tellTuner();
  void readPeaks();
  void tellStart();
  void tellEnd() const;
  void draw();

  // Members are destroyed in reverse order, so the client's threads end before the objects that they use.
  bool wait_;
  bool learn_;
  std::unique_ptr<LiveSignals> signals_;
  LiveMessages messages_;
  LiveLearning learning_;
  LivePlayer player_;
  LivePrograms programs_;
  LiveTakes takes_;
  LiveTuner tuner_;
  JackClient jack_;
  std::unique_ptr<LiveScreen> screen_;

  std::string waiting_;  // what was told about it; empty while a server is there
  int chosenKnob_ = LivePlayer::kFuzz;
  bool help_ = false;
  Clock::time_point drawTime_;
  Clock::time_point joinTime_;
  Clock::time_point lateTime_;
  int lateTold_ = 0;
  std::int64_t pausedTold_ = 0;  // frames
  int messagesLostTold_ = 0;
  bool tuningTold_ = false;
  std::string tunerTold_;
  Clock::time_point tunerTime_;
  int lateCleared_ = 0;
  std::int64_t clippedInCleared_ = 0;
  std::int64_t clippedOutCleared_ = 0;
  LivePlayer::Peaks peaks_;  // since the tick before
  float highestIn_ = 0.0F;   // of all
  float highestOut_ = 0.0F;
};

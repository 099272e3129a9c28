// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cli/effect/EffectChannels.h"
#include "cli/live/JackClient.h"
#include "cli/live/LivePlayer.h"
#include "cli/live/LiveScreen.h"
#include "cli/live/MidiMap.h"

class TakeRecorder;

// How `brumbler live` was asked to play.
struct LiveSettings {
  EffectSettings effect;
  std::string bankPath;  // empty: none
  double trim = 0.0;     // dB that the sound lies above a guitar's own level
  bool stereo = false;
  JackClient::Wishes jack;
  bool wait = false;        // for a server, now and when it goes
  int midiChannel = -1;     // 0 to 15; -1 is all
  std::string midiMapPath;  // empty: none
  bool learn = false;
  std::string recordPath;     // of what goes out; empty: none
  std::string recordDryPath;  // of what comes in
  bool replace = false;       // takes that exist
};

// One evening of `brumbler live`: the control thread. It reads keys and signals, shows what plays, keeps the bank and
// the map, joins servers as they come, and alone sends changes to the player.
class LiveSession {
 public:
  // Throws Failure when a file of the settings cannot be read, or the module is not the effect that this plays.
  LiveSession(const EffectModule& module, LiveSettings settings);
  ~LiveSession();

  // Plays until the player quits or a signal comes. Throws Failure when there is no server and none is waited for, or
  // something that was played is not in its file.
  void run();

 private:
  using Clock = std::chrono::steady_clock;

  void loadPrograms();
  void sendPrograms();
  void readBankAgain();
  void writeBank();
  void syncPrototype();

  // Hears signals on a thread of its own, also while a server that hangs keeps the session waiting.
  class Signals {
   public:
    Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals();

    void quit() { pthread_kill(thread_.native_handle(), SIGINT); }
    bool hasQuit() const { return quit_; }
    bool takeReload() { return reload_.exchange(false); }
    // While patient, only a second signal ends the process after quit(); else a few seconds of waiting do too.
    void setPatient(bool patient) {
      patient_ = patient;
      ++step_;
    }

   private:
    void run();

    sigset_t set_ = {};
    std::atomic<bool> quit_ = false;
    std::atomic<bool> reload_ = false;
    std::atomic<bool> patient_ = false;
    std::atomic<int> step_ = 0;  // the seconds count anew with each
    std::atomic<bool> done_ = false;
    std::thread thread_;
  };
  struct Take {
    std::string path;
    std::unique_ptr<TakeRecorder> recorder;
    std::int64_t lostTold = 0;  // frames
    Clock::time_point lostTime;
    bool failureTold = false;
    int part = 1;
  };

  void readKeys();
  void obeyKey(int key);
  void send(const LiveChange& change);

  void finish();
  bool join();
  void checkServer();
  void tellWaiting(const std::string& text);
  void startTakes();
  void endTake(Take& take);
  void tellTakeFailure(const std::string& text);
  void endTakes();
  void checkTakes();

  void startLearning();
  void learn();
  void endLearning(bool write);

  void say(const std::string& text);
  void tellLatePeriods();
  void readPeaks();
  void tellStart();
  void tellEnd() const;
  void draw();

  // Destroyed from the last to the first: the threads that use the takes go before them.
  std::unique_ptr<Signals> signals_;
  Take dry_;
  Take wet_;
  std::unique_ptr<HostedEffect> prototype_;  // holds the programs for files and texts; never plays
  LiveSettings settings_;
  std::deque<MidiMap> maps_;  // the newest last; the audio thread may still read an old one
  LivePlayer player_;
  JackClient jack_;
  std::unique_ptr<LiveScreen> screen_;
  std::optional<MidiLearner> learner_;
  std::array<std::string, LivePlayer::kNumPrograms> names_;

  std::string takeFailure_;  // the first

  bool hasJoined_ = false;
  std::string waiting_;  // what was told about it; empty while a server is there
  int chosenKnob_ = LivePlayer::kFuzz;
  bool help_ = false;
  std::string message_;
  Clock::time_point messageTime_;
  Clock::time_point drawTime_;
  Clock::time_point joinTime_;
  Clock::time_point lateTime_;
  int lateTold_ = 0;
  int lateCleared_ = 0;
  std::int64_t clippedInCleared_ = 0;
  std::int64_t clippedOutCleared_ = 0;
  LivePlayer::Peaks peaks_;  // since the tick before
  float highestIn_ = 0.0F;   // of all
  float highestOut_ = 0.0F;
};

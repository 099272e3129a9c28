// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "catalog/catalog.h"
#include "cli/effect/EffectModule.h"
#include "cli/live/LockFreeRing.h"
#include "cli/midi/MidiMap.h"

class TakeRecorder;

// A request of the control thread to the audio thread. Values are 0 to 1, programs and parameters count from 0.
struct LiveChange {
  enum class Kind : std::uint8_t { knob, turn, toggle, selectProgram, stepProgram, storeProgram, useMap, tuner };
  Kind kind;
  int index = 0;  // parameter of `knob` and `turn`, program, or how many programs to step
  std::array<float, catalog::kNumEffectParameters> values =
      {};                        // of the program to store; the first of `knob`; of `turn` how many hundredths
  const MidiMap* map = nullptr;  // must outlive the player
};

// Plays one effect for each of one or two channels, in the audio thread, and lets other threads change its settings.
//
// One control thread sends changes through a queue. The audio thread applies them at the start of its next period, and
// MIDI messages on their sample, where it splits the period. VOLUME glides to its new value over kGlide samples. The
// sixteen programs are kept here; a knob turned changes the program that plays. What the audio thread has applied can
// be read at any time.
//
// process() and what it calls make no system call, allocate nothing and take no lock but the effects' own, which no
// other thread takes while it plays.
class LivePlayer {
 public:
  enum Parameter : int { kOnOff = catalog::kOn, kVolume = catalog::kVolume, kFuzz = catalog::kFuzz };
  static constexpr int kNumParameters = catalog::kNumEffectParameters;
  static constexpr int kNumPrograms = catalog::kNumPrograms;
  static constexpr int kMostChannels = 2;
  static constexpr int kGlide = 64;              // samples
  static constexpr double kFadeSeconds = 0.016;  // at the end, and around the tuner
  using Values = std::array<float, kNumParameters>;

  // The sound is `trim` dB above a guitar's own level: it is attenuated by this before the effect and amplified by it
  // afterwards. MIDI messages on channels other than `midiChannel`, 0 to 15, are ignored; -1 accepts all. `map` must
  // outlive this.
  LivePlayer(const EffectModule& module, int channels, double trim, int midiChannel, const MidiMap& map);

  int channels() const noexcept { return player_->channels(); }

  // Keeps the audio thread away from the effects while it exists: the audio thread plays silence and keeps MIDI
  // messages for the next period that it plays. Any thread but that one.
  class Pause {
   public:
    explicit Pause(LivePlayer& player);
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    ~Pause();

   private:
    LivePlayer& player_;
  };

  // Announces rate (Hz) and longest period (samples) to the effects, within a pause of its own. A longer period is
  // played in pieces. Another rate ends what is being recorded.
  void announce(int rate, int longest);
  int rate() const noexcept { return rate_.load(std::memory_order_relaxed); }

  // Where to record the input and the output. A null recorder records nothing, and neither does one of another rate
  // than rate(). Threads as for announce().
  void record(TakeRecorder* dry, TakeRecorder* wet);

  // The control thread. False when the queue is full: try again later.
  bool send(const LiveChange& change) noexcept { return changes_.write(&change, 1); }

  // Once this has returned, it plays silence, and the audio thread may be ended at any point, because it is never
  // inside an effect. Threads as for announce().
  void setClosed(bool closed);

  // Applies queued changes while nothing plays. Threads as for announce().
  void landChanges();

  // The audio thread calls these in order for each period: begin, receive for each MIDI message by time, end. `in` and
  // `out` hold `frames` samples for each channel and do not overlap; `frame` counts from 0.
  void begin(const float* const* in, float* const* out, int frames) noexcept;
  void receive(int frame, const std::uint8_t* bytes, std::size_t size) noexcept;
  void end() noexcept;

  // The audio thread, after end(): the next MIDI message for a controller's lights; false if there is none. A program
  // change is sent when another program is selected, and 127 or 0 on the map's controls for On/Off and the tuner when
  // these change, on the channel `midiChannel`, or channel 1 if that is -1. After reportAgain(), which any thread may
  // call, all of them are sent once.
  struct Report {
    std::array<std::uint8_t, 3> bytes;
    std::size_t size;
  };
  bool nextReport(Report& report) noexcept;
  void reportAgain() noexcept { reportAgain_ = true; }

  // Starts the fade-out; hasEnded() tells when it is complete. Any thread.
  void fadeOut() noexcept { ending_ = true; }
  bool hasEnded() const noexcept { return ended_; }

  // While the tuner is on, the output is silent and the first channel's input goes to readTuner(), which reads at most
  // `most` samples and returns how many. The control thread.
  bool isTuning() const noexcept { return tuning_.load(std::memory_order_relaxed); }
  std::size_t readTuner(float* samples, std::size_t most) noexcept { return tuner_.read(samples, most); }

  // How often a MIDI control asked for the program to be stored. The control thread.
  int storeRequests() const noexcept { return storeRequests_.load(std::memory_order_relaxed); }

  // While on, controls that move have no effect and are returned by nextHeard(). The control thread.
  void listen(bool on) noexcept { listening_ = on; }
  bool nextHeard(MidiControl& control) noexcept { return heard_.read(&control, 1) > 0; }

  // What plays. Any thread.
  int program() const noexcept { return program_.load(std::memory_order_relaxed); }
  float value(int program, int parameter) const noexcept {
    return values_[static_cast<std::size_t>(program)][static_cast<std::size_t>(parameter)].load(
        std::memory_order_relaxed);
  }
  Values values(int program) const noexcept;

  // Peaks since the last call, relative to full scale. One thread.
  struct Peaks {
    std::array<float, kMostChannels> in = {};
    std::array<float, kMostChannels> out = {};
  };
  Peaks takePeaks() noexcept;
  // Samples at or beyond full scale so far. Any thread.
  std::int64_t clippedIn() const noexcept { return clippedIn_.load(std::memory_order_relaxed); }
  std::int64_t clippedOut() const noexcept { return clippedOut_.load(std::memory_order_relaxed); }
  std::int64_t framesPlayed() const noexcept { return played_.load(std::memory_order_relaxed); }
  // framesPlayed() when the rate last changed.
  std::int64_t framesAtRateChange() const noexcept { return rateChangedAt_.load(std::memory_order_relaxed); }
  // Frames that were silent because of a Pause; a take has silence there. MIDI messages that found no room meanwhile.
  std::int64_t framesPaused() const noexcept { return pausedTotal_.load(std::memory_order_relaxed); }
  int messagesLost() const noexcept { return messagesLost_.load(std::memory_order_relaxed); }

 private:
  using Meters = std::array<std::atomic<float>, kMostChannels>;

  struct Message {
    std::array<std::uint8_t, 3> bytes;
    std::uint8_t size;
  };

  void land(const LiveChange& change) noexcept;
  void obey(const Message& message, int frame) noexcept;
  void act(LiveAction action, const MidiControl& control, bool isPress) noexcept;
  void setKnob(int parameter, float value) noexcept;
  void select(int program) noexcept;
  void playTo(int frame) noexcept;
  void playPiece(int length) noexcept;
  void fade(int length) noexcept;

  std::size_t channelCount() const noexcept { return static_cast<std::size_t>(player_->channels()); }

  std::unique_ptr<EffectPlayer> player_;
  int midiChannel_;
  const MidiMap* map_;
  std::atomic<int> rate_ = 0;

  LockFreeRing<LiveChange> changes_;
  LockFreeRing<MidiControl> heard_;
  LockFreeRing<float> tuner_;
  std::atomic<bool> tuning_ = false;
  std::atomic<int> storeRequests_ = 0;
  std::atomic<bool> reportAgain_ = false;
  std::atomic<bool> listening_ = false;
  std::atomic_flag busy_;  // by the audio thread for a period, or by who announces
  std::atomic<bool> closed_ = false;
  std::atomic<bool> ending_ = false;
  std::atomic<bool> ended_ = false;

  // Written by the audio thread.
  std::array<std::array<std::atomic<float>, kNumParameters>, kNumPrograms> values_ = {};
  std::atomic<int> program_ = 0;
  Meters peakIn_ = {};
  Meters peakOut_ = {};
  std::atomic<std::int64_t> clippedIn_ = 0;
  std::atomic<std::int64_t> clippedOut_ = 0;
  std::atomic<std::int64_t> played_ = 0;
  std::atomic<std::int64_t> rateChangedAt_ = 0;
  std::atomic<std::int64_t> pausedTotal_ = 0;
  std::atomic<int> messagesLost_ = 0;

  // The audio thread's own.
  const float* const* in_ = nullptr;
  float* const* out_ = nullptr;
  int frames_ = 0;
  int position_ = 0;
  bool entered_ = false;
  double volumeAt_ = 0.0;                                         // at the end of the last piece
  int glideLeft_ = 0;                                             // samples
  int fadeLength_ = 1;                                            // samples
  int fadeAt_ = 1;                                                // of these: fadeLength_ is full level, 0 is silence
  std::array<std::array<std::uint8_t, 128>, 16> positions_ = {};  // of the controllers, by MIDI channel
  std::array<Message, 256> waiting_ = {};                         // MIDI messages that came during a pause
  std::size_t numWaiting_ = 0;
  std::int64_t pausedFrames_ = 0;  // of the pause that is on, or was just before
  int reportedProgram_ = -1;       // -1: none yet
  int reportedOn_ = -1;
  int reportedTuning_ = -1;
  TakeRecorder* dry_ = nullptr;
  TakeRecorder* wet_ = nullptr;
};

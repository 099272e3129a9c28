// SPDX-License-Identifier: MIT
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class LivePlayer;

// The player's place in a JACK graph: ports, connections, and the callbacks that drive the player. For one control
// thread, which may open and close it repeatedly; with the next server the same connections are made again.
//
// Connections are made when ports appear, so a device that is plugged in later, or again, is connected at that time,
// and a connection that the user removed stays removed.
class JackClient {
 public:
  // Ports are chosen by patterns: extended regular expressions that match anywhere in a port's name or alias, in upper
  // or lower case. Without one: the first capture port, the first two playback ports, no MIDI port.
  struct Wishes {
    std::string name = "brumbler";
    std::string input;
    std::string output;
    std::string midi;     // input, from controllers
    std::string midiOut;  // output, to controllers' lights
    bool connects = true;
  };

  // Throws Failure (usage) if a pattern is not a regular expression.
  JackClient(LivePlayer& player, const Wishes& wishes);
  JackClient(const JackClient&) = delete;
  JackClient& operator=(const JackClient&) = delete;
  ~JackClient();

  // Joins the server, announces its rate and period to the player, plays and connects. False if no server runs, or if
  // leaving the previous one has not finished. Throws Failure if the server refuses.
  bool open();
  // Leaves the server, on a thread of its own, because a server that hangs may never answer. The player is closed when
  // this returns; the destructor waits for the rest.
  void close();

  // False if it is closed, or the server has quit or has disconnected it; lossReason() tells why.
  bool isAlive() const noexcept { return client_ != nullptr && alive_; }
  std::string lossReason() const;

  // Connects ports that have appeared. Call it a few times a second while alive.
  void tend();

  // Whether the server has requested no period for kLongestSilence, although its library reports it alive; tend()
  // watches this. PipeWire's library does not report that its server has quit.
  static constexpr auto kLongestSilence = std::chrono::seconds(2);
  bool hasStalled() const noexcept { return isAlive() && silence_ >= kLongestSilence; }

  // For each pattern that matches no port: the ports that exist.
  std::vector<std::string> misfits() const;
  // Whether --input or --output matches no port.
  bool lacksSound() const;

  // The client's name as the server assigned it, perhaps with a number appended.
  const std::string& name() const noexcept { return name_; }

  // All connections, like "system:capture_1 > brumbler > system:playback_1, system:playback_2".
  std::string connectionsText() const;

  int period() const noexcept { return period_; }
  double load() const noexcept;  // of the server, 0 to 1
  int latePeriods() const noexcept { return late_; }
  bool isRealTime() const noexcept;  // whether the audio thread has real-time priority

 private:
  enum Role { kInput, kOutput, kMidi, kMidiOut, kNumRoles };
  static constexpr Role kAllRoles[] = {kInput, kOutput, kMidi, kMidiOut};
  struct Port {
    Role role;
    jack_port_t* handle;
  };
  using Connection = std::pair<std::size_t, std::string>;  // one of ports_, and another client's port by name

  bool finishClosing();
  void registerPorts();
  const std::string& pattern(Role role) const;
  void setShutdownCallback();
  void setCallbacks();
  void lookAround();
  std::vector<std::string> fitting(Role role) const;
  std::vector<std::string> candidates(Role role) const;
  std::vector<Connection> wanted() const;
  std::vector<Connection> current() const;
  std::set<std::string> allPorts() const;
  bool connect(const Connection& connection) const;

  static int process(jack_nframes_t frames, void* self) noexcept;

  LivePlayer& player_;
  Wishes wishes_;
  std::optional<std::regex> patterns_[kNumRoles];
  jack_client_t* client_ = nullptr;
  std::string name_;
  std::vector<Port> ports_;  // in the order of channels, the MIDI ports last
  std::thread closer_;
  std::atomic<bool> closing_ = false;
  std::atomic<bool> alive_ = false;
  std::atomic<unsigned> periods_ = 0;  // that the server asked for
  std::atomic<bool> graphChanged_ = false;
  std::atomic<int> period_ = 0;
  std::atomic<int> late_ = 0;
  mutable std::mutex mutex_;
  std::string lossReason_;
  std::set<std::string> appeared_;  // ports since it last looked

  using Clock = std::chrono::steady_clock;
  unsigned periodsSeen_ = 0;
  Clock::time_point tendTime_;
  Clock::duration silence_{};            // since the last period
  int callsToWait_ = 0;                  // of tend(), until it looks again
  std::set<std::string> known_;          // ports that were there when last looked
  std::vector<Connection> connections_;  // as last seen
  std::vector<Connection> missing_;      // of the server before, whose ports have not come back yet
};

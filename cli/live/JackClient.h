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

// The player's place in a JACK graph: ports, connections, and the callbacks that drive the player. One control thread
// calls; it may open and close again and again, and finds the same connections again with the next server.
//
// Who it connects with is chosen when ports appear, so that a device that is plugged in later, or again, is connected
// then, and a connection that was undone by hand stays undone.
class JackClient {
 public:
  // Ports are chosen by patterns: extended regular expressions that fit anywhere in a port's name or alias, in upper or
  // lower case. Without one: the first capture port, the first two playback ports, no MIDI port.
  struct Wishes {
    std::string name = "brumbler";
    std::string input;
    std::string output;
    std::string midi;     // ports that the player obeys
    std::string midiOut;  // ports that are told what plays
    bool connects = true;
  };

  // Throws Failure (usage) when a pattern is none.
  JackClient(LivePlayer& player, const Wishes& wishes);
  JackClient(const JackClient&) = delete;
  JackClient& operator=(const JackClient&) = delete;
  ~JackClient();

  // Joins the server, announces its rate and period to the player, plays and connects. False when no server runs, or
  // the one before does not let go yet. Throws Failure when the server refuses.
  bool open();
  // Leaves the server, on a thread of its own: a server that hangs may never answer. The player is closed when this
  // returns; the destructor waits for the rest.
  void close();

  // False when it is closed or the server has gone or has thrown it out; lossReason() tells why.
  bool isAlive() const noexcept { return client_ != nullptr && alive_; }
  std::string lossReason() const;

  // Connects with what has appeared. Call it a few times a second while alive.
  void tend();

  // Whether the server, as far as its library says alive, has asked for no period for kLongestSilence, seen by tend().
  // PipeWire's library does not report that its server has gone.
  static constexpr auto kLongestSilence = std::chrono::seconds(2);
  bool hasStalled() const noexcept { return isAlive() && silence_ >= kLongestSilence; }

  // For each pattern that fits no port: which ports there are.
  std::vector<std::string> misfits() const;
  // Whether one of --input and --output fits none.
  bool lacksSound() const;

  // The client's name as the server gave it, which may have a number behind it.
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
  using Connection = std::pair<std::size_t, std::string>;  // one of ports_, and the name of the port of another client

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

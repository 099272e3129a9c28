// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

// Waits for signals on a thread of its own, so that a session blocked by a server that hangs can still be ended.
// SIGINT, SIGTERM and SIGQUIT ask the session to quit. SIGHUP does so too when the process has a controlling terminal:
// then it means that the terminal is gone. Without one, or under nohup, it asks the session to reload the bank.
//
// Once the session was asked to quit, it has kLongestEnd. Then, or at a further signal, the process ends at once, with
// status 1, a message, and the terminal restored. A signal within kSameSignal of the first counts as the same one:
// timeout(1) sends each signal twice, to the process and to its group.
class LiveSignals {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr auto kLongestEnd = std::chrono::milliseconds(2500);
  static constexpr auto kSameSignal = std::chrono::milliseconds(500);

  // Create it before other threads: the signals are blocked for all threads that this thread creates.
  LiveSignals();
  LiveSignals(const LiveSignals&) = delete;
  LiveSignals& operator=(const LiveSignals&) = delete;
  ~LiveSignals();

  void quit() { pthread_kill(thread_.native_handle(), SIGINT); }
  bool hasQuit() const { return quit_; }
  bool takeReload() { return reload_.exchange(false); }

  // While patient, only a further signal ends the process: for work that may take longer, like writing to a slow disk.
  void setPatient(bool patient);

 private:
  void run();

  sigset_t set_ = {};
  bool hangupQuits_ = false;
  std::atomic<bool> quit_ = false;
  std::atomic<bool> reload_ = false;
  std::atomic<bool> patient_ = false;
  std::atomic<Clock::time_point> deadline_ = {};
  std::atomic<bool> done_ = false;
  std::thread thread_;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <thread>

// Waits for signals on a thread of its own, so that a session blocked by a server that hangs can still be ended.
// SIGINT, SIGTERM and SIGQUIT ask the session to quit; SIGHUP asks it to reload the bank.
//
// Once the session was asked to quit, a second signal ends the process at once, and so do a few seconds in which it has
// not ended: with status 1, a message, and the terminal restored.
class LiveSignals {
 public:
  // Create it before other threads: the signals are blocked for all threads that this thread creates.
  LiveSignals();
  LiveSignals(const LiveSignals&) = delete;
  LiveSignals& operator=(const LiveSignals&) = delete;
  ~LiveSignals();

  void quit() { pthread_kill(thread_.native_handle(), SIGINT); }
  bool hasQuit() const { return quit_; }
  bool takeReload() { return reload_.exchange(false); }

  // While patient, only a second signal ends the process: for work that may take longer, like writing to a slow disk.
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

// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

// A progress bar on standard error, counted in seconds of sound. Draws nothing unless that is a terminal
// and the bar is wanted. Any thread.
class Progress {
 public:
  explicit Progress(bool wanted = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void expect(double seconds);  // adds to what is to be done
  void expectUnknown();         // there is no telling how much; the bar becomes a counter
  void add(double seconds);     // adds to what is done

  // Takes the bar off the line, so that a message can stand there; the next add() draws it again.
  void clear();

 private:
  void draw();

  const bool visible_;
  std::mutex mutex_;
  double expected_ = 0.0;
  double done_ = 0.0;
  bool unknown_ = false;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point lastDraw_;
};

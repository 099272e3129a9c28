// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <optional>

// A progress bar on standard error, counted in seconds of sound. It is drawn only if standard error is a terminal and
// the bar is wanted. Any thread.
class Progress {
 public:
  explicit Progress(bool wanted = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void expect(double seconds);  // adds to the total
  void expectUnknown();         // the total is unknown; the bar becomes a counter
  void add(double seconds);     // adds to the part done

  // Clears the bar, so that a message can be printed; the next add() draws it again.
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

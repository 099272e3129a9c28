// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <utility>

#include "cli/text/printable.h"

// Messages to the player: printed as lines, or kept for the screen while there is one. The control thread.
class LiveMessages {
 public:
  static constexpr auto kShownFor = std::chrono::seconds(6);
  static constexpr auto kBetweenLines = std::chrono::seconds(1);  // about one and the same trouble

  // While on, messages are kept for the screen and not printed.
  void showOnScreen(bool on) noexcept { onScreen_ = on; }
  bool areOnScreen() const noexcept { return onScreen_; }

  void say(std::string text) {
    newest_ = std::move(text);
    time_ = std::chrono::steady_clock::now();
    if (!onScreen_) print(newest_);
  }

  static void print(const std::string& text) {
    std::printf("brumbler: %s\n", printable(text).c_str());
    std::fflush(stdout);
  }

  // The newest message; empty once it has been shown long enough, unless it is to stay.
  std::string newest(bool stays) const {
    return stays || std::chrono::steady_clock::now() - time_ < kShownFor ? newest_ : "";
  }

 private:
  bool onScreen_ = false;
  std::string newest_;
  std::chrono::steady_clock::time_point time_;
};

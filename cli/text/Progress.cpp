// SPDX-License-Identifier: MIT
#include "cli/text/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr auto kBetweenDraws = std::chrono::milliseconds(100);
constexpr int kWidestBar = 40;    // characters
constexpr int kNarrowestBar = 5;  // characters

int columns() {
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

Progress::Progress(bool wanted)
    : visible_(wanted && isatty(STDERR_FILENO) != 0), lastDraw_(std::chrono::steady_clock::now()) {}

void Progress::expect(double seconds) {
  const std::lock_guard guard(mutex_);
  expected_ += seconds;
}

void Progress::expectUnknown() {
  const std::lock_guard guard(mutex_);
  unknown_ = true;
}

void Progress::add(double seconds) {
  const std::lock_guard guard(mutex_);
  done_ += seconds;
  if (!visible_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - lastDraw_ < kBetweenDraws) return;
  lastDraw_ = now;
  draw();
}

void Progress::draw() {
  drawn_ = true;
  char text[80];
  if (unknown_ || expected_ <= 0.0) {
    std::snprintf(text, sizeof text, "%.1f s", done_);
  } else {
    const double done = std::min(done_, expected_);
    const double share = done / expected_;
    std::snprintf(text, sizeof text, "%3.0f %%  %.1f of %.1f s", share * 100.0, done, expected_);
    const int room = columns() - static_cast<int>(std::strlen(text)) - 4;  // brackets, space and cursor
    if (const int width = std::min(room, kWidestBar); width >= kNarrowestBar) {
      const auto filled = static_cast<std::size_t>(share * width);
      const std::string bar = std::string(filled, '#') + std::string(static_cast<std::size_t>(width) - filled, '.');
      std::fprintf(stderr, "\r[%s] %s", bar.c_str(), text);
      return;
    }
  }
  std::fprintf(stderr, "\r\033[K%.*s", std::max(columns() - 1, 0), text);
}

void Progress::clear() {
  const std::lock_guard guard(mutex_);
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

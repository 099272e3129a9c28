// SPDX-License-Identifier: MIT
#include "cli/text/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

constexpr auto kBetweenDraws = std::chrono::milliseconds(100);
constexpr int kBarWidth = 40;

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
  if (unknown_ || expected_ <= 0.0) {
    std::fprintf(stderr, "\r%.1f s ", done_);
    return;
  }
  const double share = std::min(done_ / expected_, 1.0);
  const auto filled = static_cast<std::size_t>(share * kBarWidth);
  const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
  std::fprintf(stderr, "\r[%s] %3.0f %%  %.1f of %.1f s ", bar.c_str(), share * 100.0, std::min(done_, expected_),
               expected_);
}

void Progress::clear() {
  const std::lock_guard guard(mutex_);
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

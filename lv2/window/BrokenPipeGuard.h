// SPDX-License-Identifier: MIT
#pragma once

#include <csignal>
#include <ctime>

// A write to an X server that has gone raises SIGPIPE, which ends a host that does not ignore it. While a guard lives,
// the calling thread does not get the signal; one that the guarded code raised is thrown away.

class BrokenPipeGuard {
 public:
  BrokenPipeGuard() noexcept {
    sigset_t pending;
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~BrokenPipeGuard() {
    const std::timespec now{};
    if (!wasPending_) sigtimedwait(&pipe_, nullptr, &now);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  sigset_t pipe_;
  sigset_t before_;
  bool wasPending_;
};

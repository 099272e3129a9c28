// SPDX-License-Identifier: MIT
#include "cli/session/LiveSignals.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "cli/live/LiveScreen.h"
#include "cli/text/Failure.h"

namespace {

constexpr timespec kLongestEnd = {3, 0};  // of a server that does not answer

}  // namespace

LiveSignals::LiveSignals() {
  sigemptyset(&set_);
  for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) sigaddset(&set_, signal);
  pthread_sigmask(SIG_BLOCK, &set_, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // raised by a write to a server that has gone
  thread_ = std::thread([this] { run(); });
}

LiveSignals::~LiveSignals() {
  done_ = true;
  pthread_kill(thread_.native_handle(), SIGHUP);
  thread_.join();
}

void LiveSignals::run() {
  for (;;) {
    const int step = step_;
    const int signal = quit_ ? sigtimedwait(&set_, nullptr, &kLongestEnd) : sigwaitinfo(&set_, nullptr);
    if (done_) return;
    if (signal == SIGHUP) {
      reload_ = true;
    } else if (signal > 0 && !quit_) {
      quit_ = true;
    } else if (signal > 0 || (errno == EAGAIN && !patient_ && step == step_)) {
      LiveScreen::giveBack();
      std::fprintf(
          stderr, "brumbler: %s\n",
          signal > 0 ? "ended at once by a second signal" : "the JACK server does not answer; ended without it");
      _exit(Failure::failed);
    }
  }
}

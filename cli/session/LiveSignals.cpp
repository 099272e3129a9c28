// SPDX-License-Identifier: MIT
#include "cli/session/LiveSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "cli/live/LiveScreen.h"
#include "cli/text/Failure.h"

namespace {

constexpr timespec kSlice = {0, 50'000'000};                     // between looks at the deadline
constexpr auto kAfterPatience = std::chrono::milliseconds(500);  // at least, for the server

bool hasControllingTerminal() {
  const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
  if (terminal >= 0) close(terminal);
  return terminal >= 0;
}

bool isIgnored(int signal) {
  struct sigaction action = {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

LiveSignals::LiveSignals() : hangupQuits_(hasControllingTerminal() && !isIgnored(SIGHUP)) {
  sigemptyset(&set_);
  for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) sigaddset(&set_, signal);
  pthread_sigmask(SIG_BLOCK, &set_, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // raised by a write to a server that has quit
  thread_ = std::thread([this] { run(); });
}

LiveSignals::~LiveSignals() {
  done_ = true;
  pthread_kill(thread_.native_handle(), SIGHUP);
  thread_.join();
}

void LiveSignals::setPatient(bool patient) {
  if (!patient) deadline_ = std::max(deadline_.load(), Clock::now() + kAfterPatience);
  patient_ = patient;
}

void LiveSignals::run() {
  Clock::time_point first;
  for (;;) {
    const int signal = quit_ ? sigtimedwait(&set_, nullptr, &kSlice) : sigwaitinfo(&set_, nullptr);
    if (done_) return;
    const auto now = Clock::now();
    if (signal == SIGHUP && !hangupQuits_) {
      reload_ = true;
    } else if (!quit_) {
      if (signal <= 0) continue;
      first = now;
      deadline_ = now + kLongestEnd;
      quit_ = true;
    } else if (signal > 0 ? now - first >= kSameSignal : !patient_ && now >= deadline_.load()) {
      LiveScreen::giveBack();
      std::fprintf(
          stderr, "brumbler: %s\n",
          signal > 0 ? "ended at once by a second signal" : "the JACK server does not answer; ended without it");
      _exit(Failure::failed);
    }
  }
}

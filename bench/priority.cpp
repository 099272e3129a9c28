// SPDX-License-Identifier: MIT
// Whether a low-priority thread that sets parameters can hold up the thread that plays, all on one processor: a player
// with real-time priority plays blocks of 64 samples at 48 kHz, a thread without sets VOLUME all the time, and one in
// between keeps the processor busy for 50 ms of every 60. Prints how many blocks came later than the next one was due,
// and the worst delay, twice: with the effect's lock, which inherits priority, and with a mutex around the same calls
// that does not.
//
//   build/release/brumbler_priority [SECONDS]     # 5 by default; needs the right to real-time priorities
#include <pthread.h>
#include <sched.h>
#include <time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "bench/subjects.h"

namespace {

constexpr int kBlock = 64;
constexpr long kPeriod = 1000000000L * kBlock / 48000;  // ns

long now() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1000000000L + t.tv_nsec;
}

void sleepUntil(long time) {
  const timespec t{time / 1000000000L, time % 1000000000L};
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &t, nullptr);
}

void setPriority(int priority) {
  const sched_param parameters{priority};
  if (const int error = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters)) {
    std::fprintf(stderr, "brumbler_priority: no real-time priority: %s\n", std::strerror(error));
    std::exit(1);
  }
}

class PlainMutex {
 public:
  explicit PlainMutex(bool used) : used_(used) {}
  void lock() {
    if (used_) pthread_mutex_lock(&mutex_);
  }
  void unlock() {
    if (used_) pthread_mutex_unlock(&mutex_);
  }

 private:
  bool used_;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

void measure(const char* name, bool plainMutex, double seconds) {
  Instance effect(kBlock);
  PlainMutex mutex(plainMutex);
  std::atomic<bool> playing = true;
  std::thread setter([&] {
    for (int turn = 0; playing; ++turn) {
      mutex.lock();
      effect.setParameter(Brumbler::kVolume, turn % 2 == 0 ? 0.3F : 0.8F);
      mutex.unlock();
    }
  });
  std::thread busy([&] {
    setPriority(40);
    while (playing) {
      const long start = now();
      while (now() - start < 50000000L) {
      }
      sleepUntil(now() + 10000000L);
    }
  });
  std::thread player([&] {
    setPriority(80);
    std::vector<double> in = noise(0.3, kBlock), out(kBlock);
    const long blocks = static_cast<long>(seconds * 1e9) / kPeriod;
    long late = 0, worst = 0;
    long due = now();
    for (long b = 0; b < blocks; ++b) {
      sleepUntil(due);
      mutex.lock();
      effect.process(in.data(), out.data(), kBlock);
      mutex.unlock();
      const long taken = now() - due;
      if (taken > worst) worst = taken;
      if (taken > kPeriod) ++late;
      do due += kPeriod;
      while (due < now());
    }
    playing = false;
    std::printf("%-28s %ld of %ld blocks late, the worst by %.1f ms\n", name, late, blocks,
                static_cast<double>(worst > kPeriod ? worst - kPeriod : 0) / 1e6);
  });
  player.join();
  busy.join();
  setter.join();
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5.0;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  sched_setaffinity(0, sizeof one, &one);
  measure("the effect's lock", false, seconds);
  measure("no priority inheritance", true, seconds);
  return 0;
}

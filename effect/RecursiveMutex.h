// SPDX-License-Identifier: MIT
#pragma once

#if defined(__wasm__) && !defined(_REENTRANT)
#define BRUMBLER_ONE_THREAD  // a module without threads, whose C library has no mutex
#else
#include <pthread.h>
#endif

// A recursive mutex with priority inheritance. The thread that holds it may lock it again. While another thread waits
// for it, the holder runs with that thread's priority, so that a low-priority thread in setParameter() cannot hold up
// the audio thread (bench/priority.cpp). Where the system has no priority inheritance, the mutex works without it.
//
// Unlike std::recursive_mutex it never throws, and it brings no part of the C++ runtime's threading into the module.
// Where there are no threads it does nothing. Construction allocates nothing.
class RecursiveMutex {
 public:
  class Guard;

#ifdef BRUMBLER_ONE_THREAD
  RecursiveMutex() noexcept = default;
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void lock() noexcept {}
  void unlock() noexcept {}
#else
  RecursiveMutex() noexcept {
    if (!initialise(true)) initialise(false);
  }
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;
  ~RecursiveMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() noexcept { pthread_mutex_lock(&mutex_); }
  void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

 private:
  // False if the system does not support this; the mutex is then unchanged.
  bool initialise(bool inheritsPriority) noexcept {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return false;
    const bool done = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      (!inheritsPriority || pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT) == 0) &&
                      pthread_mutex_init(&mutex_, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return done;
  }

#ifdef PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP  // usable even if the attributes cannot be set
  pthread_mutex_t mutex_ = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
#else
  pthread_mutex_t mutex_;
#endif
#endif
};
#ifndef BRUMBLER_ONE_THREAD
static_assert(sizeof(RecursiveMutex) == sizeof(pthread_mutex_t));  // the effect's documented fields lie around it
#endif

// Holds the mutex for its own lifetime.
class RecursiveMutex::Guard {
 public:
  explicit Guard(RecursiveMutex& mutex) noexcept : mutex_(mutex) { mutex_.lock(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() { mutex_.unlock(); }

 private:
  RecursiveMutex& mutex_;
};

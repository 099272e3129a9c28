// SPDX-License-Identifier: MIT
#pragma once

#if defined(__wasm__) && !defined(_REENTRANT)
#define BRUMBLER_ONE_THREAD  // a module without threads, whose C library has no mutex
#else
#include <pthread.h>
#endif

// A mutex that the thread which holds it may take again, and that inherits priority: while a thread waits for it, the
// one that holds it runs with the waiting thread's priority, so that a low-priority thread in setParameter() cannot
// hold up the audio thread (bench/priority.cpp). Where the system has no priority inheritance, a mutex without.
//
// Unlike std::recursive_mutex it throws nothing and brings no part of the C++ runtime's threading into the module.
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
  // False if the system cannot; the mutex is then as it was.
  bool initialise(bool inheritsPriority) noexcept {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return false;
    const bool done = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      (!inheritsPriority || pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT) == 0) &&
                      pthread_mutex_init(&mutex_, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return done;
  }

#ifdef PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP  // usable as it is where the attributes cannot be had
  pthread_mutex_t mutex_ = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
#else
  pthread_mutex_t mutex_;
#endif
#endif
};
#ifndef BRUMBLER_ONE_THREAD
static_assert(sizeof(RecursiveMutex) == sizeof(pthread_mutex_t));  // the effect's documented fields lie around it
#endif

// Holds the mutex while it lives.
class RecursiveMutex::Guard {
 public:
  explicit Guard(RecursiveMutex& mutex) noexcept : mutex_(mutex) { mutex_.lock(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() { mutex_.unlock(); }

 private:
  RecursiveMutex& mutex_;
};

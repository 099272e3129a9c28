// SPDX-License-Identifier: MIT
#pragma once

#if defined(__wasm__) && !defined(_REENTRANT)
#define BRUMBLER_ONE_THREAD  // a module without threads, whose C library has no mutex
#else
#include <pthread.h>
#endif

// A mutex that the thread which holds it may take again. Unlike std::recursive_mutex it throws nothing and brings no
// part of the C++ runtime's threading into the module. Where there are no threads it does nothing.
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
#ifdef PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP  // asks less of the C library: older ones have no more
  RecursiveMutex() noexcept = default;
#else
  RecursiveMutex() noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
#endif
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;
  ~RecursiveMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() noexcept { pthread_mutex_lock(&mutex_); }
  void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

 private:
#ifdef PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP
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

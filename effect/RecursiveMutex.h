// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>

// A mutex that the thread which holds it may take again. Fits std::lock_guard. Unlike std::recursive_mutex it throws
// nothing and brings no part of the C++ runtime's threading into the module.
class RecursiveMutex {
 public:
  RecursiveMutex() noexcept {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &attributes);
    pthread_mutexattr_destroy(&attributes);
  }
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;
  ~RecursiveMutex() { pthread_mutex_destroy(&mutex_); }

  void lock() noexcept { pthread_mutex_lock(&mutex_); }
  void unlock() noexcept { pthread_mutex_unlock(&mutex_); }

 private:
  pthread_mutex_t mutex_;
};

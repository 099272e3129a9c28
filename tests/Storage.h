// SPDX-License-Identifier: MIT
#pragma once

// The test program's allocator: it counts allocations, and fails when a test says so.
namespace storage {

inline thread_local long allocations = 0;  // by operator new, on this thread, so far
inline thread_local long calls = 0;        // of everything that takes or gives back storage, the C library's too
inline thread_local long left = -1;        // allocations until storage runs out; negative: never
inline thread_local long locks = 0;        // of mutexes

#ifdef BRUMBLER_WATCH_LIBRARY
constexpr bool kWatchesLibrary = true;  // main.cpp stands in front of the C library
#else
constexpr bool kWatchesLibrary = false;  // a sanitizer does; `calls` counts the operators, `locks` nothing
#endif

// Calls `work` while storage runs out after `successes` more allocations.
template <typename Work>
void limited(long successes, Work work) {
  left = successes;
  work();
  left = -1;
}

}  // namespace storage

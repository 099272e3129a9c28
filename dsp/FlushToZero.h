// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// While an object of this class exists, denormal results on the calling thread become zero. The constructor adds only
// this mode; rounding, masks and the rest stay as the caller set them. The destructor restores the whole control word,
// sticky flags included. Does nothing on processors without such a mode (WebAssembly).
class FlushToZero {
 public:
  FlushToZero() noexcept : saved_(read()) { write(saved_ | kMode); }
  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;
  ~FlushToZero() { write(saved_); }

 private:
#if defined(__SSE2__)
  using Word = std::uint32_t;
  static constexpr Word kMode = 1U << 15;  // MXCSR.FZ
  static Word read() noexcept { return __builtin_ia32_stmxcsr(); }
  static void write(Word word) noexcept { __builtin_ia32_ldmxcsr(word); }
#elif defined(__aarch64__)
  using Word = std::uint64_t;
  static constexpr Word kMode = 1U << 24;  // FPCR.FZ
  static Word read() noexcept {
    Word word;
    asm volatile("mrs %0, fpcr" : "=r"(word));
    return word;
  }
  static void write(Word word) noexcept { asm volatile("msr fpcr, %0" : : "r"(word)); }
#elif defined(__arm__) && defined(__VFP_FP__) && !defined(__SOFTFP__)
  using Word = std::uint32_t;
  static constexpr Word kMode = 1U << 24;  // FPSCR.FZ
  static Word read() noexcept {
    Word word;
    asm volatile("vmrs %0, fpscr" : "=r"(word));
    return word;
  }
  static void write(Word word) noexcept { asm volatile("vmsr fpscr, %0" : : "r"(word)); }
#else
  using Word = std::uint32_t;
  static constexpr Word kMode = 0;
  static Word read() noexcept { return 0; }
  static void write(Word) noexcept {}
#endif

  Word saved_;

 public:
  static constexpr bool kAvailable = kMode != 0;
};

// SPDX-License-Identifier: MIT
// The built module as a whole: its entries, its record, the processor's state, loading and unloading.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

#include "ForeignHost.h"

namespace {

// The processor's floating-point control and status word, and what a caller may have in it: roundings (upwards in the
// second), flags and modes.
#if defined(__SSE2__)
using ControlWord = std::uint32_t;
ControlWord controlWord() { return __builtin_ia32_stmxcsr(); }
void setControlWord(ControlWord word) { __builtin_ia32_ldmxcsr(word); }
constexpr ControlWord kWords[] = {0x1F80, 0x5F80, 0x1FA0, 0x7FBF, 0x9F80, 0xBFC0};
#else
#if defined(__aarch64__)
using ControlWord = std::uint64_t;
#define BRUMBLER_READ "mrs %0, fpcr"
#define BRUMBLER_WRITE "msr fpcr, %0"
#else
using ControlWord = std::uint32_t;
#define BRUMBLER_READ "vmrs %0, fpscr"
#define BRUMBLER_WRITE "vmsr fpscr, %0"
#endif
ControlWord controlWord() {
  ControlWord word;
  asm volatile(BRUMBLER_READ : "=r"(word));
  return word;
}
void setControlWord(ControlWord word) { asm volatile(BRUMBLER_WRITE : : "r"(word)); }
constexpr ControlWord kWords[] = {0, 0x400000, 0x800000, 0xC00000, 0x1000000, 0x2000000};
#endif

}  // namespace

TEST_CASE("the record, by offset") {
  const Module module;
  const struct {
    std::size_t offset;
    std::int32_t wanted;
    // clang-format off
  } numbers[] = {
      {0, 0x56737450}, {at(20, 40), 16}, {at(24, 44), 3}, {at(28, 48), 1}, {at(32, 52), 1}, {at(36, 56), 0x1010},
      {at(40, 64), 0}, {at(44, 72), 0}, {at(48, 80), 0}, {at(52, 84), 0}, {at(56, 88), 0}, {at(60, 92), 0x3F800000},
      {at(68, 104), 0}, {at(72, 112), 0x5242574B}, {at(76, 116), 1}, {at(88, 136), 0}, {at(88, 136) + 52, 0},
  };
  // clang-format on
  for (const char* name : {"getinterface", "QTypeIF"}) {
    CAPTURE(name);
    const Effect effect(module.entry(name));
    for (const auto& number : numbers) {
      CAPTURE(number.offset);
      CHECK(read<std::int32_t>(effect.record, number.offset) == number.wanted);
    }
    effect.set(1, 0.25F);
    CHECK(read<float (*)(void*, std::int32_t)>(effect.record, at(16, 32))(effect.record, 1) == 0.25F);
  }
}

TEST_CASE("an entry that gets no effect answers null") {
  const Module module;
  const Entry entry = module.entry();
  CHECK(entry(nullptr) == nullptr);
  const Callback zero = [](auto...) -> Word { return 0; };
  const Callback throwing = [](auto...) -> Word { throw std::runtime_error("no"); };  // caught by another C++ runtime
  CHECK(entry(zero) == nullptr);
  CHECK(entry(throwing) == nullptr);
}

TEST_CASE("processing leaves the caller's floating-point state, and rounds as it says") {
  const Module module;
  const ControlWord before = controlWord();
  double lastSample[std::size(kWords)] = {};
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    CAPTURE(kWords[i]);
    const Effect effect(module.entry());
    effect.dispatch(10, 0, 0, nullptr, 44100.0F);
    double in[64] = {0.1, -0.1, 1e-305}, out[64];
    setControlWord(kWords[i]);
    effect.process(in, out, 64);
    const ControlWord after = controlWord();
    setControlWord(before);
    CHECK(after == kWords[i]);
    lastSample[i] = out[63];
  }
  CHECK(lastSample[0] != lastSample[1]);
}

// A tail dies by 22 decades a second; then the feedback of the filters holds it just above the denormal numbers.
TEST_CASE("the tail of a sound never turns into denormal numbers") {
  const Module module;
  const Effect effect(module.entry());
  answer = 20000;
  effect.dispatch(10, 0, 0, nullptr, 20000.0F);
  double in[2000] = {1e-6}, out[2000];
  for (int block = 0; block < 150; ++block) {
    effect.process(in, out, 2000);
    in[0] = 0;
    const bool denormal = std::any_of(out, out + 2000, [](double x) { return std::fpclassify(x) == FP_SUBNORMAL; });
    CHECK_FALSE(denormal);
    if (block == 0) CHECK(out[100] != 0);
  }
  CHECK(std::fabs(out[1999]) < 1e-300);
}

#if defined(__i386__)
// Calls `function` with `count` words of arguments on a stack that is `offset` bytes off its usual alignment.
extern "C" int callOffStack(void* function, const std::uint32_t* arguments, int count, int offset);
asm(R"(
  .text
callOffStack:
  pushl %ebp; movl %esp, %ebp; pushl %esi
  movl 12(%ebp), %esi; movl 16(%ebp), %ecx
  andl $-16, %esp; subl 20(%ebp), %esp
1: decl %ecx; js 2f; pushl (%esi,%ecx,4); jmp 1b
2: call *8(%ebp)
  movl -4(%ebp), %esi; leave; ret
)");

TEST_CASE("a host that aligns its stack to four bytes only") {
  const Module module;
  const auto word = [](auto pointer) { return reinterpret_cast<std::uint32_t>(pointer); };
  answer = 44100;
  for (int offset = 0; offset < 16; offset += 4) {
    CAPTURE(offset);
    const Effect effect(module.entry());
    const std::uint32_t setUp[] = {word(effect.record), 10, 0, 0, 0, 0x472C4400};  // 44100.0
    callOffStack(read<void*>(effect.record, 4), setUp, 6, offset);
    double in[100] = {1, -1}, out[100] = {}, *ins = in, *outs = out;
    const std::uint32_t block[] = {word(effect.record), word(&ins), word(&outs), 100};
    callOffStack(read<void*>(effect.record, 84), block, 4, offset);
    CHECK(out[99] != 0);
  }
}
#endif

TEST_CASE("loading and unloading again and again takes nothing") {
  std::size_t before = 0;
  for (int round = 0; round < 1100; ++round) {
    {
      const Module module;
      const Effect effect(module.entry());
    }
    questions = {};
    REQUIRE(dlopen(BRUMBLER_MODULE, RTLD_NOW | RTLD_NOLOAD) == nullptr);
    if (round == 100) before = mallinfo2().uordblks + mallinfo2().hblkhd;
  }
  CHECK(mallinfo2().uordblks + mallinfo2().hblkhd <= before + 1024);
}

TEST_CASE("ten thousand lives take nothing") {
  const Module module;
  double in[64] = {0.1}, out[64];
  std::size_t before = 0;
  for (int life = 0; life < 10000; ++life) {
    {
      const Effect effect(module.entry());
      answer = 8000;
      effect.dispatch(10, 0, 0, nullptr, 8000.0F);
      effect.process(in, out, 64);
    }
    questions.clear();
    if (life == 100) before = mallinfo2().uordblks + mallinfo2().hblkhd;
  }
  CHECK(mallinfo2().uordblks + mallinfo2().hblkhd <= before + 1024);
}

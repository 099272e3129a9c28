// SPDX-License-Identifier: MIT
// The built module as a whole: its entries, its record, the processor's state, loading and unloading.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>
#ifndef _WIN32
#include <malloc.h>
#include <pthread.h>
#endif

#include <cfenv>
#include <iterator>
#include <stdexcept>

#include "ForeignHost.h"

namespace {

// The processor's floating-point control and status word, and what a caller may have in it: roundings (upwards in the
// second), flags and modes.
#if defined(__SSE2__)
std::uint32_t controlWord() { return __builtin_ia32_stmxcsr(); }
void setControlWord(std::uint32_t word) { __builtin_ia32_ldmxcsr(word); }
constexpr std::uint32_t kWords[] = {0x1F80, 0x5F80, 0x1FA0, 0x7FBF, 0x9F80, 0xBFC0};
#else
std::fenv_t environment;  // begins with the control word
std::uint32_t controlWord() { return std::fegetenv(&environment), read<std::uint32_t>(&environment, 0); }
void setControlWord(std::uint32_t word) {
  controlWord();
  std::memcpy(&environment, &word, sizeof word);
  std::fesetenv(&environment);
}
constexpr std::uint32_t kWords[] = {0, 0x400000, 0x800000, 0xC00000, 0x1000000, 0x1800000};
#endif

#ifndef _WIN32
std::size_t storageTaken() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

// One use of an entry by a thread that its callback ends.
struct Ending {
  Entry entry;
  Callback callback;
  bool unwound = false;  // the host's own frames, too

  static void* run(void* self) {
    auto& ending = *static_cast<Ending*>(self);
    const struct Frame {
      ~Frame() { unwound = true; }
      bool& unwound;
    } frame{ending.unwound};
    return ending.entry(ending.callback);
  }
};
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

#ifndef _WIN32
TEST_CASE("a thread that ends within the version query ends, and the entry keeps nothing") {
  const Module module;
  const Callback exits = [](auto...) -> Word { pthread_exit(PTHREAD_CANCELED); };
  const Callback isCancelled = [](auto...) -> Word {
    pthread_cancel(pthread_self());
    pthread_testcancel();
    return 2400;
  };
  for (const Callback callback : {exits, isCancelled}) {
    std::size_t before = 0;
    for (int round = 0; round < 200; ++round) {
      Ending ending{module.entry(), callback};
      pthread_t thread;
      void* result = nullptr;
      REQUIRE(pthread_create(&thread, nullptr, Ending::run, &ending) == 0);
      REQUIRE(pthread_join(thread, &result) == 0);
      REQUIRE((ending.unwound && result == PTHREAD_CANCELED));
      if (round == 100) before = storageTaken();
    }
    CHECK(storageTaken() < before + 1600);  // 100 wrappers of 16 bytes
  }
}
#endif

TEST_CASE("processing leaves the caller's floating-point state, and rounds as it says") {
  const Module module;
  const std::uint32_t before = controlWord();
  double lastSample[std::size(kWords)] = {};
  for (std::size_t i = 0; i < std::size(kWords); ++i) {
    CAPTURE(kWords[i]);
    const Effect effect(module.entry());
    effect.dispatch(10, 0, 0, nullptr, 44100.0F);
    double in[64] = {0.1, -0.1, 1e-305}, out[64];
    setControlWord(kWords[i]);
    effect.process(in, out, 64);
    const std::uint32_t after = controlWord();
    setControlWord(before);
    CHECK(after == kWords[i]);
    lastSample[i] = out[63];
  }
  CHECK(lastSample[0] != lastSample[1]);
}

#ifndef _WIN32
TEST_CASE("a thousand times loaded, and ten thousand lives, take nothing") {
  double in[64] = {0.1}, out[64];
  std::size_t before = 0;
  answer = 8000;
  for (int round = 0; round < 1100; ++round) {
    {
      const Module module;
      for (int life = 0; life < 10; ++life) {
        const Effect effect(module.entry());
        effect.dispatch(10, 0, 0, nullptr, 8000.0F);
        effect.process(in, out, 64);
        questions = {};
      }
    }
    REQUIRE_FALSE(DynamicLibrary::isLoaded(BRUMBLER_MODULE));
    if (round == 100) before = storageTaken();
  }
  CHECK(storageTaken() <= before + 1024);
}
#endif

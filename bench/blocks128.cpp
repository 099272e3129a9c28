// SPDX-License-Identifier: MIT
// Blocks of 128, as a browser's audio thread plays them, by the effect and by the plain chain: a program of this
// machine that prints nanoseconds a sample, and exports for web.mjs to time in Node and in a browser.
#include <algorithm>
#include <vector>

#include "player/HostedEffect.h"
#include "tests/PlainChain.h"

#ifdef __wasm__
#define EXPORT(name) extern "C" __attribute__((export_name(#name)))
#else
#define EXPORT(name) static
#endif

namespace {

constexpr int kLength = 128;

HostedEffect& effect() {
  static HostedEffect made(getinterface, 44100, kLength);
  return made;
}
PlainChain& plain() {
  static PlainChain made;
  return made;
}

// Noise at 0.3, or silence, from a generator that costs every target the same.
void fill(double* block, bool silent) {
  static unsigned state = 1;
  for (int i = 0; i < kLength; ++i) {
    state = state * 1664525U + 1013904223U;
    block[i] = silent ? 0.0 : 0.3 * (static_cast<double>(state >> 8) / 8388608.0 - 1.0);
  }
}

}  // namespace

EXPORT(prepare) void prepare() {
  effect().start();
  plain().setUp(44100);
}
// Each plays `blocks` blocks; run 0: nothing but the noise itself, 1: the effect, 2: the plain chain.
EXPORT(play) void play(int run, int blocks, int silent) {
  double block[kLength];
  for (int b = 0; b < blocks; ++b) {
    fill(block, silent != 0);
    if (run == 1) effect().process(block, kLength);
    if (run == 2) plain().process(block, block, kLength);
  }
}

#ifndef __wasm__
#include <chrono>
#include <cstdio>

int main() {
  prepare();
  double least[3] = {1e9, 1e9, 1e9};
  for (int round = 0; round < 40; ++round) {
    for (int run = 0; run < 3; ++run) {
      const auto start = std::chrono::steady_clock::now();
      play(run, 500, 0);
      const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
      least[run] = std::min(least[run], taken.count() / (500.0 * kLength));
    }
  }
  std::printf("{\"effect\": %.1f, \"plain\": %.1f}\n", least[1] - least[0], least[2] - least[0]);
}
#endif

// SPDX-License-Identifier: MIT
// The effect's own time for a sound: brumbler_effect_alone MODULE < SOUND, 16-bit raw samples of one channel. Plays
// them from memory in blocks of 512, as the command does, and prints the processor's seconds for that alone.
#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <vector>

#include "player/HostedEffect.h"

int main(int count, char** arguments) {
  constexpr std::size_t kBlock = 512;
  void* const module = count == 2 ? dlopen(arguments[1], RTLD_NOW) : nullptr;
  void* const entry = module != nullptr ? dlsym(module, "getinterface") : nullptr;
  if (entry == nullptr) return std::fprintf(stderr, "give the path of brumbler.so\n"), 1;
  HostedEffect effect(reinterpret_cast<HostedEffect::Entry>(entry), 44100, kBlock);
  if (!effect.exists()) return std::fprintf(stderr, "the module %s\n", effect.fault()), 1;
  effect.start();

  std::vector<double> samples;
  std::int16_t piece[4096];
  while (const std::size_t got = std::fread(piece, sizeof *piece, std::size(piece), stdin)) {
    for (std::size_t i = 0; i < got; ++i) samples.push_back(piece[i] / 32768.0);
  }
  const std::clock_t begin = std::clock();
  for (std::size_t at = 0; at < samples.size(); at += kBlock) {
    effect.process(&samples[at], static_cast<int>(std::min(kBlock, samples.size() - at)));
  }
  std::printf("%.3f\n", static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC);
  return 0;
}

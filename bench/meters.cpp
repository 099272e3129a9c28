// SPDX-License-Identifier: MIT
// What the level meters of the LV2 bundle cost, against the effect in blocks of 64 samples: the least of many short
// runs.
//   cmake --build --preset release --target brumbler_meters_bench && build/release/brumbler_meters_bench
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <vector>

#include "lv2/LevelMeter.h"
#include "player/HostedEffect.h"

template <typename Work>
static double nanoseconds(Work work) {
  constexpr int kRepeats = 500;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kRepeats; ++i) {
    work();
    asm volatile("" ::: "memory");  // the compiler cannot know that the next run reads the same samples
  }
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count() / kRepeats;
}

int main() {
  constexpr std::uint32_t kLength = 64;
  HostedEffect effect(getinterface, 48000, kLength);
  effect.start();
  std::minstd_rand random(1);
  std::vector<float> sound(kLength);
  for (float& sample : sound) sample = std::uniform_real_distribution<float>(-0.3F, 0.3F)(random);
  const std::vector<double> in(sound.begin(), sound.end());
  std::vector<double> block(kLength);
  LevelMeter meters[2] = {LevelMeter(48000.0), LevelMeter(48000.0)};
  volatile float levels[2] = {};
  double effectTime = 1e9, meterTime = 1e9;
  for (int round = 0; round < 1000; ++round) {
    effectTime = std::min(effectTime, nanoseconds([&] {
                            std::copy(in.begin(), in.end(), block.begin());
                            effect.process(block.data(), kLength);
                          }));
    meterTime = std::min(meterTime, nanoseconds([&] {
                           for (int i = 0; i < 2; ++i) {
                             meters[i].hear(sound.data(), kLength);
                             levels[i] = meters[i].read(kLength);
                           }
                         }));
  }
  std::printf("effect %.0f ns, both meters %.1f ns, %.2f %%\n", effectTime, meterTime, 100.0 * meterTime / effectTime);
}

// SPDX-License-Identifier: MIT
// What is measured, and the sound that it is measured with.
#pragma once

#include <random>
#include <vector>

#include "effect/Brumbler.h"
#include "effect/RecursiveMutex.h"
#include "player/HostedEffect.h"
#include "tests/PlainChain.h"

// The effect at 44100 Hz, used through its record as a host does.
class Instance : public HostedEffect {
 public:
  explicit Instance(int blockSize = 4096) : HostedEffect(getinterface, 44100, blockSize) {}
  void setVolume(float volume) { setParameter(Brumbler::kVolume, volume); }
};

// The plain chain in the same frame: the effect's kind of lock and flush-to-zero around every block. Called, as the
// effect is: as part of the loop that times it, a block of one took 75 ns or 120, by where the code came to lie.
class LockedPlainChain {
 public:
  LockedPlainChain() { chain_.setUp(44100.0); }

  void setVolume(float volume) {
    const RecursiveMutex::Guard guard(lock_);
    chain_.volume = volume;
  }
  [[gnu::noinline]] void process(double* in, double* out, int n) {
    const RecursiveMutex::Guard guard(lock_);
    chain_.process(in, out, n);
  }

 private:
  RecursiveMutex lock_;
  PlainChain chain_;
};

// Uniform noise. At 0.3 it clips in the stage; 16384 samples of it read the curve all over.
inline std::vector<double> noise(double level, int length = 16384) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> uniform(-level, level);
  std::vector<double> samples(static_cast<std::size_t>(length));
  for (double& sample : samples) sample = uniform(random);
  return samples;
}

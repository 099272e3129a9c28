// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "player/EffectPlayer.h"
#include "player/Tail.h"

// What the page plays through: an EffectPlayer with planes of floats, as browsers have them, and the end of a sound.
// One thread.
class PagePlayer {
 public:
  static constexpr int kLongestBlock = 1024;  // samples

  // `rate` in Hz; `channels` at least 1.
  PagePlayer(int rate, int channels);

  // The controls. False exists(): nothing else may be called.
  EffectPlayer& player() noexcept { return player_; }

  // Where channel `channel` finds its input and leaves its output, kLongestBlock samples.
  float* plane(int channel) noexcept { return planes_[static_cast<std::size_t>(channel)]; }

  // Plays `length` samples of every plane in place; `length` is 0 to kLongestBlock. Allocates nothing.
  void process(int length) noexcept;

  // Plays one block of silence after the end of the sound. Returns the interleaved samples that are now known to belong
  // to its tail, the same as the command keeps. Allocates.
  const std::vector<float>& playTail();
  bool isTailComplete() const noexcept { return tail_.isComplete(); }

 private:
  void start() noexcept;

  EffectPlayer player_;
  std::vector<float> samples_;
  std::vector<float*> planes_;  // in samples_
  Tail tail_;
  std::vector<double> silence_;  // interleaved; what the effect makes of it
  std::vector<float> kept_;
  bool hasStarted_ = false;
};

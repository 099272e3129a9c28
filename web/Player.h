// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "player/HostedEffect.h"
#include "player/Tail.h"

// What the page plays through: one effect for each channel, all with the same settings, with Trim around them, and the
// end of a sound. Samples are planes of floats, as browsers have them; one thread.
class Player {
 public:
  static constexpr int kLongestBlock = 1024;  // samples

  // `rate` in Hz; `channels` at least 1.
  Player(int rate, int channels);

  // False when an effect could not be made; then nothing else may be called.
  bool exists() const noexcept;

  // Where channel `channel` finds its input and leaves its output, kLongestBlock samples.
  float* plane(int channel) noexcept { return channels_[static_cast<std::size_t>(channel)]->samples; }
  HostedEffect& effect(int channel) noexcept { return channels_[static_cast<std::size_t>(channel)]->effect; }
  int channels() const noexcept { return static_cast<int>(channels_.size()); }

  // dB that the sound lies above a guitar's own level: taken off before the effect, put back behind it. A change glides
  // over the next block; before the first one it is there at once.
  void setTrim(double decibels) noexcept;

  // Replaces `length` samples of every plane by the effects' answer; `length` is 0 to kLongestBlock. Samples that are
  // not finite become 0. Allocates nothing.
  void process(int length) noexcept;

  // Plays on behind the end of the sound for one block and answers the interleaved samples that are now known to belong
  // to its tail, the same as the command keeps. Allocates.
  const std::vector<float>& playTail();
  bool isTailComplete() const noexcept { return tail_.isComplete(); }

 private:
  struct Channel {
    explicit Channel(int rate) noexcept : effect(getinterface, rate, kLongestBlock) {}
    HostedEffect effect;
    double block[kLongestBlock] = {};
    float samples[kLongestBlock] = {};
  };

  void run(int length) noexcept;

  std::vector<std::unique_ptr<Channel>> channels_;
  Tail tail_;
  std::vector<double> interleaved_;
  std::vector<float> kept_;
  bool started_ = false;
  double takenOff_ = 1.0;  // gain before the effect
  double putBack_ = 1.0;   // and behind it, at the end of the last block
  double putBackNext_ = 1.0;
  double takenOffNext_ = 1.0;
};

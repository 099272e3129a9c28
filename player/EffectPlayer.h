// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "player/HostedEffect.h"
#include "player/Trim.h"

// Plays a sound of n channels through the effect: one effect for each channel, all with the same controls, and Trim
// around them. All hosts of ours play through this class, so that they give the same samples.
//
//   EffectPlayer player(getinterface, 48000, 512, 2);
//   if (!player.exists()) return fail(player.fault());
//   player.setParameter(2, 0.8F);
//   player.setTrim(20.0);
//   player.start();                    // with these controls and this trim, without a glide
//   player.process(in, out, length);   // for every block, of 512 samples at most
//
// Threads as for HostedEffect. setTrim() belongs to the thread that processes. start(), process() and the setters
// allocate nothing and make no system call, so the audio thread may call them.
class EffectPlayer {
 public:
  // `rate` in Hz; `blockLength` in samples, the longest block that will come; `channels`: all at least 1. Throws
  // std::bad_alloc when there is no storage.
  EffectPlayer(HostedEffect::Entry entry, int rate, int blockLength, int channels);

  // False when `entry` did not create a usable effect. Then nothing else may be called but fault(), which says why.
  bool exists() const noexcept { return fault() == nullptr; }
  const char* fault() const noexcept;

  int channels() const noexcept { return static_cast<int>(effects_.size()); }
  int blockLength() const noexcept { return blockLength_; }
  // For questions; what changes the sound goes to all channels, below.
  HostedEffect& effect(int channel) const noexcept { return *effects_[static_cast<std::size_t>(channel)]; }

  // As HostedEffect has them, for all channels. announce() throws std::bad_alloc without storage.
  void announce(int rate, int blockLength);
  void start() noexcept;
  void stop() noexcept;
  void setParameter(int index, float value) noexcept;
  void setProgram(int index) noexcept;
  void setProgramName(const char* name) noexcept;

  // In dB; finite. A change glides over the next block.
  void setTrim(double decibels) noexcept { trim_.set(decibels); }

  // Plays `length` samples of each channel, 0 to blockLength(), from `in` to `out`. Any output may be any input. A
  // sample that is NaN or infinite counts as 0.
  void process(const float* const* in, float* const* out, int length) noexcept { playPlanes(in, out, length); }
  void process(const double* const* in, double* const* out, int length) noexcept { playPlanes(in, out, length); }

  // Plays `length` frames in place: the samples of all channels side by side, finite ones.
  void processFrames(double* frames, int length) noexcept;

 private:
  template <class Sample>
  void playPlanes(const Sample* const* in, Sample* const* out, int length) noexcept;

  double* block(std::size_t channel) noexcept { return &blocks_[channel * static_cast<std::size_t>(blockLength_)]; }
  void play(int length) noexcept;

  int blockLength_;
  std::vector<std::unique_ptr<HostedEffect>> effects_;
  std::vector<double> blocks_;  // one a channel, each as long as the longest block
  Trim trim_;
};

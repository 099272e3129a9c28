// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// The cross-fade behind the On/Off switch. At each change the current signal fades out over 16 milliseconds, the source
// changes at gain zero, and the other signal fades in over the same time. Works on whole blocks and gives each sample a
// gain and a switch value: exactly 1 selects the effect, any other value the dry input.
//
// No lock; run() is for the audio thread. It never allocates, but reserve() must have provided for the block.
struct SwitchFader {
  enum State : std::int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

  std::int32_t length;  // length of a ramp, samples, at least 1
  double lengthD;
  double fadeTime;      // length of a ramp, seconds
  double unityGain;     // gain when no fade is running
  double* fadeIn;       // 0, 1/length, ... (length-1)/length
  double* fadeOut;      // 1, (length-1)/length, ... 1/length
  std::int32_t pos;     // position in the current ramp, samples
  std::int32_t bufLen;  // samples that switchBuf holds
  float lastSwitch;     // On/Off at the end of the last block
  float* switchBuf;     // switch value of each sample of the block
  std::int32_t state;   // State

  // Creates an idle fader for `sampleRate` (Hz) and the current On/Off value. Null when out of memory.
  static SwitchFader* create(double sampleRate, float onOff) noexcept;
  static void destroy(SwitchFader* fader) noexcept;

  // Provides for blocks of up to `samples`. False when out of memory; the old buffer is then kept.
  bool reserve(std::int32_t samples) noexcept;

  // Whether a block in which On/Off is `onOff` neither begins nor continues a fade.
  bool rests(float onOff) const noexcept { return state == kIdle && stays(onOff); }

  // Fills gain[0 .. samples-1] and switchBuf for a block in which On/Off is `onOff`. Even a block of 0 samples
  // registers a change.
  void run(std::int32_t samples, float onOff, double* gain) noexcept;

 private:
  // NaN after NaN is no change; otherwise it would start a fade in every block.
  bool stays(float onOff) const noexcept { return onOff == lastSwitch || (onOff != onOff && lastSwitch != lastSwitch); }
};

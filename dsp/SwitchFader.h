// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// The cross-fade behind the On/Off switch: at each change the signal that plays fades out over 16 milliseconds, the
// source changes at gain zero, and the other signal fades in over as long. Works a block at a time and yields, for each
// sample, a gain and a switch value; exactly 1 selects the effect, anything else the dry input.
//
// Not locked; the audio thread runs it. run() allocates nothing as long as reserve() provided for the block.
struct SwitchFader {
  enum State : std::int32_t { kIdle = 0, kFadingOut = 1, kFadingIn = 2 };

  std::int32_t length;  // of a ramp, samples, at least 1
  double lengthD;
  double fadeTime;      // of a ramp, seconds
  double unityGain;     // while nothing fades
  double* fadeIn;       // 0, 1/length, ... (length-1)/length
  double* fadeOut;      // 1, (length-1)/length, ... 1/length
  std::int32_t pos;     // in the ramp that plays
  std::int32_t bufLen;  // samples that switchBuf holds
  float lastSwitch;     // On/Off at the end of the last block
  float* switchBuf;     // switch value of each sample of the block
  std::int32_t state;   // State

  // An idle fader for `sampleRate` (Hz) and the current On/Off value; null when storage ran out.
  static SwitchFader* create(double sampleRate, float onOff) noexcept;
  static void destroy(SwitchFader* fader) noexcept;

  // Provides for blocks of up to `samples`; false when storage ran out, and what was there stays.
  bool reserve(std::int32_t samples) noexcept;

  // Whether a block in which On/Off is `onOff` neither begins nor continues a fade.
  bool rests(float onOff) const noexcept { return state == kIdle && stays(onOff); }

  // Fills gain[0 .. samples-1] and switchBuf for a block in which On/Off is `onOff`. A block of 0 samples still takes
  // note of a change.
  void run(std::int32_t samples, float onOff, double* gain) noexcept;

 private:
  // NaN stays, too: it would start a fade in every block.
  bool stays(float onOff) const noexcept { return onOff == lastSwitch || (onOff != onOff && lastSwitch != lastSwitch); }
};

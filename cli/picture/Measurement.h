// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "cli/picture/Picture.h"

class EffectModule;

using Points = Picture::Points;

// The effect under test: its rate in Hz, VOLUME and FUZZ from 0 to 1.
struct TestSettings {
  int rate = 44100;
  float volume = 0.5F;
  float fuzz = 0.5F;
};

// Peak of the output over peak of the input, both in dBFS, for a steady sine of `frequency` Hz that gets louder in
// steps from -100 to 0 dBFS. Each step is given time to settle.
Points measureLevels(const EffectModule& module, const TestSettings& settings, double frequency);

// Gain in dB over frequency in Hz, from 20 Hz up to 20 kHz or 0.49 of the rate, from the response to one sample of
// kImpulse, which is too small to clip. The effect's output for silence is subtracted.
inline constexpr double kImpulse = 1e-7;
Points measureResponse(const EffectModule& module, const TestSettings& settings);

// One second of the effect's output for a steady sine of `frequency` Hz with a peak of `level`, relative to full scale.
std::vector<double> playTone(const EffectModule& module, const TestSettings& settings, double frequency, double level);

// The components of a steady tone.
struct Harmonics {
  std::vector<double> amplitudes;  // peaks of full scale, of the fundamental and then of each harmonic below rate / 2
  double distortion = 0.0;         // RMS of all harmonics over the fundamental: the THD
  double rest = 0.0;               // RMS of all else but DC over the fundamental
};

// `samples` hold exactly one second; `frequency` is a whole number of Hz, so that a whole number of periods fits.
Harmonics analyseTone(const std::vector<double>& samples, int frequency);

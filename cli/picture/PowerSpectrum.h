// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <kissfft/kissfft.hh>
#include <vector>

#include "cli/picture/Picture.h"

// A sound's mean power over frequency, by Welch's method: the averaged power of Hann windows of about a second that
// overlap by three quarters. At that overlap the squared windows add up to a constant, so every sample has the same
// weight, and the whole spectrum sums to the sound's mean square, however short the sound. Its memory does not grow
// with the sound.
class PowerSpectrum {
 public:
  // `rate` in Hz, at least 1.
  explicit PowerSpectrum(int rate);

  void add(double sample);

  // The level around each frequency from 20 Hz to 20 kHz or half the rate: the power within a band of a twelfth of an
  // octave, a semitone, in dB against the power of a full-scale sine. So a steady sine shows its own level, and white
  // noise rises by 3 dB per octave. At least kFloor. Empty without samples.
  Picture::Points levels() const;

  static constexpr double kFloor = -200.0;  // dB
  static constexpr double kBandsPerOctave = 12.0;

 private:
  using Complex = std::complex<double>;

  void transform(std::vector<double>& power, const std::vector<double>& last) const;

  int rate_;
  std::size_t length_;
  std::vector<double> window_;
  kissfft<double> fourier_;
  std::vector<double> recent_;  // the last length_ samples, silence before the first
  std::vector<double> power_;   // of each bin from 0 to half the rate, summed over the windows so far
  std::size_t pending_ = 0;     // samples since the last window, fewer than a quarter of one
  std::int64_t samples_ = 0;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Finds the pitch of one note of a guitar or bass, for a tuner. Free of files and libraries.
//
// Method: the normalised square difference (McLeod and Wyvill, "A smarter way to find pitch", 2005) of the last tenth
// of a second at about 16 kHz: n(lag) = 2 sum x[i] x[i + lag] / sum (x[i]^2 + x[i + lag]^2), which is 1 where the sound
// repeats itself. The period is the first peak that comes close to the highest one; a peak some whole periods later, if
// there is one, gives it more exactly.
//
// Range: kLowest to kHighest. Error: below 1 cent for a steady note; more in the first tenth of a second after a note
// starts. One thread.
class PitchDetector {
 public:
  static constexpr double kLowest = 26.0;       // Hz; the lowest note of a piano or a five-string bass is above
  static constexpr double kHighest = 1400.0;    // Hz; above the 24th fret of a guitar's highest string
  static constexpr double kQuietest = 0.0005;   // root mean square of the quietest sound that has a pitch, -66 dBFS
  static constexpr double kLeastClarity = 0.9;  // of a sound that has one: n at its period, 1 for an exact repetition
  static constexpr double kFirstPeakShare = 0.96;  // of the highest peak; the first as high as this is the period

  // `rate` in Hz, at least 8000.
  explicit PitchDetector(int rate);

  // Takes the next samples of the sound, full scale being 1. Allocates nothing. NaN and infinity count as silence.
  void add(const float* samples, std::size_t count) noexcept;

  // The pitch of the last tenth of a second, in Hz; 0 when it holds no note: silence or noise. A chord may have one:
  // the highest pitch of which all its notes are multiples. Takes about a million multiplications (about 1 ms), so it
  // does not belong into an audio thread.
  double frequency();

  // Forgets what it has heard.
  void clear() noexcept;

 private:
  double similarity(std::size_t lag) const noexcept;
  double peakNear(double lag, double& height) const noexcept;

  std::vector<float> lowpass_;  // taps, before every `step_`-th sample is kept
  std::vector<float> input_;    // the last samples, as long as the lowpass, twice in a row so that any run is whole
  std::size_t inputAt_ = 0;
  std::size_t step_;
  std::size_t untilKept_;
  double rate_;              // Hz, of what is kept
  std::size_t longest_;      // lag, in kept samples
  std::size_t window_;       // samples that are compared at each lag
  std::vector<float> kept_;  // a ring of window_ + longest_ + 2
  std::size_t keptAt_ = 0;
  std::vector<float> sound_;   // kept_ from the oldest on
  std::vector<double> curve_;  // n by lag
};

// The note of equal temperament next to a frequency.
struct TunerNote {
  int number = 0;      // as in MIDI: 69 is A4
  double cents = 0.0;  // by which the frequency lies above it, -50 to 50

  // `frequency` in Hz, above 0; `a4` is the pitch of A4.
  static TunerNote nearest(double frequency, double a4 = 440.0);

  // Like "E2" and "F#3"; C4 is middle C.
  std::string name() const;
};

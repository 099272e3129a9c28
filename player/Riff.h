// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

// The built-in example: four bars in E minor on a six-string electric guitar, with power chords, palm mutes, a run of
// single notes, rests and a last chord that rings out. Every call returns the same samples.
struct Riff {
  static constexpr int kRate = 44100;   // Hz
  static constexpr double kPeak = 0.1;  // of full scale, -20 dBFS: a guitar's own level, struck hard

  // One channel.
  static std::vector<double> play();
};

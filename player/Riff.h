// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

// The example: four bars in E minor on an electric guitar with six strings, with power chords, palm mutes, a run of
// single notes, rests and a last chord that rings out. The same samples on every call.
struct Riff {
  static constexpr int kRate = 44100;   // Hz
  static constexpr double kPeak = 0.1;  // of full scale, -20 dBFS: a guitar's own level, struck hard

  // One channel.
  static std::vector<double> play();
};

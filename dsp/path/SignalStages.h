// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/ClipCurve.h"
#include "dsp/path/ToneStage.h"

class IIRFilter;

// The stages of the signal path, which belong to the effect, and how they are joined:
//
//   pre: fuzzPeak, adjust 0, adjust 1 -> clip stage (4x) -> lowPeak -> tone -> post: fuzzHighpass, rev 0 .. 4, dcBlock
struct SignalStages {
  IIRFilter* pre[3];
  const double (&ovsA)[5];
  const double (&ovsB)[6];
  double (&ovsState)[2][6];
  ClipCurve<double> curve;
  double clipOutGain;
  double toneK;
  double& toneZ1;
  double& toneZ2;
  IIRFilter* post[8];  // lowPeak first

  // The tone stage's coefficients for a block's first sample; while VOLUME rests, for the whole block. Kept, because
  // computing them takes three divisions.
  double toneVolume = 0.0;
  ToneCoefficients<double> tone = ToneCoefficients<double>::forVolume(toneK, toneVolume);

  void setVolume(double volume) noexcept {
    if (volume == toneVolume) return;
    toneVolume = volume;
    tone = ToneCoefficients<double>::forVolume(toneK, volume);
  }
};

// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/IIRFilter.h"
#include "dsp/path/ClipStage.h"
#include "dsp/path/SignalStages.h"
#include "dsp/path/ToneStage.h"

// Runs one sample through one stage after the other, with no skew to open or close. noinline: for one or two samples,
// values that an inlining loop keeps in registers have to be loaded and stored anyway, and inlining made such blocks an
// eighth slower.
[[gnu::noinline]] inline double runSample(const SignalStages& stages, const ToneCoefficients<double>& coefficients,
                                          double x) noexcept {
  for (IIRFilter* section : stages.pre) x = section->step(x);

  // Everything that follows waits for the first sub-sample only; the others only update the histories. They stand
  // before the code that waits, so that the processor runs them meanwhile. After it, they made a block of one sample an
  // eighth slower.
  OversamplingFilter<double> interpolator(stages.ovsA, stages.ovsB);
  OversamplingFilter<double> decimator(stages.ovsA, stages.ovsB);
  interpolator.load(stages.ovsState[0]);
  decimator.load(stages.ovsState[1]);
  x = decimator.step(stages.curve(interpolator.step(x * 4.0))) * stages.clipOutGain;
  for (int k = 1; k < 4; ++k) decimator.step(stages.curve(interpolator.stepWithoutInput()));
  interpolator.store(stages.ovsState[0]);
  decimator.store(stages.ovsState[1]);

  x = stages.post[0]->step(x);
  ToneStage tone(stages.toneZ1, stages.toneZ2);
  tone.enter();
  tone.step(x, coefficients);
  tone.leave();
  x = tone.output();
  for (int s = 1; s < 8; ++s) x = stages.post[s]->step(x);
  return x;
}

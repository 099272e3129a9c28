// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/IIRFilter.h"
#include "dsp/path/ClipStage.h"
#include "dsp/path/SignalStages.h"
#include "dsp/path/ToneStage.h"

// One sample through one stage after the other: nothing to open or close. Not inlined: what a loop around it would keep
// in registers has to be loaded and stored all the same for one or two samples, and made them an eighth slower.
[[gnu::noinline]] inline double runSample(const SignalStages& stages, const ToneCoefficients<double>& coefficients,
                                          double x) noexcept {
  for (IIRFilter* section : stages.pre) x = section->step(x);

  // All that follows waits for the first sub-sample; the others leave the decimator's history alone behind. They stand
  // in front of what waits, so that the processor has them done meanwhile: behind it they made a block of one an eighth
  // slower.
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

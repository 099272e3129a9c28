// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/IIRFilter.h"
#include "dsp/path/ClipStage.h"
#include "dsp/path/SignalStages.h"
#include "dsp/path/ToneStage.h"
#include "dsp/path/VolumeGlide.h"

// The signal path as a sequence of short loops, one for each stage, each over all samples of a piece. For processors
// without vectors of doubles and with few registers (32-bit ARM): there a single stage fits the registers, but a loop
// of all stages does not.
//
// Exact: the output is bit-identical to running each sample through one stage after the other. Blocks have any length
// from 1 sample up.
class StageByStage {
 public:
  static constexpr int kPiece = 64;  // most samples in a piece; with four sub-samples each, 2.5 KiB on the stack

  StageByStage(const SignalStages& stages, const VolumeGlide& volume) noexcept : stages_(&stages), volume_(volume) {}

  // Processes the block's samples from `first` up to `end`, at most kPiece of them, in place. `piece` holds these
  // samples.
  void run(double* piece, int first, int end) noexcept {
    const int length = end - first;
    for (IIRFilter* section : stages_->pre) section->run(piece, length);
    clip(piece, length);
    stages_->post[0]->run(piece, length);
    tone(piece, first, length);
    for (int s = 1; s < 8; ++s) stages_->post[s]->run(piece, length);
  }

 private:
  void clip(double* piece, int length) noexcept {
    double subSamples[4 * kPiece];
    OversamplingFilter<double> filter(stages_->ovsA, stages_->ovsB);
    filter.load(stages_->ovsState[0]);
    double* sub = subSamples;
    for (int i = 0; i < length; ++i) {
      *sub++ = filter.step(piece[i] * 4.0);
      for (int k = 1; k < 4; ++k) *sub++ = filter.stepWithoutInput();
    }
    filter.store(stages_->ovsState[0]);

    const ClipCurve<double> curve = stages_->curve;
    for (double* s = subSamples; s != sub; ++s) *s = curve(*s);

    filter.load(stages_->ovsState[1]);
    sub = subSamples;
    for (int i = 0; i < length; ++i) {
      piece[i] = filter.step(*sub++) * stages_->clipOutGain;
      for (int k = 1; k < 4; ++k) filter.step(*sub++);  // only for the history
    }
    filter.store(stages_->ovsState[1]);
  }

  void tone(double* piece, int first, int length) noexcept {
    ToneStage stage(stages_->toneZ1, stages_->toneZ2);
    stage.enter();
    ToneCoefficients<double> coefficients = stages_->tone;
    for (int i = 0; i < length; ++i) {
      if (volume_.step != 0.0) {
        coefficients = ToneCoefficients<double>::forVolume(stages_->toneK, volume_.at<double>(first + i));
      }
      stage.step(piece[i], coefficients);
      piece[i] = stage.output();
    }
    stage.leave();
  }

  const SignalStages* stages_;
  VolumeGlide volume_;
};

// SPDX-License-Identifier: MIT
#pragma once

#include "dsp/IIRFilter.h"
#include "dsp/path/ClipStage.h"
#include "dsp/path/SignalStages.h"
#include "dsp/path/ToneStage.h"
#include "dsp/path/VolumeGlide.h"

// The signal path as one short loop after another, each over all samples of a piece: the form for processors without
// vectors of doubles and with few registers (32-bit ARM), where a stage alone fits what a loop of all does not.
//
// Exact: the same double as sample by sample through one stage after the other. Any block from 1 sample up.
class StageByStage {
 public:
  static constexpr int kPiece = 64;  // samples at most; with the four sub-samples of each 2.5 KiB on the stack

  StageByStage(const SignalStages& stages, const VolumeGlide& volume) noexcept : stages_(&stages), volume_(volume) {}

  // Runs the samples from `first` up to `end` of the block, kPiece at most, which stand at `piece` onwards.
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
      for (int k = 1; k < 4; ++k) filter.step(*sub++);  // for the history alone
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

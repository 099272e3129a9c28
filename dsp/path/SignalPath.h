// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "dsp/path/ClipStage.h"
#include "dsp/path/SectionLanes.h"
#include "dsp/path/SignalStages.h"
#include "dsp/path/ToneStage.h"
#include "dsp/path/VolumeGlide.h"

// Counts the steps of a block. They go on past its last sample, and the longest block has 2^31 - 1 samples.
using Step = std::int64_t;

// The signal path with all stages in one loop.
//
// Each stage works a fixed number of steps behind the input, chosen so that all stages of a step are nearly
// independent. The processor can then work on the filter sections and, at the same time, on the recurrences of the clip
// stage, which set the pace. The skew opens and closes within the block: each stage loads its histories just before its
// first sample and stores them just after its last one, so they are complete between blocks.
//
// The sample that each stage works on at step n, with two lanes. Stages in one row share a vector or run side by side:
//
//   fuzzPeak                        n      adjust 0       n - 1
//   adjust 1                        n - 1
//   interpolating lowpass, 4x       n - 2
//   clip curve                      between the two, in two halves of a step
//   decimating lowpass, 4x          n - 4
//   lowPeak                         n - 4  fuzzHighpass   n - 5
//   tone stage                      n - 4
//   rev 0                           n - 5  rev 1          n - 6
//   rev 2                           n - 6  rev 3          n - 7
//   rev 4                           n - 7  dcBlock        n - 8: the output
//
// The tone stage sits between the two lanes of the first vector of `post`: it takes the sample that lowPeak has just
// filtered, and passes its result to fuzzHighpass at the next step.
//
// Exact: the output is bit-identical to running each sample through one stage after the other. Blocks have any length
// from 1 sample up; each takes kDelay extra steps. `width`: filter sections to a vector, 2 or 4.
template <int width>
class SignalPath {
 private:
  using PreLanes = SectionLanes<3, width>;
  using PostLanes = SectionLanes<8, width>;
  static constexpr int kInterpolate = PreLanes::behind(2) + 1;  // steps from a sample to each stage
  static constexpr int kDecimate = kInterpolate + ClipStage::kDelay;
  static constexpr int kTone = kDecimate;

 public:
  static constexpr int kDelay = kDecimate + PostLanes::behind(7);  // steps from a sample to its output

  SignalPath(const SignalStages& stages, const VolumeGlide& volume, int blockLength) noexcept
      : pre_(stages.pre),
        clip_(stages.ovsA, stages.ovsB, stages.ovsState, stages.curve),
        clipOutGain_(stages.clipOutGain),
        toneK_(stages.toneK),
        toneAtRest_(stages.tone),
        tone_(stages.toneZ1, stages.toneZ2),
        post_(stages.post),
        volume_(volume),
        blockLength_(blockLength) {}

  // Runs the steps from `first` up to `end`, of blockLength + kDelay in all. On entry `steps` holds the input sample of
  // each step (any value for the last kDelay); on return, the output for the sample kDelay steps before.
  void run(double* steps, Step first, Step end) noexcept {
    const ToneCoefficients<double> atRest = toneAtRest_;
    Step n = first;
    const auto runEdge = [&](Step until) {
      for (; n < until; ++n) {
        if (n <= kDelay) enter(static_cast<int>(n));
        steps[n - first] = edgeStep(steps[n - first], n, volume_.step == 0.0 ? atRest : toneAt(n));
        if (n >= blockLength_ - 1) leave(static_cast<int>(n - (blockLength_ - 1)));
      }
    };
    runEdge(std::min<Step>(end, kDelay + 1));
    // In between no stage begins or ends. A local copy stays in registers, because no other code can see it. The clip
    // stage gets one, because its recurrences set the pace. With copies of all stages there are too few registers, and
    // the clip stage's are spilled first. 32 registers leave room for the tone stage, too.
    const Step innerEnd = std::min<Step>(end, blockLength_ - 1);
    if (n < innerEnd) {
      ClipStage clip = clip_;
      std::conditional_t<kManyRegisters, ToneStage, ToneStage&> tone = tone_;
      if (volume_.step == 0.0) {
        for (; n < innerEnd; ++n) steps[n - first] = step(clip, tone, steps[n - first], atRest);
      } else {
        for (; n + 1 < innerEnd; n += 2) {
          const auto sample = static_cast<double>(n - kTone);
          const auto both = ToneCoefficients<Lanes>::forVolume(toneK_, volume_.at(Lanes{sample, sample + 1.0}));
          steps[n - first] = step(clip, tone, steps[n - first], both.lane(0));
          steps[n + 1 - first] = step(clip, tone, steps[n + 1 - first], both.lane(1));
        }
        for (; n < innerEnd; ++n) steps[n - first] = step(clip, tone, steps[n - first], toneAt(n));
      }
      clip_ = clip;
      tone_ = tone;
    }
    runEdge(end);
  }

 private:
  // Call enter() before step `n` of a block: it loads the histories of the stages whose first sample is due. Call
  // leave() after the step that is `n` steps after the block's last sample came in: it stores the histories of the
  // stages that have just finished.
  void enter(int n) noexcept {
    pre_.enter(n);
    if (n == kInterpolate) clip_.enter(0);
    if (n == kDecimate) clip_.enter(1);
    if (n == kTone) tone_.enter();
    post_.enter(n - kDecimate);
  }
  void leave(int n) const noexcept {
    pre_.leave(n);
    if (n == kInterpolate) clip_.leave(0);
    if (n == kDecimate) clip_.leave(1);
    if (n == kTone) tone_.leave();
    post_.leave(n - kDecimate);
  }

  ToneCoefficients<double> toneAt(Step n) const noexcept {
    const auto sample = static_cast<double>(std::clamp<Step>(n - kTone, 0, blockLength_ - 1));
    return ToneCoefficients<double>::forVolume(toneK_, volume_.at(sample));
  }

  // Each stage works on the outputs that the others produced in the last step; `post` also takes outputs of this step.
  // The parts are in the order in which the processor can start them. It looks ahead by less than a step, so work that
  // waits for the recurrences must be mixed with work that does not.
  [[gnu::always_inline]] double step(ClipStage& clip, ToneStage& tone, double sample,
                                     const ToneCoefficients<double>& coefficients) noexcept {
    clip.lowpass<0>(pre_.output(2));
    const double decimated = clip.output() * clipOutGain_;
    const double toned = tone.output();
    pre_.template stepVector<0>(sample, pre_.output(0));
    pre_.template stepVector<1>();
    clip.lowpass<1>();
    clip.clip<1>();
    post_.template stepVector<0>(decimated, toned);
    clip.lowpass<2>();
    clip.clip<0>();
    post_.template stepVector<1>();
    tone.step(post_.output(0), coefficients);
    post_.template stepVector<2>();
    clip.lowpass<3>();
    post_.template stepVector<3>();
    return post_.output(7);
  }

  // The same, but runs only the stages that have a sample to work on.
  double edgeStep(double sample, Step n, const ToneCoefficients<double>& tone) noexcept {
    const Step last = n - (blockLength_ - 1);  // steps since the last sample came in
    if (n >= kInterpolate && last <= kDecimate) clip_.step(pre_.output(2));
    if (last < kInterpolate) pre_.step(sample, pre_.output(0));
    if (n >= kDecimate) {
      post_.step(clip_.output() * clipOutGain_, tone_.output());
      tone_.step(post_.output(0), tone);
    }
    return post_.output(7);
  }

  PreLanes pre_;
  ClipStage clip_;
  double clipOutGain_;
  double toneK_;
  ToneCoefficients<double> toneAtRest_;
  ToneStage tone_;
  PostLanes post_;  // the tone stage comes after lowPeak
  VolumeGlide volume_;
  int blockLength_;
};

// SPDX-License-Identifier: MIT
// Joins FUZZ to the clip stage's bounds and the two sections that follow it.
#include "dsp/IIRFilter.h"
#include "dsp/Taper.h"
#include "effect/Brumbler.h"

// The gain law: one FUZZ value sets the clamp thresholds, the drive into the curve, the low boost and the low cut. More
// FUZZ lowers the thresholds from 0.011 to 0.001 and widens the part of the curve that they span from a third to all.
//
// The constants are the effect's voicing; nothing derives them. The low boost at 110 Hz grows with the fourth power of
// FUZZ, from 0 to 0.8 dB, so it is below 0.05 dB up to the middle. The low cut is of the second order: its corner
// follows a parabola, 10 Hz at FUZZ 0, 39.2 Hz at 0.5 and 52.9 Hz at 1 (its vertex, at 1.19, lies outside the knob),
// and its q rises from 0.05 to 0.55 in proportion (q 1 would be Butterworth), so the bass is thinned out gently.
void Brumbler::setGain() {
  const float f = playedFuzz();
  const double F = f;
  clipThrPos = 0.01 * (1.0 - F) * (1.0 - F) + 0.001;
  clipDrive = fuzzTaper->evaluate(f) / (18.0 * clipThrPos);
  clipThrNeg = (0.0 - clipThrPos) * 0.8;

  filterPrm_tag peak{FT_PEQ, 110.0, 0.0, 0.0, 0.8, 0.8 * F * F * F * F, curSampleRate};
  fuzzPeak->FDexcute(&peak);
  filterPrm_tag highpass{FT_HPF_Q, ((-31.02 * F) + 73.9) * F + 10.0, 0.0, 0.0, 0.5 * F + 0.05, 0.0, curSampleRate};
  fuzzHighpass->FDexcute(&highpass);
  stages->curve = clipCurve();
}

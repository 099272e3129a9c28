// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "dsp/IIRFilter.h"
#include "effect/Brumbler.h"

// The way of the tests into the effect's documented fields.
struct LayoutCheck {
  static bool plays(const Brumbler& b, int32 samples) { return b.switchFader != nullptr && samples <= b.workBufLen; }
  static double curSampleRate(const Brumbler& b) { return b.curSampleRate; }

  // Whether a history of the signal path holds a denormal number. The effect is set up.
  static bool denormalLingers(const Brumbler& b) {
    std::vector<double> histories(&b.ovsState[0][0], &b.ovsState[0][0] + 12);
    histories.insert(histories.end(), {b.toneZ1, b.toneZ2});
    std::vector<const IIRFilter*> sections = {b.fuzzPeak, b.lowPeak, b.fuzzHighpass, b.dcBlock};
    sections.insert(sections.end(), b.adjustFilters, b.adjustFilters + b.adjustCount);
    sections.insert(sections.end(), b.revFilters, b.revFilters + b.revCount);
    for (const IIRFilter* section : sections) histories.insert(histories.end(), {section->z1, section->z2});
    return std::any_of(histories.begin(), histories.end(),
                       [](double history) { return std::fpclassify(history) == FP_SUBNORMAL; });
  }
};

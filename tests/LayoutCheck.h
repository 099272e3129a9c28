// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "dsp/BrumblerHistories.h"

// Gives tests access to the effect's documented fields.
struct LayoutCheck {
  static bool plays(const Brumbler& b, int32 samples) { return b.switchFader != nullptr && samples <= b.workBufLen; }
  static RecursiveMutex& lock(Brumbler& b) { return b.lock; }
  static RecursiveMutex& clipLock() { return Brumbler::clipLock; }
  static double curSampleRate(const Brumbler& b) { return b.curSampleRate; }

  static bool lookIsDue(Brumbler& b, int32 length) { return b.lookIsDue(length); }

  // Sets history number `which`, if it exists, to `value`; returns the number of histories. The effect must be set up.
  static int spoilHistory(Brumbler& b, int which, double value) {
    int i = 0;
    b.forEachHistory([&](double& history) {
      if (i++ == which) history = value;
    });
    return i;
  }

  // Whether a history of the signal path holds a denormal number. The effect is set up.
  static bool denormalLingers(Brumbler& b) {
    bool lingers = false;
    b.forEachHistory([&](double history) { lingers |= std::fpclassify(history) == FP_SUBNORMAL; });
    return lingers;
  }
};

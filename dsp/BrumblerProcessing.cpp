// SPDX-License-Identifier: MIT
// The audio path: joins the effect's parameters, cross-fade and filters to the stages of the signal path, block by
// block.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "dsp/BrumblerHistories.h"
#include "dsp/FlushToZero.h"
#include "dsp/SwitchFader.h"
#include "dsp/path/Intake.h"
#include "dsp/path/runBlock.h"
#include "effect/Brumbler.h"

namespace {

// How far outside 0 to 1 the filters stay stable and their coefficients finite. A block obeys what lies beyond, or is
// no number, but leaves nothing behind.
//
// VOLUME: the tone stage's Q, 0.35 VOLUME + 0.3, is 0 at -6/7; below that its poles lie outside the unit circle. Above
// 1 its damping only grows.
// FUZZ: the peak at 110 Hz is 0.8 FUZZ^4 dB high, 1e262 at 9. Times the largest sample that is taken in that still is a
// number, and what stays of it in a history is below kLargestHistory.
constexpr float kLeastVolume = -0.857F;
constexpr float kLargestFuzz = 9.0F;
constexpr double kLargestHistory = 1e300;

// Nothing of what is smaller reaches a float, and within kLookInterval nothing decays from here to a denormal number.
constexpr double kLeastHistory = 1e-200;

constexpr int32 kLookInterval = 64;  // samples, at least, between two looks at all histories

bool isSoundVolume(float volume) noexcept { return volume >= kLeastVolume && volume <= FLT_MAX; }
bool isSoundFuzz(float fuzz) noexcept { return std::fabs(fuzz) <= kLargestFuzz; }

}  // namespace

void Brumbler::processReplacing(float** /*inputs*/, float** /*outputs*/, int32 /*sampleFrames*/) {}

void Brumbler::processDoubleReplacing(double** inputs, double** outputs, int32 sampleFrames) {
  const int32 length = std::max(sampleFrames, 0);
  if (length > 0 && (inputs == nullptr || outputs == nullptr || inputs[0] == nullptr || outputs[0] == nullptr)) return;
  const RecursiveMutex::Guard guard(lock);
  if (!isSetUp() || (length > workBufLen && !growWorkBuffers(length))) {
    if (length > 0) std::memmove(outputs[0], inputs[0], static_cast<std::size_t>(length) * sizeof(double));
    return;
  }

  const FlushToZero flushToZero;
  if (firstBlock) {
    switchFader->lastSwitch = onOff;
    firstBlock = false;
  }
  const VolumeGlide glide{lastVolume, length > 1 ? (volume - lastVolume) * (1.0 / (length - 1)) : 0.0};
  const bool fades = !switchFader->rests(onOff);
  const bool rests = !fades && glide.step == 0.0;
  if (fades) switchFader->run(length, onOff, gainBuffer);
  if (fuzz != lastFuzz) setGain();
  bool good = isSoundVolume(volume) && isSoundFuzz(fuzz);
  if (length > 0) {
    stages->setVolume(glide.start);
    const Mixer mixer{inputs[0], outputs[0], glide, outputGain, rests, fades, onOff == 1.0F, switchFader->switchBuf,
                      gainBuffer};
    good &= runBlock(*stages, mixer, length);
  }
  lastVolume = volume;
  lastFuzz = fuzz;
  if (!good || (lookIsDue(length) && !historiesAreGood())) forgetBlock();
}

// After a set-up. The filters stay where they are, whatever their design; setGain() brings the curve up to date.
void Brumbler::joinStages() {
  stages.emplace(SignalStages{
      {fuzzPeak, adjustFilters[0], adjustFilters[1]},
      ovsA,
      ovsB,
      ovsState,
      clipCurve(),
      clipOutGain,
      toneK,
      toneZ1,
      toneZ2,
      {lowPeak, fuzzHighpass, revFilters[0], revFilters[1], revFilters[2], revFilters[3], revFilters[4], dcBlock}});
}

ClipCurve<double> Brumbler::clipCurve() const noexcept { return {clip[0], clipThrPos, clipThrNeg, clipDrive}; }

// Whether a look at the histories is due after `length` more samples. Counts down: no length is too long for it.
bool Brumbler::lookIsDue(int32 length) noexcept {
  samplesToLook -= length;
  if (samplesToLook > 0) return false;
  samplesToLook = kLookInterval;
  return true;
}

// The look at all histories: whether they hold what may stay. Sound parameters and good samples keep them so at any
// usual rate. Where the processor cannot flush denormals, it clears what is on its way to them.
bool Brumbler::historiesAreGood() noexcept {
  bool good = true;
  forEachHistory([&](double& history) {
    const double size = std::fabs(history);
    good &= size <= kLargestHistory;  // false for not-a-numbers
    if (!FlushToZero::kAvailable && size < kLeastHistory) history = 0.0;
  });
  return good;
}

// Starts over as after a set-up: silent histories, VOLUME from zero unless it is sound.
void Brumbler::forgetBlock() noexcept {
  forEachHistory([](double& history) { history = 0.0; });
  if (!isSoundVolume(volume)) lastVolume = 0.0;
}

// SPDX-License-Identifier: MIT
// The audio path: joins the effect's parameters, cross-fade and filters to the stages of the signal path, block by
// block.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "dsp/BrumblerHistories.h"
#include "dsp/FlushToZero.h"
#include "dsp/SwitchFader.h"
#include "dsp/path/Intake.h"
#include "dsp/path/runBlock.h"
#include "effect/Brumbler.h"

namespace {

// VOLUME and FUZZ outside 0 to 1 are stored and played, up to limits from which the effect recovers within 20 ms once
// the value is back between 0 and 1. A value beyond a limit plays as the limit, NaN as 0.
//
// VOLUME: the tone stage has a slow pole with the time constant g / (2 pi 1600 Hz Q), where Q = 0.35 VOLUME + 0.3 and g
// = 0.874 VOLUME^2 + 0.126. The time constant is 2.3 ms at 10 and 3.4 ms at -0.8. It grows without bound towards -6/7,
// where Q is 0.
constexpr float kLeastVolume = -0.8F;
constexpr float kLargestVolume = 10.0F;

// FUZZ: the 110 Hz peak boosts by 0.8 FUZZ^4 dB, so its histories may exceed the signal by that much. They decay by
// exp(-pi 110 Hz t / 0.8), 75 dB in 20 ms. At 1.7 the boost is 6.7 dB: after 20 ms a full-scale signal leaves 3.8e-4,
// less than half the smallest clipping threshold, 8e-4 at FUZZ 1.
constexpr float kLargestFuzz = 1.7F;

// At usual sample rates the histories stay far below this, whatever the samples and parameters. (Below 4 kHz the fixed
// sections at 2 to 8 kHz all end up at half the rate, and some settings make the path unstable.)
constexpr double kLargestHistory = 1e300;
constexpr double kLargestBoost = 0.8 * kLargestFuzz * kLargestFuzz * kLargestFuzz * kLargestFuzz;  // dB
static_assert(kLargestBoost < 20.0 && kLargestSample * 10.0 < 1e-200 * kLargestHistory);

// A history below this changes no float of the output. One above it does not decay to a denormal number within
// kLookInterval.
constexpr double kLeastHistory = 1e-200;

float limited(float value, float least, float largest) noexcept {
  return value == value ? std::clamp(value, least, largest) : 0.0F;
}

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
  const float heardFuzz = playedFuzz();
  const float endVolume = limited(volume, kLeastVolume, kLargestVolume);
  const VolumeGlide glide = VolumeGlide::between(lastVolume, endVolume, length);
  const bool fades = !switchFader->rests(onOff);
  if (fades) switchFader->run(length, onOff, gainBuffer);
  if (heardFuzz != lastFuzz) setGain();
  bool good = true;
  if (length > 0) {
    stages->setVolume(glide.start);
    const Mix mix = fades ? Mix::fade : glide.step != 0.0 ? Mix::glide : Mix::rest;
    const Mixer mixer{inputs[0], outputs[0], glide, outputGain, mix, onOff == 1.0F, switchFader->switchBuf, gainBuffer};
    good = runBlock(*stages, mixer, length);
  }
  lastVolume = endVolume;
  lastFuzz = heardFuzz;
  if (!good || (lookIsDue(length) && !historiesAreGood())) forgetBlock();
}

float Brumbler::playedFuzz() const noexcept { return limited(fuzz, -kLargestFuzz, kLargestFuzz); }

// Called after a set-up. The filters stay where they are when they are designed anew; setGain() updates the curve.
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

// Whether the histories are due for a check after `length` more samples. Counts down, so no length can overflow it.
bool Brumbler::lookIsDue(int32 length) noexcept {
  samplesToLook -= length;
  if (samplesToLook > 0) return false;
  samplesToLook = kLookInterval;
  return true;
}

// Checks that all histories are finite and not too large; at usual rates they always are. Where the processor cannot
// flush denormals, also clears histories before they become denormal.
bool Brumbler::historiesAreGood() noexcept {
  bool good = true;
  forEachHistory([&](double& history) {
    const double size = std::fabs(history);
    good &= size <= kLargestHistory;  // false for NaN
    if (!FlushToZero::kAvailable && size < kLeastHistory) history = 0.0;
  });
  return good;
}

// Clears the histories after a bad block, so that the next one starts from silence.
void Brumbler::forgetBlock() noexcept {
  forEachHistory([](double& history) { history = 0.0; });
}

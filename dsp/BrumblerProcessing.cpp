// SPDX-License-Identifier: MIT
// The audio path.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "dsp/Clipper.h"
#include "dsp/FlushToZero.h"
#include "dsp/IIRFilter.h"
#include "dsp/SignalPath.h"
#include "dsp/SwitchFader.h"
#include "dsp/laneCount.h"
#include "effect/Brumbler.h"

namespace {

constexpr int kPiece = 256;  // samples that are worked on at once, on the stack

// What may stay in a history. Guitars leave less than 1e3, a sample of 1e30 not yet 1e33; what lies beyond would clip
// for seconds after the fault that made it.
constexpr double kLargestHistory = 1e36;

// Parameters this far outside 0 to 1 may make filters unstable; a block obeys them but leaves nothing behind.
constexpr float kLeastParameter = -0.5F;
constexpr float kLargestParameter = 2.0F;

constexpr int32 kCheckInterval = 64;  // samples, at least, between two looks at all histories

bool isSound(float parameter) noexcept { return parameter >= kLeastParameter && parameter <= kLargestParameter; }

// Calls step.operator()<count>(i) for the samples from `first` up to `end`: two at a time, then one that is left.
template <typename Step>
[[gnu::always_inline]] inline void forEachPair(int first, int end, const Step& step) noexcept {
  int i = first;
  for (; i + 1 < end; i += 2) step.template operator()<2>(i);
  if (i < end) step.template operator()<1>(i);
}

// Takes the samples from `first` up to `end` in; false when one is too large to stay in a history, or no number (or
// when all of them together are too large: no signal comes near that). Denormal ones go as zeros: nothing of them would
// reach the output, they vanish where the interpolated sample is added to the centre of the curve, but as operands they
// cost some processors a hundred cycles each.
[[gnu::always_inline]] inline bool takeIn(const double* in, int first, int end, double* piece) noexcept {
  Lanes sum = {0.0, 0.0};
  forEachPair(first, end, [&]<int count>(int i) {
    const Lanes samples = withoutDenormals(loadLanes<count>(in + i));
    sum += magnitudes(samples);
    storeLanes<count>(piece + (i - first), samples);
  });
  return sum[0] + sum[1] <= kLargestHistory;  // false for not-a-numbers
}

// Where the switch value is 1 the effect signal, elsewhere the dry input, each times the fade's gain. An effect sample
// that is not finite becomes 0. `out` may be `dry`.
struct Mixer {
  const float* switchValues;
  const double* gains;
  const double* dry;
  double* out;
  VolumeGlide volume;
  double outputGain;

  // Writes the samples from `first` up to `end`, whose effect signal is effect[0] onwards. False when one was not
  // finite.
  [[gnu::always_inline]] bool run(const double* effect, int first, int end) const noexcept {
    Lanes sum = {0.0, 0.0};
    Lanes counter = {static_cast<double>(first), first + 1.0};
    forEachPair(first, end, [&]<int count>(int i) {
      sum += mix<count>(loadLanes<count>(effect + (i - first)), i, counter);
      counter += 2.0;
    });
    return settle(sum, first, end);
  }

  // Writes `count` samples from sample i on, which is counter[0]; returns their effect signal at its loudness.
  template <int count>
  [[gnu::always_inline]] Lanes mix(Lanes effect, int i, Lanes counter) const noexcept {
    const Lanes gain = loadLanes<count>(gains + i);
    const Lanes wet = ((gain * effect) * volume.at(counter)) * outputGain;
    const Lanes through = gain * withoutDenormals(loadLanes<count>(dry + i));
    const Lanes source = {switchValues[i], switchValues[i + count - 1]};
    storeLanes<count>(out + i, source == bothLanes(1.0) ? wet : through);
    return wet;
  }

  // `sum` of what mix() returned for the samples from `first` up to `end`.
  [[gnu::always_inline]] bool settle(Lanes sum, int first, int end) const noexcept {
    if (std::isfinite(sum[0] + sum[1])) return true;
    for (int i = first; i < end; ++i) {
      if (switchValues[i] == 1.0F && !std::isfinite(out[i])) out[i] = 0.0;
    }
    return false;
  }
};

// A whole block through all stages and the mixer, for fewer than kLongBlock samples. False when something passed that
// must not stay. A sample goes from end to end in registers: where everything waits for everything, a way through
// memory made a block of one 5 % slower.
bool runShort(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  const VolumeGlide& volume = mixer.volume;
  auto coefficients = ToneCoefficients<double>::forVolume(stages.toneK, volume.start);
  Lanes taken = {0.0, 0.0};
  Lanes mixed = {0.0, 0.0};
  for (int i = 0; i < length; ++i) {
    if (i > 0 && volume.step != 0.0) {
      coefficients = ToneCoefficients<double>::forVolume(stages.toneK, volume.at<double>(i));
    }
    const Lanes sample = withoutDenormals(loadLanes<1>(mixer.dry + i));
    taken += magnitudes(sample);
    const double effect = runSample(stages, coefficients, sample[0]);
    mixed += mixer.mix<1>(Lanes{effect, 0.0}, i, bothLanes(i));
  }
  return mixer.settle(mixed, 0, length) && taken[0] <= kLargestHistory;
}

// The same for any length, faster from kLongBlock samples up. The outputs come kDelay steps after the inputs; behind
// the last input follow kDelay steps more.
template <int width>
bool runLong(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  constexpr int kDelay = SignalPath<width>::kDelay;
  SignalPath<width> path(stages, mixer.volume, length);
  double piece[kPiece];
  bool good = true;
  for (int first = 0; first < length + kDelay; first += kPiece) {
    const int end = std::min(first + kPiece, length + kDelay);
    const int inputEnd = std::clamp(end, first, std::max(first, length));
    good &= takeIn(mixer.dry, first, inputEnd, piece);
    std::fill(piece + (inputEnd - first), piece + (end - first), 0.0);  // any number will do, but not a slow one
    path.run(piece, first, end);
    const int skipped = std::max(kDelay - first, 0);
    good &= mixer.run(piece + skipped, first + skipped - kDelay, end - kDelay);
  }
  return good;
}

// Flattened, so that all it calls becomes part of it and AVX2 code: nothing of that is left for other processors to
// stumble over. clang++ flattens one level only; its builds stay with two lanes.
#if defined(__x86_64__) && !defined(__clang__)
#define BRUMBLER_FOUR_LANES
[[gnu::target("avx2"), gnu::flatten]] bool runLongByFours(const SignalStages& stages, const Mixer& mixer,
                                                          int length) noexcept {
  return runLong<4>(stages, mixer, length);
}
#endif

}  // namespace

#ifdef BRUMBLER_FOUR_LANES
int laneCount = __builtin_cpu_supports("avx2") ? 4 : 2;
#else
int laneCount = 2;
#endif

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
  switchFader->run(length, onOff, gainBuffer);
  const VolumeGlide glide{lastVolume, length > 1 ? (volume - lastVolume) * (1.0 / (length - 1)) : 0.0};
  if (fuzz != lastFuzz) setGain();
  const bool good =
      (length == 0 || processBlock(inputs[0], outputs[0], length, glide)) && isSound(volume) && isSound(fuzz);
  lastVolume = volume;
  lastFuzz = fuzz;
  samplesUnchecked += length;
  if (!good || (samplesUnchecked >= kCheckInterval && !historiesAreGood())) forgetBlock();
}

// `length` at least 1. `in` and `out` may be the same. False when something passed that must not stay.
bool Brumbler::processBlock(const double* in, double* out, int length, VolumeGlide glide) {
  const SignalStages stages{
      {fuzzPeak, adjustFilters[0], adjustFilters[1]},
      ovsA,
      ovsB,
      ovsState,
      ClipCurve(clip[0], clipThrPos, clipThrNeg, clipDrive),
      clipOutGain,
      toneK,
      toneZ1,
      toneZ2,
      {lowPeak, fuzzHighpass, revFilters[0], revFilters[1], revFilters[2], revFilters[3], revFilters[4], dcBlock}};
  const Mixer mixer{switchFader->switchBuf, gainBuffer, in, out, glide, outputGain};
  if (length < kLongBlock) return runShort(stages, mixer, length);
#ifdef BRUMBLER_FOUR_LANES
  if (laneCount == 4) return runLongByFours(stages, mixer, length);
#endif
  return runLong<2>(stages, mixer, length);
}

template <typename Function>
void Brumbler::forEachSection(Function function) const {
  for (IIRFilter* section : {fuzzPeak, lowPeak, fuzzHighpass, dcBlock}) function(*section);
  for (int32 s = 0; s < adjustCount; ++s) function(*adjustFilters[s]);
  for (int32 s = 0; s < revCount; ++s) function(*revFilters[s]);
}

// Whether the histories hold what may stay. Sound parameters and good samples keep them so at any usual rate.
bool Brumbler::historiesAreGood() noexcept {
  bool good = true;
  const auto check = [&](double history) { good &= std::fabs(history) <= kLargestHistory; };  // false for not-a-numbers
  forEachSection([&](const IIRFilter& section) {
    check(section.z1);
    check(section.z2);
  });
  for (const auto& row : ovsState) std::for_each(std::begin(row), std::end(row), check);
  check(toneZ1);
  check(toneZ2);
  samplesUnchecked = 0;
  return good;
}

// Starts over as after a set-up: silent histories, VOLUME from zero unless it is sound.
void Brumbler::forgetBlock() noexcept {
  forEachSection([](IIRFilter& section) { section.refresh(); });
  std::fill_n(&ovsState[0][0], 12, 0.0);
  toneZ1 = 0.0;
  toneZ2 = 0.0;
  if (!isSound(volume)) lastVolume = 0.0;
  samplesUnchecked = 0;
}

// SPDX-License-Identifier: MIT
#include "dsp/runBlock.h"

#include <algorithm>

#include "dsp/Intake.h"
#include "dsp/laneCount.h"

namespace {

constexpr int kPiece = 256;  // samples that are worked on at once, on the stack

// For fewer than kLongBlock samples. A sample goes from end to end in registers: where everything waits for everything,
// a way through memory made a block of one 5 % slower.
bool runShort(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  const VolumeGlide& volume = mixer.volume;
  auto coefficients = ToneCoefficients<double>::forVolume(stages.toneK, volume.start);
  Intake intake;
  Lanes mixed = {0.0, 0.0};
  for (int i = 0; i < length; ++i) {
    if (i > 0 && volume.step != 0.0) {
      coefficients = ToneCoefficients<double>::forVolume(stages.toneK, volume.at<double>(i));
    }
    const Lanes sample = intake.take<1>(mixer.dry + i);
    const double effect = runSample(stages, coefficients, sample[0]);
    mixed += mixer.mix<1>(Lanes{effect, 0.0}, i, bothLanes(i));
  }
  return mixer.settle(mixed, 0, length) && intake.good();
}

// For any length, faster from kLongBlock samples up. The outputs come kDelay steps after the inputs; behind the last
// input follow kDelay steps more.
template <int width>
bool runLong(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  constexpr int kDelay = SignalPath<width>::kDelay;
  SignalPath<width> path(stages, mixer.volume, length);
  double piece[kPiece];
  bool good = true;
  const Step steps = Step{length} + kDelay;
  for (Step first = 0; first < steps; first += kPiece) {
    const Step end = std::min(first + kPiece, steps);
    const int count = static_cast<int>(end - first);
    const int inputs = static_cast<int>(std::clamp<Step>(length - first, 0, count));
    Intake intake;
    intake.take(mixer.dry + std::min<Step>(first, length), inputs, piece);
    good &= intake.good();
    std::fill(piece + inputs, piece + count, 0.0);  // any number will do, but not a slow one
    path.run(piece, first, end);
    const int skipped = static_cast<int>(std::max<Step>(kDelay - first, 0));
    good &= mixer.run(piece + skipped, static_cast<int>(first - kDelay) + skipped, static_cast<int>(end - kDelay));
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

bool runBlock(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  if (length < kLongBlock) return runShort(stages, mixer, length);
#ifdef BRUMBLER_FOUR_LANES
  if (laneCount == 4) return runLongByFours(stages, mixer, length);
#endif
  return runLong<2>(stages, mixer, length);
}

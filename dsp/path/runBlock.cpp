// SPDX-License-Identifier: MIT
#include "dsp/path/runBlock.h"

#include <algorithm>

#include "dsp/path/Intake.h"
#include "dsp/path/StageByStage.h"
#include "dsp/path/laneCount.h"
#include "dsp/path/runSample.h"

namespace {

constexpr int kPiece = 256;  // samples processed at a time, on the stack

// From this many samples up, the forms for long blocks are used. The limits come from counted instructions: no block
// length takes more of them than one sample at a time through one section at a time. By time, the long forms already
// pay from 8 samples up on x86 with clang++ (bench/README.md).
#if defined(__aarch64__) || defined(__i386__) || defined(__arm__)
constexpr int kLongBlock = 16;
#elif defined(__x86_64__) && defined(__clang__)
constexpr int kLongBlock = 12;
#else
constexpr int kLongBlock = 8;
#endif

// The tone stage for sample i of a gliding block. noinline: otherwise a block at rest would load all its constants,
// too.
[[gnu::noinline]] ToneCoefficients<double> glidingTone(const SignalStages& stages, const VolumeGlide& volume,
                                                       int i) noexcept {
  return ToneCoefficients<double>::forVolume(stages.toneK, volume.at<double>(i));
}

// For fewer than kLongBlock samples. A sample stays in registers from end to end: each operation waits for the one
// before, and a store and a load in between made a block of one sample 5 % slower.
bool runShort(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  const VolumeGlide& volume = mixer.volume;
  const ToneCoefficients<double>* coefficients = &stages.tone;
  ToneCoefficients<double> gliding;
  Intake intake;
  double sum = 0.0;
  for (int i = 0; i < length; ++i) {
    if (i > 0 && volume.step != 0.0) {
      gliding = glidingTone(stages, volume, i);
      coefficients = &gliding;
    }
    const double effect = runSample(stages, *coefficients, intake.take<double>(mixer.dry + i));
    sum += mixer.put(effect, i);
  }
  return mixer.settle(sum, 0, length) && intake.good();
}

// Runs the path's steps from `first` up to `end`.
void run(SignalPath<2>& path, double* steps, Step first, Step end) noexcept { path.run(steps, first, end); }

// Four lanes, with g++ only. gnu::flatten inlines everything that this function calls, so that all of it is compiled
// for AVX2 here and the linker cannot use a function compiled for AVX2 on other processors. With clang++ four lanes
// took 0.93 to 0.96 of the time of two, and only in long blocks, so they are left out. On Windows g++ does not align
// the stack for vectors of four doubles.
#if defined(__x86_64__) && !defined(__clang__) && !defined(_WIN32)
#define BRUMBLER_FOUR_LANES
[[gnu::target("avx2"), gnu::flatten, gnu::noinline]] void run(SignalPath<4>& path, double* steps, Step first,
                                                              Step end) noexcept {
  path.run(steps, first, end);
}
#endif

// For any length; faster from kLongBlock samples up. An output comes kDelay steps after its input, so kDelay more steps
// follow the last input.
//
// noinline, as is the next form: inlined into runBlock(), they would make the short-block path spill its registers.
template <int width>
[[gnu::noinline]] bool runLong(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
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
    std::fill(piece + inputs, piece + count, 0.0);  // any value will do, but not a denormal one, which is slow
    run(path, piece, first, end);
    const int skipped = static_cast<int>(std::max<Step>(kDelay - first, 0));
    good &= mixer.run(piece + skipped, static_cast<int>(first - kDelay) + skipped, static_cast<int>(end - kDelay));
  }
  return good;
}

// The same for processors without vectors of doubles.
[[maybe_unused, gnu::noinline]] bool runStageByStage(const SignalStages& stages, const Mixer& mixer,
                                                     int length) noexcept {
  constexpr int kMost = StageByStage::kPiece;
  StageByStage path(stages, mixer.volume);
  double piece[kMost];
  bool good = true;
  for (int first = 0; first < length;) {
    const int end = first + std::min(kMost, length - first);
    Intake intake;
    intake.take(mixer.dry + first, end - first, piece);
    good &= intake.good();
    path.run(piece, first, end);
    good &= mixer.run(piece, first, end);
    first = end;
  }
  return good;
}

}  // namespace

#ifdef BRUMBLER_FOUR_LANES
int laneCount = __builtin_cpu_supports("avx2") ? 4 : 2;
#else
int laneCount = 2;
#endif

bool runBlock(const SignalStages& stages, const Mixer& mixer, int length) noexcept {
  if (length < kLongBlock) return runShort(stages, mixer, length);
  if constexpr (!kHasLanes) return runStageByStage(stages, mixer, length);
#ifdef BRUMBLER_FOUR_LANES
  if (laneCount == 4) return runLong<4>(stages, mixer, length);
#endif
  return runLong<2>(stages, mixer, length);
}

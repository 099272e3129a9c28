// SPDX-License-Identifier: MIT
// Compares the effect with the plain chain, bit for bit.
#include <doctest/doctest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "dsp/FlushToZero.h"
#include "dsp/path/SignalPath.h"
#include "dsp/path/laneCount.h"
#include "tests/PlainChain.h"
#include "tests/Player.h"

namespace {

// A host's use of the effect, at random: blocks of any length, in place and not, parameters, programs, rates.
class RandomSession {
 public:
  explicit RandomSession(unsigned seed) : random_(seed) { plain_.setUp(rate_); }

  long samples = 0;
  long differing = 0;

  void step() {
    switch (pick(12)) {
      case 0: setParameter(0, pick(3) == 0 ? uniform() : static_cast<float>(pick(2))); break;
      case 1: setParameter(1, pick(4) == 0 ? kOddVolumes[pick(7)] : uniform()); break;
      case 2: setParameter(2, pick(4) == 0 ? kOddFuzzes[pick(8)] : uniform()); break;
      case 3: setProgram(pick(16)); break;
      case 4:
        if (pick(30) == 0) setRate(kRates[pick(6)]);
        break;
      default: block(); break;
    }
  }

 private:
  static constexpr int kRates[] = {44100, 48000, 88200, 96000, 22050, 192000};
  static constexpr float kOddVolumes[] = {0.0F, 1.0F, -0.8F, -0.3F, 2.5F, 10.0F, -0.0F};
  static constexpr float kOddFuzzes[] = {0.0F, 1.0F, -1.7F, -0.6F, -0.0F, 1.2F, 1.5F, 1.7F};

  int pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }
  float uniform() { return std::uniform_real_distribution<float>(0.0F, 1.0F)(random_); }

  void setParameter(int index, float value) {
    player_.set(index, value);
    Program& program = programs_[program_];
    program.values[index] = value;
    plain_.onOff = program.values[0];
    plain_.volume = program.values[1];
    plain_.fuzz = program.values[2];
  }

  void setProgram(int program) {
    player_.setProgram(program);
    program_ = program;
    setParameter(0, programs_[program_].values[0]);
  }

  void setRate(int rate) {
    player_.setUp(rate);
    if (rate != rate_) plain_.setUp(rate);
    rate_ = rate;
  }

  // Noise, tones, steps, silence and extremes, at any level; amplitudes down to the smallest numbers that exist.
  void fill(std::vector<double>& signal) {
    const int kind = pick(8);
    const double level = std::pow(10.0, std::uniform_real_distribution<double>(-4.0, 1.0)(random_));
    std::uniform_real_distribution<double> noise(-level, level);
    const double huge[] = {1e30, -1e30, 1e20};
    const double tiny[] = {1e-300, -1e-307, 3e-308, 5e-320, -2e-308};
    for (double& x : signal) {
      switch (kind) {
        case 0: x = 0.0; break;
        case 1: x = level; break;
        case 2: x = tiny[pick(5)] * uniform(); break;
        case 3: x = pick(200) == 0 ? huge[pick(3)] : noise(random_); break;
        case 4: x = level * std::sin(phase_ += 0.02); break;
        default: x = noise(random_); break;
      }
    }
  }

  // To the bit. Where the processor cannot flush denormals, the effect clears histories that are far below anything
  // heard, and the chain does not.
  static bool same(double value, double expected) {
    if (!FlushToZero::kAvailable && std::fabs(value) < 1e-150 && std::fabs(expected) < 1e-150) return true;
    return std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(expected);
  }

  void block() {
    const int lengths[] = {pick(4), pick(40), pick(300), 64, 1 + pick(3000)};
    const int n = lengths[pick(5)];
    std::vector<double> in(static_cast<std::size_t>(n));
    fill(in);
    std::vector<double> expected(in.size());
    plain_.process(in.data(), expected.data(), n);

    std::vector<double> out = in;
    player_.play(pick(2) == 0 ? in.data() : out.data(), out.data(), n);
    for (std::size_t i = 0; i < in.size(); ++i) {
      if (!same(out[i], expected[i])) ++differing;
    }
    samples += n;
  }

  std::mt19937 random_;
  Player player_;
  PlainChain plain_;
  struct Program {
    float values[3] = {1.0F, 0.5F, 0.5F};
  } programs_[16];
  int program_ = 0;
  int rate_ = 44100;
  double phase_ = 0.0;
};

// Outputs and histories of a path that runs the first 30 and the last 70 samples of a block of `length`.
std::vector<double> endsOfBlock(int length) {
  filterPrm_tag peak{FT_PEQ, 2000.0, 0.0, 0.0, 1.4, 6.0, 44100.0};
  std::vector<IIRFilter> s(11, IIRFilter(&peak));
  const double a[] = {4.75, -9.07, 8.69, -4.18, 0.806};
  const double b[] = {6e-6, -9e-7, 6e-6, 6e-6, -9e-7, 6e-6};
  double histories[2][6] = {};
  double z1 = 0.0, z2 = 0.0;
  const ClipCurve<double> curve(Brumbler::clip[0], 1e-3, -8e-4, 1e3);
  // clang-format off
  const SignalStages stages{{&s[0], &s[1], &s[2]}, a, b, histories, curve, 0.07, 0.11, z1, z2,
                            {&s[3], &s[4], &s[5], &s[6], &s[7], &s[8], &s[9], &s[10]}};
  // clang-format on
  std::vector<double> steps = pluckedStrings(100 + SignalPath<2>::kDelay);
  SignalPath<2> path(stages, VolumeGlide{0.5, 0.0}, length);
  path.run(steps.data(), 0, 30);
  path.run(steps.data() + 30, Step{length} - 70, Step{length} + SignalPath<2>::kDelay);
  for (const IIRFilter& section : s) steps.insert(steps.end(), {section.z1, section.z2});
  steps.insert(steps.end(), &histories[0][0], &histories[0][0] + 12);
  steps.insert(steps.end(), {z1, z2});
  return steps;
}

}  // namespace

TEST_CASE("every processed sample equals the plain chain's, to the bit, whatever the lanes") {
  long samples = 0;
  const int widest = laneCount;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    CAPTURE(seed);
    laneCount = seed % 2 == 0 ? 2 : widest;
    CAPTURE(laneCount);
    RandomSession session(seed);
    for (int i = 0; i < 900; ++i) session.step();
    CHECK(session.differing == 0);
    samples += session.samples;
  }
  laneCount = widest;
  CHECK(samples > 2000000);
  MESSAGE(samples << " samples compared, half of them with " << widest << " lanes");
}

TEST_CASE("the longest block there can be opens and closes as a short one does") {
  const Player forItsTable;
  CHECK(endsOfBlock(std::numeric_limits<int>::max()) == endsOfBlock(100));
}

// SPDX-License-Identifier: MIT
// brumbler_count COUNTERS [block length]...
//
// Prints what a sample costs the effect and the plain chain, in instructions, loads and stores, exactly. Runs under
// QEMU with the plug-in beside it (scripts in bench/README.md), which keeps the file COUNTERS.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/count/Counters.h"
#include "bench/subjects.h"

namespace {

constexpr int kSamples = 2048;  // at least, of the shorter run

struct Cost {  // of a sample
  double instructions, loads, stores;
};

class Bench {
 public:
  explicit Bench(const Counters& counters) : counters_(&counters) {}

  // Plays blocks of `length`. `gliding`: each with another VOLUME than the one before.
  template <typename Subject>
  Cost costOf(int length, bool gliding) {
    Subject subject;
    const int blocks = std::max(1, kSamples / length);
    play(subject, 2, length, gliding);  // until VOLUME has risen and all code is known
    // The difference of two lengths: nothing of what stands around the blocks stays in it.
    const Counters once = play(subject, blocks, length, gliding);
    const Counters twice = play(subject, 2 * blocks, length, gliding);
    const double samples = static_cast<double>(blocks) * length;
    const auto each = [&](std::uint64_t Counters::*counter) {
      return static_cast<double>(twice.*counter - once.*counter) / samples;
    };
    return {each(&Counters::instructions), each(&Counters::loads), each(&Counters::stores)};
  }

 private:
  Counters now() const {
    const volatile Counters& c = *counters_;
    return {c.instructions, c.loads, c.stores};
  }

  template <typename Subject>
  [[gnu::noinline]] Counters play(Subject& subject, int blocks, int length, bool gliding) {
    const Counters before = now();
    for (int b = 0; b < blocks; ++b) {
      if (gliding) subject.setVolume((high_ = !high_) ? 0.8F : 0.3F);
      subject.process(in_.data() + b * length % (kLongest + 1 - length), out_.data(), length);
    }
    const Counters after = now();
    return {after.instructions - before.instructions, after.loads - before.loads, after.stores - before.stores};
  }

  static constexpr int kLongest = 16384;
  bool high_ = false;
  const Counters* counters_;
  std::vector<double> in_ = noise(0.3, kLongest);
  std::vector<double> out_ = std::vector<double>(kLongest);
};

}  // namespace

int main(int argc, char** argv) {
  const int file = argc > 1 ? open(argv[1], O_RDONLY) : -1;
  void* const mapped = file < 0 ? MAP_FAILED : mmap(nullptr, sizeof(Counters), PROT_READ, MAP_SHARED, file, 0);
  if (mapped == MAP_FAILED || static_cast<const volatile Counters*>(mapped)->instructions == 0) {
    std::fprintf(
        stderr,
        "usage: brumbler_count COUNTERS [block length]..., under QEMU with the plug-in that keeps the file COUNTERS\n");
    return 1;
  }
  std::vector<int> lengths;
  for (int i = 2; i < argc; ++i) lengths.push_back(std::clamp(std::atoi(argv[i]), 1, 4096));
  if (lengths.empty()) lengths = {1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 128, 512, 4096};

  Bench bench(*static_cast<const Counters*>(mapped));
  std::printf("| block | effect | plain | ratio | loads | stores | gliding: effect | plain | ratio |\n");
  std::printf("|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
  for (const int length : lengths) {
    const Cost effect = bench.costOf<Instance>(length, false);
    const Cost plain = bench.costOf<LockedPlainChain>(length, false);
    const Cost glidingEffect = bench.costOf<Instance>(length, true);
    const Cost glidingPlain = bench.costOf<LockedPlainChain>(length, true);
    std::printf("| %d | %.1f | %.1f | %.2f | %.0f/%.0f | %.0f/%.0f | %.1f | %.1f | %.2f |\n", length,
                effect.instructions, plain.instructions, effect.instructions / plain.instructions, effect.loads,
                plain.loads, effect.stores, plain.stores, glidingEffect.instructions, glidingPlain.instructions,
                glidingEffect.instructions / glidingPlain.instructions);
    std::fflush(stdout);
  }
  return 0;
}

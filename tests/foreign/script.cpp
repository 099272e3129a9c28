// SPDX-License-Identifier: MIT
// Renders a fixed script of blocks and changes and compares the result with the one of another target:
//   script OUTPUT REFERENCE [53]
// 53: with the x87 unit set to double precision, as hosts on Windows have it. Writes raw doubles. Status 1 if a sample
// is not the same double as in REFERENCE, 77 without REFERENCE.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

#include "ForeignHost.h"

namespace {

// A generator that gives every target the same numbers, 0 to 1.
double dice() {
  static std::uint32_t state = 1;
  state = state * 1664525U + 1013904223U;
  return (state >> 8) / 16777216.0;
}

// The usual ones, and others at which C libraries' functions differ from one another.
constexpr int kRates[] = {44100, 48000, 96000, 88200, 192000, 8000,  16000, 22050, 32000, 6000,
                          11127, 18900, 24576, 37800, 44056,  44144, 47952, 50400, 62500, 352800};

std::vector<double> render() {
  const Module module;
  std::vector<double> all;
  for (const int rate : kRates) {
    const Effect effect(module.entry());
    answer = rate;
    effect.dispatch(10, 0, 0, nullptr, static_cast<float>(rate));
    double ringing = 0;
    for (int block = 0; block < 40; ++block) {
      const auto length = static_cast<std::size_t>(dice() * 400);
      std::vector<double> in(length), out(length);
      if (block % 9 == 0) ringing = dice() < 0.5 ? 0.5 * dice() : 1e-4 * dice();
      for (double& sample : in) sample = (ringing *= 0.9995) * (2 * dice() - 1);
      const double turn = dice();
      if (turn < 0.2) effect.dispatch(2, 0, static_cast<Word>(dice() * 16));
      if (turn > 0.3) effect.set(block % 5 == 0 ? 0 : block % 2 + 1, static_cast<float>(dice() < 0.2 ? 1 : dice()));
      if (turn > 0.8) effect.set(0, 1.0F);
      effect.process(in.data(), out.data(), static_cast<std::int32_t>(length));
      all.insert(all.end(), out.begin(), out.end());
    }
  }
  return all;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef __x86_64__
  constexpr std::uint16_t kDoublePrecision = 0x27F;
  if (argc > 3) asm volatile("fldcw %0" ::"m"(kDoublePrecision));
#else
  static_cast<void>(argc);
#endif
  const std::vector<double> sound = render();
  // C's files: C++'s are missing from Debian 13's library for WebAssembly.
  std::FILE* file = std::fopen(argv[1], "wb");
  if (file == nullptr || std::fwrite(sound.data(), sizeof(double), sound.size(), file) != sound.size() ||
      std::fclose(file) != 0) {
    return 1;
  }
  std::vector<double> reference(sound.size() + 1);
  file = std::fopen(argv[2], "rb");
  if (file == nullptr) return 77;
  const std::size_t read = std::fread(reference.data(), sizeof(double), reference.size(), file);
  std::fclose(file);
  const bool sameLength = read == sound.size();  // or the release build's tests must run again
  double peak = 0;
  std::size_t equal = 0;
  for (std::size_t i = 0; i < sound.size(); ++i) {
    peak = std::max(peak, std::fabs(reference[i]));
    equal += std::bit_cast<std::uint64_t>(sound[i]) == std::bit_cast<std::uint64_t>(reference[i]) ? 1 : 0;
  }
  std::printf("%zu of %zu samples are the same double\n", equal, sound.size());
  return sameLength && peak > 0.01 && equal == sound.size() ? 0 : 1;
}

// SPDX-License-Identifier: MIT
// Renders a fixed script of blocks and changes and compares the result with the one of another target:
//   script OUTPUT REFERENCE
// Writes raw doubles. Status 1 when a sample differs from REFERENCE by more than 1e-12 of the peak, 77 without
// REFERENCE.
#include <algorithm>
#include <cmath>
#include <fstream>

#include "ForeignHost.h"

namespace {

// A generator that gives every target the same numbers, 0 to 1.
double dice() {
  static std::uint32_t state = 1;
  state = state * 1664525U + 1013904223U;
  return (state >> 8) / 16777216.0;
}

std::vector<double> render() {
  const Module module;
  std::vector<double> all;
  for (const int rate : {44100, 48000, 96000, 8000}) {
    const Effect effect(module.entry());
    answer = rate;
    effect.dispatch(10, 0, 0, nullptr, static_cast<float>(rate));
    double ringing = 0;
    for (int block = 0; block < 60; ++block) {
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

int main(int /*argc*/, char** argv) {
  const std::vector<double> sound = render();
  const auto bytes = static_cast<std::streamsize>(sound.size() * sizeof(double));
  std::ofstream(argv[1], std::ios::binary).write(reinterpret_cast<const char*>(sound.data()), bytes);

  std::vector<double> reference(sound.size() + 1);
  std::ifstream file(argv[2], std::ios::binary);
  if (!file) return 77;
  file.read(reinterpret_cast<char*>(reference.data()), bytes + 1);
  const bool sameLength = file.gcount() == bytes;  // or the release build's tests must run again
  double peak = 0, most = 0;
  std::size_t equal = 0;
  for (std::size_t i = 0; i < sound.size(); ++i) {
    peak = std::max(peak, std::fabs(reference[i]));
    most = std::isfinite(sound[i]) ? std::max(most, std::fabs(sound[i] - reference[i])) : INFINITY;
    equal += sound[i] == reference[i] ? 1 : 0;
  }
  std::printf("%zu of %zu samples are the same double; the others differ by at most %.3g of the peak\n", equal,
              sound.size(), most / peak);
  return sameLength && peak > 0.01 && most <= 1e-12 * peak ? 0 : 1;
}

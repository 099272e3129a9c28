// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <vector>

#include "effect/Brumbler.h"
#include "player/HostedEffect.h"

using Samples = std::vector<double>;

// An effect under our own host. It plays from the first block on as the effect does, without start().
class Player {
 public:
  explicit Player(int32 rate = 44100, int32 announced = 1024)
      : host_(getinterface, rate, announced), rate_(rate), announced_(announced) {}

  bool exists() const { return host_.exists(); }
  Brumbler& effect() { return static_cast<Brumbler&>(host_.extension()); }

  void setUp(int32 rate) { host_.announce(rate_ = rate, announced_); }
  // Announces only `rate`, and still returns the previous one when asked.
  void announceRate(float rate) { host_.ask(EffectOpcode::setSampleRate, 0, 0, nullptr, rate); }
  void announce(int32 samples) { host_.announce(rate_, announced_ = samples); }
  void setProgram(int32 program) { host_.setProgram(program); }
  void set(int32 parameter, float value) { host_.setParameter(parameter, value); }

  void play(const double* in, double* out, int32 length) { host_.process(in, out, length); }
  Samples play(const Samples& in) {
    Samples out(in.size());
    play(in.data(), out.data(), static_cast<int32>(in.size()));
    return out;
  }

 private:
  HostedEffect host_;
  int32 rate_;
  int32 announced_;
};

// Sample `n` of a bass line: a string is plucked four times a second, each time at another pitch, and decays.
inline double pluckedString(int n, double rate) {
  const double t = n / rate;
  const int note = static_cast<int>(t * 4.0);
  const double age = t - note / 4.0;
  const double phase = 2.0 * 3.14159265358979 * (41.2 + 13.7 * (note * 5 % 8)) * age;
  double sum = 0.0;
  for (int k = 1; k < 9; ++k) sum += std::sin(k * phase) / k * std::exp(-(2.0 + k) * age);
  return 0.3 * sum;
}

inline Samples pluckedStrings(int samples, double rate = 44100.0, int first = 0) {
  Samples sound;
  for (int n = first; n < first + samples; ++n) sound.push_back(pluckedString(n, rate));
  return sound;
}

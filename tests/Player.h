// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <vector>

#include "effect/Brumbler.h"
#include "host/Q_TypeIF.h"

using Sound = std::vector<double>;

// An effect and a host that plays through it, as a host does: from an exported entry on, through the record alone.
class Player {
 public:
  explicit Player(int32 rate = 44100, int32 announced = 1024) {
    Q_TypeIF* const wrapper = getinterface(answer);
    if (wrapper == nullptr) return;
    record_ = wrapper->aeffect;
    delete wrapper;
    announce(announced);
    setUp(rate);
  }
  Player(Player&&) = delete;
  ~Player() {
    if (record_ != nullptr) dispatch(EffectOpcode::close, 0, 0.0F);
  }

  bool exists() const { return record_ != nullptr; }
  Brumbler& effect() { return static_cast<Brumbler&>(*static_cast<AudioEffect*>(record_->object)); }

  // The host answers `rate` when asked, and announces it, or `announced`.
  void setUp(int32 rate) { setUp(rate, static_cast<float>(rate)); }
  void setUp(int32 rate, float announced) {
    hostRate = rate;
    dispatch(EffectOpcode::setSampleRate, 0, announced);
  }
  void announce(int32 samples) { dispatch(EffectOpcode::setBlockSize, samples, 0.0F); }
  void setProgram(int32 program) { dispatch(EffectOpcode::setProgram, program, 0.0F); }
  void set(int32 parameter, float value) { record_->setParameter(record_, parameter, value); }

  void play(const double* in, double* out, int32 length) {
    auto* source = const_cast<double*>(in);
    record_->processDoubleReplacing(record_, &source, &out, length);
  }
  Sound play(const Sound& in) {
    Sound out(in.size());
    play(in.data(), out.data(), static_cast<int32>(in.size()));
    return out;
  }

 private:
  void dispatch(EffectOpcode opcode, intptr value, float opt) {
    record_->dispatcher(record_, static_cast<int32>(opcode), 0, value, nullptr, opt);
  }

  inline static thread_local int32 hostRate = 0;
  static intptr answer(AEffect* /*e*/, int32 opcode, int32 /*i*/, intptr /*v*/, void* /*p*/, float /*o*/) {
    return opcode == static_cast<int32>(HostOpcode::getSampleRate) ? hostRate : 2400;
  }

  AEffect* record_ = nullptr;
};

// Sample `n` of a bass line: a string is plucked four times a second, each time at another pitch, and dies away.
inline double pluckedString(int n, double rate) {
  const double t = n / rate;
  const int note = static_cast<int>(t * 4.0);
  const double age = t - note / 4.0;
  const double phase = 2.0 * 3.14159265358979 * (41.2 + 13.7 * (note * 5 % 8)) * age;
  double sum = 0.0;
  for (int k = 1; k < 9; ++k) sum += std::sin(k * phase) / k * std::exp(-(2.0 + k) * age);
  return 0.3 * sum;
}

inline Sound pluckedStrings(int samples, double rate = 44100.0, int first = 0) {
  Sound sound;
  for (int n = first; n < first + samples; ++n) sound.push_back(pluckedString(n, rate));
  return sound;
}

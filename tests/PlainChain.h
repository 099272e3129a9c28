// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "dsp/Clipper.h"
#include "dsp/FlushToZero.h"
#include "dsp/IIRFilter.h"
#include "math/nearest.h"

// A plain, slow reference of the whole effect: one sample at a time through one section at a time, every operation in
// its defined order. It uses the product's sections and curve table, which have tests of their own. The product must
// match it bit for bit, and its speed is compared with it.
class PlainChain {
 public:
  float onOff = 1.0F;
  float volume = 0.5F;
  float fuzz = 0.5F;

  // Everything as after a set-up for `rate` Hz.
  void setUp(double rate) {
    rate_ = rate;
    toneK_ = nearest::tan(5026.54824574367 / rate);
    toneZ1_ = toneZ2_ = 0.0;
    constexpr double kA[2][5] = {{4.7526378444, -9.0699840367, 8.6870494094, -4.1753030355, 0.80557726604},
                                 {4.7749840241, -9.149843144, 8.7941651284, -4.2391684132, 0.81984751763}};
    constexpr double kB[2][3] = {{6.0626054296e-06, -8.5218641012e-07, 6.0657532561e-06},
                                 {5.0112635698e-06, -2.158011079e-06, 4.5903222912e-06}};
    const int row = rate == 48000.0 ? 1 : 0;
    std::copy_n(kA[row], 5, a_);
    for (int i = 0; i < 3; ++i) b_[i] = b_[5 - i] = kB[row][i];
    std::fill_n(&history_[0][0], 12, 0.0);
    lastFuzz_ = -1.0F;
    lastVolume_ = 0.0;
    pre_ = {section(FT_PEQ, 110.0, 0.8, 0.05), section(FT_PEQ, 60.0, 1.0, 5.0), section(FT_PEQ, 8000.0, 1.4, 0.0)};
    low_ = {section(FT_PEQ, 80.0, 0.1, 6.0)};
    post_ = {section(FT_HPF_Q, 300.0, 0.3, 0.0), section(FT_PEQ, 8000.0, 1.4, 15.0), section(FT_PEQ, 2000.0, 1.4, -3.0),
             section(FT_PEQ, 62.5, 1.4, 6.0),    section(FT_LPF1, 3000.0, 1.0, 0.0), section(FT_PEQ, 4000.0, 1.4, 3.0),
             section(FT_HPF1, 20.0, 1.0, 0.0)};
    fadeLength_ = static_cast<int>(std::floor(0.016 * rate));
    fadeState_ = 0;
    fadePos_ = 0;
    lastSwitch_ = onOff;
    curve_.build();
  }

  // `in` and `out` may be the same array of `n` samples.
  void process(const double* in, double* out, int n) {
    const FlushToZero flushToZero;
    if (first_) lastSwitch_ = onOff;
    first_ = false;
    if (onOff != lastSwitch_) fadeState_ = 1;
    lastSwitch_ = onOff;
    const double step = n > 1 ? (static_cast<double>(volume) - lastVolume_) * (1.0 / (n - 1)) : 0.0;
    if (fuzz != lastFuzz_) gainLaw();
    for (int i = 0; i < n; ++i) out[i] = sample(in[i], lastVolume_ + static_cast<double>(i) * step);
    lastVolume_ = volume;
    lastFuzz_ = fuzz;
  }

 private:
  IIRFilter section(int type, double frequency, double q, double gain) const {
    filterPrm_tag parameters{type, frequency, 0.0, 0.0, q, gain, rate_};
    return IIRFilter(&parameters);
  }

  void gainLaw() {
    const double F = fuzz;
    thrPos_ = 0.01 * (1.0 - F) * (1.0 - F) + 0.001;
    drive_ = static_cast<double>(6.0F + fuzz * 12.0F) / (18.0 * thrPos_);
    thrNeg_ = (0.0 - thrPos_) * 0.8;
    filterPrm_tag peak{FT_PEQ, 110.0, 0.0, 0.0, 0.8, 0.8 * F * F * F * F, rate_};
    pre_[0].FDexcute(&peak);
    filterPrm_tag highpass{FT_HPF_Q, ((-31.02 * F) + 73.9) * F + 10.0, 0.0, 0.0, 0.5 * F + 0.05, 0.0, rate_};
    post_[0].FDexcute(&highpass);
  }

  double sample(double in, double vol) {
    double x = in;
    for (IIRFilter& s : pre_) s.iirProcessing(&x);
    x = clipStage(x * 4.0) * 0.07269423992141195;
    for (IIRFilter& s : low_) s.iirProcessing(&x);
    x = tone(x, vol);
    for (IIRFilter& s : post_) s.iirProcessing(&x);

    double gain = 1.0;
    float source = onOff;
    if (fadeState_ != 0) {
      const double fadeStep = 1.0 / fadeLength_;
      gain = (fadeState_ == 1 ? fadeLength_ - fadePos_ : fadePos_) * fadeStep;
      if (fadeState_ == 1) source = onOff == 1.0F ? 0.0F : 1.0F;
      if (++fadePos_ >= fadeLength_) {
        fadeState_ = fadeState_ == 1 ? 2 : 0;
        fadePos_ = 0;
      }
    }
    return source == 1.0F ? ((gain * x) * vol) * 0.25118864 : gain * in;
  }

  double clipStage(double u) {
    double z = 0.0;
    for (int k = 0; k < 4; ++k) {
      double y = lowpass(history_[0], k == 0 ? u : 0.0);
      y = y > thrPos_ ? thrPos_ : y < thrNeg_ ? thrNeg_ : y;
      double w = y * drive_;
      w = w > 1.0 ? 1.0 : w < -1.0 ? -1.0 : w;
      const double p = curve_.center + w * curve_.center;
      const int j = static_cast<int>(p);
      const double right = j == 40000 ? curve_.guard : curve_.table[j + 1];
      const double v = (right - curve_.table[j]) * (p - j) + curve_.table[j];
      const double r = lowpass(history_[1], v);
      if (k == 0) z = r;
    }
    return z;
  }

  double lowpass(double (&h)[6], double q) const {
    const double y = b_[0] * q + h[0];
    for (int j = 0; j < 5; ++j) h[j] = b_[j + 1] * q + a_[j] * y + h[j + 1];
    return y;
  }

  double tone(double m, double vol) {
    const double K = toneK_;
    const double K2 = K * K;
    const double Kq = K / (0.35 * vol + 0.3);
    const double g = 0.8741074588 * vol * vol + 0.1258925412;
    const double den = 1.0 + K2 + g * Kq;
    const double inv = 1.0 / den;
    const double f1 = ((K2 - 1.0) * 2.0) / den;
    const double f2 = (1.0 + K2 - g * Kq) * inv;
    const double w0 = (m - f2 * toneZ2_) - f1 * toneZ1_;
    const double t = ((1.0 + K2 - Kq) * toneZ2_ + (1.0 + K2 + Kq) * w0) * inv + f1 * toneZ1_;
    toneZ2_ = toneZ1_;
    toneZ1_ = w0;
    return t;
  }

  double rate_ = 0.0;
  double toneK_ = 0.0, toneZ1_ = 0.0, toneZ2_ = 0.0;
  double a_[5] = {}, b_[6] = {}, history_[2][6] = {};
  double thrPos_ = 0.0, thrNeg_ = 0.0, drive_ = 0.0;
  double lastVolume_ = 0.0;
  float lastFuzz_ = -1.0F, lastSwitch_ = 1.0F;
  bool first_ = true;
  int fadeLength_ = 0, fadeState_ = 0, fadePos_ = 0;
  std::vector<IIRFilter> pre_, low_, post_;
  Clipper curve_{};
};

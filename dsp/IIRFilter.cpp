// SPDX-License-Identifier: MIT
#include "dsp/IIRFilter.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "math/nearest.h"

namespace {

constexpr double kSqrt2 = 1.4142135623730951;
constexpr double kSmootherPower = 0.5011872337;  // power response of the smoother at its corner, -3 dB

double fromDecibels(double decibels) noexcept { return nearest::exp10(decibels / 20.0); }

}  // namespace

IIRFilter::IIRFilter(filterPrm_tag* parameters) noexcept { FDexcute(parameters); }
IIRFilter::~IIRFilter() = default;

void IIRFilter::refresh() noexcept {
  z1 = 0.0;
  z2 = 0.0;
}

void IIRFilter::run(double* samples, int length) noexcept {
  double c[5];
  std::copy(std::begin(coef), std::end(coef), c);
  double h1 = z1;
  double h2 = z2;
  for (int i = 0; i < length; ++i) samples[i] = twoHistories(c, h1, h2, samples[i]);
  z1 = h1;
  z2 = h2;
}

void IIRFilter::setBiquad(double b0, double b1, double b2, double c0, double c1) noexcept {
  coef[0] = c0;
  coef[1] = c1;
  coef[2] = b0;
  coef[3] = b1;
  coef[4] = b2;
  biquad = 1;
}

// The one-pole lowpass y = p*y + (1-p)*x whose power response is kSmootherPower at `frequency`, solved for p.
void IIRFilter::designSmoother(double frequency, double sampleRate) noexcept {
  constexpr double G = kSmootherPower;
  const double w = (pi * 2.0) * frequency / sampleRate;
  const double c = nearest::cos(w);
  const double p = ((G * c - 1.0) + std::sqrt((c - 1.0) * G * ((G * c - 2.0) + G))) / (G - 1.0);
  setBiquad(p, 0.0, 0.0, 1.0 - p, 0.0);
  biquad = 0;
}

// Analogue prototypes with the corner at the prewarped k, transformed by s -> (1 - 1/z) / (1 + 1/z). The exact doubles
// depend on the order of the operations.
void IIRFilter::FDexcute(filterPrm_tag* parameters) noexcept {
  filterPrm_tag& prm = *parameters;
  type = static_cast<std::int16_t>(static_cast<std::uint16_t>(prm.type));
  if (!(prm.q > 0.0)) prm.q = 1.0;
  prm.freq = std::min(prm.freq > 0.0 ? prm.freq : 20.0, 0.5 * prm.sampleRate);

  const double q = prm.q;
  const double g = prm.gain;
  const double k = nearest::tan((pi * prm.freq) / prm.sampleRate);
  const double kl = nearest::tan((pi * prm.freqLow) / prm.sampleRate);
  const double kh = nearest::tan((pi * prm.freqHigh) / prm.sampleRate);
  const double k2 = k * k;

  switch (type) {
    case FT_LPF1: {
      const double n = 1.0 / (1.0 + k);
      setBiquad(k * n, k * n, 0.0, -(k - 1.0) * n, 0.0);
      break;
    }
    case FT_HPF1: {
      const double n = 1.0 / (1.0 + k);
      setBiquad(n, -n, 0.0, -(k - 1.0) * n, 0.0);
      break;
    }
    case FT_LPF2: {
      const double n = 1.0 / (1.0 + kSqrt2 * k + k2);
      setBiquad(k2 * n, 2.0 * k2 * n, k2 * n, -2.0 * (k2 - 1.0) * n, -(1.0 - kSqrt2 * k + k2) * n);
      break;
    }
    case FT_HPF2: {
      const double n = 1.0 / (1.0 + kSqrt2 * k + k2);
      setBiquad(n, -2.0 * n, n, -2.0 * (k2 - 1.0) * n, -(1.0 - kSqrt2 * k + k2) * n);
      break;
    }
    case FT_BPF_BAND: {
      const double n = 1.0 / (1.0 - kl + kh + kl * kh);
      setBiquad((kh - kl) * n, 0.0, -(kh - kl) * n, -2.0 * (kl * kh - 1.0) * n, -(1.0 + kl - kh + kl * kh) * n);
      break;
    }
    case FT_BEF_BAND: {
      const double n = 1.0 / (1.0 - kl + kh + kl * kh);
      setBiquad((1.0 + kl * kh) * n, 2.0 * (kl * kh - 1.0) * n, (1.0 + kl * kh) * n, -2.0 * (kl * kh - 1.0) * n,
                -(1.0 + kl - kh + kl * kh) * n);
      break;
    }
    case FT_LPF_Q: {
      const double n = 1.0 / (1.0 + k2 + kSqrt2 * k / q);
      setBiquad(k2 * n, 2.0 * k2 * n, k2 * n, 2.0 * n - 2.0 * k2 * n, -(1.0 + k2 - kSqrt2 * k / q) * n);
      break;
    }
    case FT_HPF_Q: {
      const double n = 1.0 / (1.0 + k2 + kSqrt2 * k / q);
      setBiquad(n, -2.0 * n, n, -2.0 * (k2 - 1.0) * n, -(1.0 + k2 - kSqrt2 * k / q) * n);
      break;
    }
    case FT_BPF_Q: {
      const double n = 1.0 / (1.0 + k2 + k / q);
      setBiquad((k / q) * n, 0.0, -(k / q) * n, -2.0 * (k2 - 1.0) * n, -(1.0 + k2 - k / q) * n);
      break;
    }
    case FT_BEF_Q: {
      const double n = 1.0 / (1.0 + k2 + k / q);
      setBiquad((1.0 + k2) * n, 2.0 * (k2 - 1.0) * n, (1.0 + k2) * n, -2.0 * (k2 - 1.0) * n,
                (k / q) * n - (1.0 + k2) * n);
      break;
    }
    case FT_PEQ: {
      // A boost goes into the numerator, a cut into the denominator, so that the two cancel each other.
      const double A = g > 0.0 ? fromDecibels(g) : 1.0;
      const double B = g > 0.0 ? 1.0 : fromDecibels(-g);
      const double n = 1.0 / (1.0 + k2 + B * k / q);
      setBiquad((1.0 + k2 + A * k / q) * n, 2.0 * (k2 - 1.0) * n, (1.0 + k2 - A * k / q) * n, -2.0 * (k2 - 1.0) * n,
                -(1.0 + k2 - B * k / q) * n);
      break;
    }
    case FT_LSHELF1: {
      const double A = fromDecibels(g);
      const double n = 1.0 / (1.0 + k);
      setBiquad((1.0 + A * k) * n, (A * k - 1.0) * n, 0.0, (1.0 - k) * n, 0.0);
      break;
    }
    case FT_HSHELF1: {
      const double A = 1.0 / fromDecibels(-g);
      const double n = 1.0 / (1.0 + k);
      setBiquad((k + A) * n, (k - A) * n, 0.0, (1.0 - k) * n, 0.0);
      break;
    }
    default: designSmoother(prm.freq, prm.sampleRate); break;
  }

  if (type != prevType) refresh();
  prevType = type;
}

void IIRFilter::ipFDexcute(filterPrm_tag* parameters, int samples) noexcept {
  std::copy(std::begin(coef), std::end(coef), startCoef);
  FDexcute(parameters);
  ipCount = 0.0;
  ipLength = std::max(samples, 0);
  if (samples < 1) std::copy(std::begin(coef), std::end(coef), startCoef);
  const double r = samples < 1 ? 0.0 : 1.0 / ipLength;
  for (int i = 0; i < 5; ++i) deltaCoef[i] = (coef[i] - startCoef[i]) * r;
}

void IIRFilter::ipIirProcessing(double* sample) noexcept {
  double e[5];
  for (int i = 0; i < 5; ++i) e[i] = deltaCoef[i] * ipCount + startCoef[i];
  filter(e, sample);
  if (ipCount == ipLength) {
    std::copy(std::begin(coef), std::end(coef), startCoef);
    std::fill(std::begin(deltaCoef), std::end(deltaCoef), 0.0);
  }
  if (ipCount <= ipLength) ipCount += 1.0;
}

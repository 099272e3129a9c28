// SPDX-License-Identifier: MIT
#include "dsp/IIRFilter.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <numbers>

namespace {

using Complex = std::complex<double>;
constexpr double kPi = std::numbers::pi;
constexpr double kRate = 48000.0;

filterPrm_tag parameters(int type, double freq = 1000.0, double q = 2.0, double gain = 6.0) {
  return {type, freq, 500.0, 2000.0, q, gain, kRate};
}

IIRFilter filterOf(filterPrm_tag prm) { return IIRFilter(&prm); }

double run(IIRFilter& filter, double sample) { return filter.iirProcessing(&sample), sample; }
double glide(IIRFilter& filter, double sample) { return filter.ipIirProcessing(&sample), sample; }

// The response at `frequency`, from the impulse response.
Complex measured(IIRFilter filter, double frequency) {
  Complex sum = 0.0;
  for (int n = 0; n < 20000; ++n) {
    sum += run(filter, n == 0 ? 1.0 : 0.0) * std::polar(1.0, -2.0 * kPi * frequency / kRate * n);
  }
  return sum;
}

// The response that the type's analogue prototype has at `frequency`, both prewarped.
Complex prototype(const filterPrm_tag& prm, double frequency) {
  const auto warp = [](double f) { return std::tan(kPi * f / kRate); };
  const Complex s(0.0, warp(frequency));
  const double k = warp(prm.freq);
  const double kk = warp(prm.freqLow) * warp(prm.freqHigh);
  const double width = warp(prm.freqHigh) - warp(prm.freqLow);
  const double gain = std::pow(10.0, prm.gain / 20.0);
  const auto resonance = [&](double damping) { return s * s + damping * k * s + k * k; };
  const double root2 = std::sqrt(2.0);
  switch (prm.type) {
    case 0: return k / (s + k);
    case 1: return s / (s + k);
    case 2: return k * k / resonance(root2);
    case 3: return s * s / resonance(root2);
    case 4: return width * s / (s * s + width * s + kk);
    case 5: return (s * s + kk) / (s * s + width * s + kk);
    case 6: return k * k / resonance(root2 / prm.q);
    case 7: return s * s / resonance(root2 / prm.q);
    case 8: return (k / prm.q) * s / resonance(1.0 / prm.q);
    case 9: return (s * s + k * k) / resonance(1.0 / prm.q);
    case 10: return resonance(std::max(gain, 1.0) / prm.q) / resonance(std::max(1.0 / gain, 1.0) / prm.q);
    case 11: return (s + gain * k) / (s + k);
    default: return (gain * s + k) / (s + k);
  }
}

}  // namespace

TEST_CASE("every type has the response of its prototype, and only the low 16 bits of the type count") {
  for (int type = 0; type <= 12; ++type) {
    for (const auto& [q, gain] : {std::pair{0.3, 6.0}, {1.0, 0.0}, {4.0, -9.0}}) {
      const filterPrm_tag prm = parameters(type, 1300.0, q, gain);
      filterPrm_tag wide = prm;
      wide.type += 3 * 65536;
      for (const double frequency : {40.0, 700.0, 1300.0, 5000.0, 20000.0}) {
        INFO("type ", type, ", frequency ", frequency);
        CHECK(std::abs(measured(filterOf(wide), frequency) - prototype(prm, frequency)) < 1e-9);
      }
    }
  }
  for (const int type : {13, -1, 13 + 65536}) {  // the smoother
    const IIRFilter filter = filterOf(parameters(type, 1000.0));
    CHECK(std::norm(measured(filter, 1000.0)) == doctest::Approx(0.5011872337).epsilon(1e-9));
    CHECK(std::abs(measured(filter, 0.0) - 1.0) < 1e-9);
  }
}

TEST_CASE("the designs use a pi that is two units in the last place too high") {
  bool shows = false;
  for (const double frequency : {100.0, 1000.0, 5000.0, 15000.0}) {
    const auto gainAt = [](double k) { return k * (1.0 / (1.0 + k)); };
    IIRFilter filter = filterOf({FT_LPF1, frequency, 0.0, 0.0, 1.0, 0.0, kRate});
    const double first = run(filter, 1.0);
    CHECK(first == gainAt(std::tan(3.141592653589794 * frequency / kRate)));
    shows = shows || first != gainAt(std::tan(3.141592653589793 * frequency / kRate));
  }
  CHECK(shows);
}

TEST_CASE("a design corrects the frequency and the q, and says so in the record") {
  const struct {
    double freq, q, usedFreq, usedQ;
  } rows[] = {{0.0, 2.0, 20.0, 2.0}, {-5.0, 0.0, 20.0, 1.0}, {30000.0, -1.0, 24000.0, 1.0}, {NAN, NAN, 20.0, 1.0}};
  for (const auto& row : rows) {
    filterPrm_tag prm = parameters(FT_HPF_Q, row.freq, row.q);
    const IIRFilter filter(&prm);
    CHECK(prm.freq == row.usedFreq);
    CHECK(prm.q == row.usedQ);
    const IIRFilter same = filterOf(parameters(FT_HPF_Q, row.usedFreq, row.usedQ));
    CHECK(std::equal(std::begin(filter.coef), std::end(filter.coef), same.coef));
  }
}

TEST_CASE("a redesign, at once or by a glide, keeps the history unless the type changes") {
  for (const bool glides : {false, true}) {
    for (const int type : {FT_PEQ, FT_BEF_Q}) {
      IIRFilter filter = filterOf(parameters(FT_PEQ));
      run(filter, 1.0);
      const IIRFilter before = filter;
      filterPrm_tag other = parameters(type, 300.0);
      glides ? filter.ipFDexcute(&other, 10) : filter.FDexcute(&other);
      CHECK(filter.z1 == (type == FT_PEQ ? before.z1 : 0.0));
      CHECK(filter.z2 == (type == FT_PEQ ? before.z2 : 0.0));
    }
  }
}

TEST_CASE("a glide moves each coefficient in a straight line and then holds the target") {
  for (const int type : {int{FT_PEQ}, 13}) {  // both forms
    for (const int length : {7, 0, -3}) {
      IIRFilter gliding = filterOf(parameters(type, 400.0));
      for (const double x : {1.0, -0.5, 0.25}) run(gliding, x);
      const IIRFilter start = gliding;
      IIRFilter plain = gliding;
      filterPrm_tag target = parameters(type, 3000.0, 0.7, -6.0);
      gliding.ipFDexcute(&target, length);
      const IIRFilter goal = filterOf(target);
      for (int t = 0; t < 20; ++t) {
        for (int i = 0; i < 5; ++i) {
          const double way = t < length ? static_cast<double>(t) / length : 1.0;
          plain.coef[i] = way < 1.0 ? start.coef[i] + (goal.coef[i] - start.coef[i]) * way : goal.coef[i];
        }
        const double x = t % 3 - 1.0;
        CHECK(glide(gliding, x) == doctest::Approx(run(plain, x)).epsilon(1e-13));
      }
      gliding.z1 = plain.z1;
      gliding.z2 = plain.z2;
      CHECK(glide(gliding, 0.3) == run(plain, 0.3));  // the target exactly
    }
  }
}

// SPDX-License-Identifier: MIT
#include "cli/picture/Measurement.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "catalog/catalog.h"
#include "cli/effect/EffectChannels.h"
#include "player/decibels.h"

namespace {

constexpr double kSettleSeconds = 0.25;  // several times the longest memory of the effect's filters
constexpr double kImpulseSeconds = 0.5;

EffectChannels makeEffect(const EffectModule& module, const TestSettings& settings) {
  EffectSettings wanted;
  wanted.values = {{catalog::kVolume, settings.volume}, {catalog::kFuzz, settings.fuzz}};
  return {module, wanted, AutomationTrack(), settings.rate, 1};
}

// A sine that continues from call to call.
class Tone {
 public:
  Tone(double frequency, int rate) : step_(2.0 * std::numbers::pi * frequency / rate) {}

  std::vector<double> play(std::size_t length, double level) {
    std::vector<double> samples(length);
    for (double& sample : samples) sample = level * std::sin(step_ * position_++);
    return samples;
  }

 private:
  double step_;
  double position_ = 0.0;  // samples
};

void process(EffectChannels& effect, std::vector<double>& samples) {
  effect.process(samples.data(), static_cast<int>(samples.size()));
}

std::size_t framesIn(double seconds, int rate) { return static_cast<std::size_t>(seconds * rate); }

// The sum of the samples times exp(-i angle n), by a rotation that is recomputed exactly from time to time.
std::complex<double> transformAt(const std::vector<double>& samples, double angle) {
  constexpr std::size_t kRenewed = 256;
  const std::complex<double> step = std::polar(1.0, -angle);
  std::complex<double> sum = 0.0;
  std::complex<double> at = 1.0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (i % kRenewed == 0) at = std::polar(1.0, -angle * static_cast<double>(i));
    sum += samples[i] * at;
    at *= step;
  }
  return sum;
}

}  // namespace

Points measureLevels(const EffectModule& module, const TestSettings& settings, double frequency) {
  EffectChannels effect = makeEffect(module, settings);
  Tone tone(frequency, settings.rate);
  Points points;
  const double measured = std::max(0.05, 2.0 / frequency);  // seconds
  for (int level = -100; level <= 0; level += 2) {
    std::vector<double> settling = tone.play(framesIn(kSettleSeconds, settings.rate), amplitude(level));
    process(effect, settling);
    std::vector<double> samples = tone.play(framesIn(measured, settings.rate), amplitude(level));
    process(effect, samples);
    double peak = 1e-9;
    for (const double sample : samples) peak = std::max(peak, std::fabs(sample));
    points.emplace_back(level, decibels(peak));
  }
  return points;
}

Points measureResponse(const EffectModule& module, const TestSettings& settings) {
  constexpr double kPointsPerDecade = 60.0;
  const std::size_t settle = framesIn(kSettleSeconds, settings.rate);
  std::vector<double> answer(settle + framesIn(kImpulseSeconds, settings.rate));
  std::vector<double> silence(answer.size());
  answer[settle] = kImpulse;
  EffectChannels struck = makeEffect(module, settings);
  process(struck, answer);
  EffectChannels silent = makeEffect(module, settings);
  process(silent, silence);
  for (std::size_t i = 0; i < answer.size(); ++i) answer[i] = (answer[i] - silence[i]) / kImpulse;
  answer.erase(answer.begin(), answer.begin() + static_cast<std::ptrdiff_t>(settle));

  Points points;
  const double highest = std::min(20000.0, 0.49 * settings.rate);
  for (int i = 0;; ++i) {
    const double frequency = 20.0 * std::pow(10.0, i / kPointsPerDecade);
    if (frequency > highest * 1.0001) return points;
    const double gain = std::abs(transformAt(answer, 2.0 * std::numbers::pi * frequency / settings.rate));
    points.emplace_back(frequency, decibels(std::max(gain, 1e-9)));
  }
}

std::vector<double> playTone(const EffectModule& module, const TestSettings& settings, double frequency, double level) {
  EffectChannels effect = makeEffect(module, settings);
  Tone tone(frequency, settings.rate);
  std::vector<double> settling = tone.play(framesIn(kSettleSeconds, settings.rate), level);
  process(effect, settling);
  std::vector<double> samples = tone.play(static_cast<std::size_t>(settings.rate), level);
  process(effect, samples);
  return samples;
}

Harmonics analyseTone(const std::vector<double>& samples, int frequency) {
  const auto rate = static_cast<double>(samples.size());
  double mean = 0.0;
  for (const double sample : samples) mean += sample / rate;
  double power = 0.0;  // of everything but DC
  for (const double sample : samples) power += (sample - mean) * (sample - mean) / rate;

  Harmonics result;
  double harmonicPower = 0.0;
  for (int k = 1; k * frequency < rate / 2.0; ++k) {
    const double peak = 2.0 / rate * std::abs(transformAt(samples, 2.0 * std::numbers::pi * k * frequency / rate));
    result.amplitudes.push_back(peak);
    if (k > 1) harmonicPower += peak * peak / 2.0;
  }
  const double fundamental = result.amplitudes.front() * result.amplitudes.front() / 2.0;
  if (fundamental > 0.0) {
    result.distortion = std::sqrt(harmonicPower / fundamental);
    result.rest = std::sqrt(std::max(0.0, power - fundamental - harmonicPower) / fundamental);
  }
  return result;
}

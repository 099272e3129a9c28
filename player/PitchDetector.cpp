// SPDX-License-Identifier: MIT
#include "player/PitchDetector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr double kTargetRate = 16000.0;  // Hz
constexpr double kCutoff = 0.115;        // of the rate after the lowpass: 1.8 kHz
constexpr std::size_t kTapsPerStep = 16;

// A windowed sinc (Hann), with a gain of 1 at 0 Hz.
std::vector<float> designLowpass(std::size_t step) {
  const std::size_t length = step > 1 ? kTapsPerStep * step + 1 : 1;
  std::vector<double> taps(length);
  double sum = 0.0;
  for (std::size_t i = 0; i < length; ++i) {
    const double t = static_cast<double>(i) - static_cast<double>(length - 1) / 2.0;
    const double x = 2.0 * std::numbers::pi * kCutoff / static_cast<double>(step) * t;
    const double window =
        0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (static_cast<double>(i) + 1.0) / static_cast<double>(length + 1));
    taps[i] = window * (x == 0.0 ? 1.0 : std::sin(x) / x);
    sum += taps[i];
  }
  std::vector<float> result(length);
  std::transform(taps.begin(), taps.end(), result.begin(), [sum](double tap) { return static_cast<float>(tap / sum); });
  return result;
}

}  // namespace

PitchDetector::PitchDetector(int rate)
    : step_(std::max<std::size_t>(1, static_cast<std::size_t>(rate / kTargetRate))),
      untilKept_(step_),
      rate_(static_cast<double>(rate) / static_cast<double>(step_)),
      longest_(static_cast<std::size_t>(rate_ / kLowest) + 1),
      window_(longest_ + longest_ / 2) {
  lowpass_ = designLowpass(step_);
  input_.assign(2 * lowpass_.size(), 0.0F);
  kept_.assign(window_ + longest_ + 2, 0.0F);
  sound_.assign(kept_.size(), 0.0F);
  curve_.assign(longest_ + 2, 0.0);
}

void PitchDetector::clear() noexcept {
  std::fill(input_.begin(), input_.end(), 0.0F);
  std::fill(kept_.begin(), kept_.end(), 0.0F);
}

void PitchDetector::add(const float* samples, std::size_t count) noexcept {
  const std::size_t taps = lowpass_.size();
  for (std::size_t i = 0; i < count; ++i) {
    const bool isFinite = std::fabs(samples[i]) <= std::numeric_limits<float>::max();
    input_[inputAt_] = input_[inputAt_ + taps] = isFinite ? samples[i] : 0.0F;
    inputAt_ = (inputAt_ + 1) % taps;
    if (--untilKept_ > 0) continue;
    untilKept_ = step_;
    float sum = 0.0F;
    for (std::size_t t = 0; t < taps; ++t) sum += lowpass_[t] * input_[inputAt_ + t];
    kept_[keptAt_] = sum;
    keptAt_ = (keptAt_ + 1) % kept_.size();
  }
}

double PitchDetector::similarity(std::size_t lag) const noexcept {
  float product = 0.0F;
  float square = 0.0F;
  for (std::size_t i = 0; i < window_; ++i) {
    const float a = sound_[i];
    const float b = sound_[i + lag];
    product += a * b;
    square += a * a + b * b;
  }
  return square > 0.0F ? 2.0 * static_cast<double>(product) / static_cast<double>(square) : 0.0;
}

// The highest point of the curve near `lag`, between the samples: the top of the parabola through three of them.
double PitchDetector::peakNear(double lag, double& height) const noexcept {
  auto at = static_cast<std::size_t>(std::lround(lag));
  while (at + 1 < curve_.size() - 1 && curve_[at + 1] > curve_[at]) ++at;
  while (at > 1 && curve_[at - 1] > curve_[at]) --at;
  const double before = curve_[at - 1];
  const double after = curve_[at + 1];
  const double bend = before - 2.0 * curve_[at] + after;
  const double shift = bend < 0.0 ? std::clamp(0.5 * (before - after) / bend, -1.0, 1.0) : 0.0;
  height = curve_[at] - 0.25 * (before - after) * shift;
  return static_cast<double>(at) + shift;
}

double PitchDetector::frequency() {
  std::rotate_copy(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(keptAt_), kept_.end(), sound_.begin());
  double square = 0.0;
  float mean = 0.0F;
  for (const float sample : sound_) mean += sample / static_cast<float>(sound_.size());
  for (float& sample : sound_) {
    sample -= mean;
    square += static_cast<double>(sample) * static_cast<double>(sample);
  }
  if (square < kQuietest * kQuietest * static_cast<double>(sound_.size())) return 0.0;
  for (std::size_t lag = 0; lag < curve_.size(); ++lag) curve_[lag] = similarity(lag);

  // One peak for each stretch in which the curve is positive, from the first one after lag 0 has been left.
  struct Peak {
    double lag;
    double height;
  };
  std::vector<Peak> peaks;
  std::size_t lag = 1;
  while (lag < longest_ && curve_[lag] > 0.0) ++lag;
  double highest = 0.0;
  while (lag < longest_) {
    while (lag < longest_ && curve_[lag] <= 0.0) ++lag;
    std::size_t best = lag;
    for (; lag < longest_ && curve_[lag] > 0.0; ++lag) {
      if (curve_[lag] > curve_[best]) best = lag;
    }
    if (best + 1 >= longest_) break;  // still rising where the range ends
    Peak peak{};
    peak.lag = peakNear(static_cast<double>(best), peak.height);
    peaks.push_back(peak);
    highest = std::max(highest, peak.height);
  }
  if (highest < kLeastClarity) return 0.0;
  const auto first = std::find_if(peaks.begin(), peaks.end(),
                                  [highest](const Peak& peak) { return peak.height >= kFirstPeakShare * highest; });
  double period = first->lag;
  // An error in a peak's place counts for less when it lies more periods away. Doubled each time, the next one is found
  // without a doubt about which it is.
  for (double periods = 2.0; periods * period < static_cast<double>(longest_ - 1); periods *= 2.0) {
    double height = 0.0;
    const double found = peakNear(periods * period, height) / periods;
    if (height < kLeastClarity * highest || std::fabs(found - period) > 0.25 * period / periods) break;
    period = found;
  }
  const double frequency = rate_ / period;
  return frequency >= kLowest && frequency <= kHighest ? frequency : 0.0;
}

TunerNote TunerNote::nearest(double frequency, double a4) {
  const double semitones = 69.0 + 12.0 * std::log2(frequency / a4);
  const double number = std::round(semitones);
  return {static_cast<int>(number), 100.0 * (semitones - number)};
}

std::string TunerNote::name() const {
  constexpr const char* kNames[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  const int octave = (number + 1200) / 12 - 101;
  return kNames[(number + 1200) % 12] + std::to_string(octave);
}

// SPDX-License-Identifier: MIT
// The number-to-text members of AudioEffect.
#include <algorithm>
#include <cmath>

#include "host/AudioEffect.h"
#include "math/nearest.h"

namespace {

constexpr float kRoundingBias = 0.005F;
constexpr double kPositiveLimit = 99999999.0;
constexpr double kNegativeLimit = 9999999.0;
constexpr int kCharacterBudget = 8;  // sign, integer digits, point and decimals together
constexpr int kDecimalPlaces = 2;
constexpr int32 kIntegerLimit = 100000000;
constexpr const char* kOverflowText = "Huge!";

// Text of at most `maxLen` characters in the caller's buffer, terminated after its last character and, whatever its
// length, at buffer[maxLen].
class BoundedText {
 public:
  BoundedText(char* buffer, int32 maxLen) noexcept : text_(buffer), left_(buffer != nullptr ? maxLen : -1) {
    if (left_ < 0) return;
    text_[0] = '\0';
    text_[left_] = '\0';
  }

  void append(char character) noexcept {
    if (left_ <= 0) return;
    *text_++ = character;
    *text_ = '\0';
    --left_;
  }

  void append(const char* characters) noexcept {
    while (*characters != '\0') append(*characters++);
  }

 private:
  char* text_;
  int32 left_;
};

// The last digit of the integer part of `value`, which is at most kPositiveLimit.
char lastDigit(double value) noexcept { return static_cast<char>('0' + static_cast<int32>(value) % 10); }

// Prepares rounding to two decimals as the display does it: adds half a unit of the last place, away from zero, in
// single precision.
float biased(float value) noexcept {
  if (!(std::fabs(value) >= kRoundingBias)) return 0.0F;  // NaN, too
  return value > 0.0F ? value + kRoundingBias : value - kRoundingBias;
}

}  // namespace

void AudioEffect::int2string(int32 value, char* text, int32 maxLen) {
  BoundedText out(text, maxLen);
  if (value >= kIntegerLimit || value <= -10 * kIntegerLimit) {
    out.append(kOverflowText);
    return;
  }
  if (value < 0) {
    out.append('-');
    value = -value;
  } else if (value == 0) {
    out.append('0');
  }
  bool started = false;
  for (int32 divisor = kIntegerLimit; divisor > 0; divisor /= 10) {
    const int32 digit = value / divisor;
    value -= digit * divisor;
    started = started || digit > 0;
    if (started) out.append(static_cast<char>('0' + digit));
  }
}

void AudioEffect::float2string(float value, char* text, int32 maxLen) {
  BoundedText out(text, maxLen);
  double x = biased(value);
  const bool negative = x < 0.0;
  if (negative) x = -x;
  if (x > (negative ? kNegativeLimit : kPositiveLimit)) {
    out.append(kOverflowText);
    return;
  }

  char scratch[32];
  char* start = scratch + sizeof scratch;
  *--start = '\0';
  *--start = '.';
  int count = 2;  // the sign and the point
  double n = std::floor(x);
  do {
    *--start = lastDigit(n);
    n *= 0.1;
    ++count;
  } while (n >= 1.0 && count < kCharacterBudget);
  if (n >= 1.0) {  // more integer digits than the budget holds
    out.append(kOverflowText);
    return;
  }
  *--start = negative ? '-' : ' ';
  out.append(start);

  const double fraction = (x - std::trunc(x)) * 100.0;
  const int places = std::min(kCharacterBudget - count, kDecimalPlaces);
  if (places >= 1) out.append(lastDigit(fraction * 0.1));
  if (places >= 2) out.append(lastDigit(fraction));
}

void AudioEffect::dB2string(float value, char* text, int32 maxLen) {
  if (value > 0.0F) {
    float2string(static_cast<float>(20.0 * nearest::log10(static_cast<double>(value))), text, maxLen);
  } else {
    BoundedText(text, maxLen).append("-Inf");
  }
}

void AudioEffect::Hz2string(float samples, char* text, int32 maxLen) {
  const float rate = getSampleRate();
  float2string(samples == 0.0F ? 0.0F : rate / samples, text, maxLen);
}

void AudioEffect::ms2string(float samples, char* text, int32 maxLen) {
  const float rate = getSampleRate();
  float2string(rate == 0.0F ? 0.0F : static_cast<float>(samples * 1000.0 / rate), text, maxLen);
}

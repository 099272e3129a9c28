// SPDX-License-Identifier: MIT
#include "dsp/SwitchFader.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "dsp/growBuffer.h"

namespace {

constexpr double kFadeSeconds = 0.016;
constexpr double kMostSamples = 1 << 20;  // longest ramp, 16 MiB for both; reached at 65 MHz, no real sample rate

}  // namespace

SwitchFader* SwitchFader::create(double sampleRate, float onOff) noexcept {
  SwitchFader* const fader = new (std::nothrow) SwitchFader{};
  if (fader == nullptr) return nullptr;
  fader->fadeTime = kFadeSeconds;
  fader->unityGain = 1.0;
  fader->lengthD = std::clamp(std::floor(kFadeSeconds * sampleRate), 1.0, kMostSamples);
  fader->length = static_cast<std::int32_t>(fader->lengthD);
  fader->lastSwitch = onOff;
  fader->switchBuf = nullptr;  // {} has done this, but clang-tidy 19 does not see it
  fader->fadeIn = new (std::nothrow) double[static_cast<std::size_t>(fader->length)];
  fader->fadeOut = new (std::nothrow) double[static_cast<std::size_t>(fader->length)];
  if (fader->fadeIn == nullptr || fader->fadeOut == nullptr) {
    destroy(fader);
    return nullptr;
  }
  const double step = 1.0 / fader->lengthD;
  double t = 0.0;
  for (std::int32_t i = 0; i < fader->length; ++i) {
    fader->fadeIn[i] = step * t;
    fader->fadeOut[i] = (fader->lengthD - t) * step;
    t += 1.0;
  }
  return fader;
}

void SwitchFader::destroy(SwitchFader* fader) noexcept {
  if (fader == nullptr) return;
  delete[] fader->fadeIn;
  delete[] fader->fadeOut;
  delete[] fader->switchBuf;
  delete fader;
}

bool SwitchFader::reserve(std::int32_t samples) noexcept { return growBuffer(switchBuf, bufLen, samples); }

void SwitchFader::run(std::int32_t samples, float onOff, double* gain) noexcept {
  if (!stays(onOff)) state = kFadingOut;
  lastSwitch = onOff;

  // During a fade-out the switch value is that of the old setting.
  const float leaving = onOff == 1.0F ? 0.0F : 1.0F;
  std::int32_t i = 0;
  while (state != kIdle && i < samples) {
    const std::int32_t run = std::min(samples - i, length - pos);
    std::fill_n(switchBuf + i, run, state == kFadingOut ? leaving : onOff);
    std::copy_n((state == kFadingOut ? fadeOut : fadeIn) + pos, run, gain + i);
    i += run;
    pos += run;
    if (pos >= length) {
      state = state == kFadingOut ? kFadingIn : kIdle;
      pos = 0;
    }
  }
  for (; i < samples; ++i) {
    switchBuf[i] = onOff;
    gain[i] = unityGain;
  }
}

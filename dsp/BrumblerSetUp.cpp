// SPDX-License-Identifier: MIT
// The sample-rate set-up: builds everything in the signal path that depends on the host's sample rate.
#include <algorithm>
#include <iterator>
#include <limits>
#include <new>

#include "dsp/Clipper.h"
#include "dsp/IIRFilter.h"
#include "dsp/SwitchFader.h"
#include "dsp/Taper.h"
#include "dsp/growBuffer.h"
#include "effect/Brumbler.h"
#include "host/SharedValue.h"
#include "math/nearest.h"

Clipper Brumbler::clip[1];
double Brumbler::clipSampleRate = -1.0;
RecursiveMutex Brumbler::clipLock;

const int32 Brumbler::num_Adjust[] = {FT_PEQ, FT_PEQ};
const double Brumbler::freq_Adjust[] = {60.0, 8000.0};
const double Brumbler::q_Adjust[] = {1.0, 1.4};
const double Brumbler::gain_Adjust[] = {5.0, 0.0};

const int32 Brumbler::num_Rev[] = {FT_PEQ, FT_PEQ, FT_PEQ, FT_LPF1, FT_PEQ};
const double Brumbler::freq_Rev[] = {8000.0, 2000.0, 62.5, 3000.0, 4000.0};
const double Brumbler::q_Rev[] = {1.4, 1.4, 1.4, 1.0, 1.4};
const double Brumbler::gain_Rev[] = {15.0, -3.0, 6.0, 0.0, 3.0};

namespace {

constexpr double kToneRadians = 5026.54824574367;  // pi times the tone stage's centre of 1600 Hz

// Fifth-order elliptic lowpass at four times the sample rate: equal ripple of 0.3 dB up to 4500 Hz, 3 dB down at 4856
// Hz, 46 dB at 10 kHz and at least 55 dB above 12 kHz, with zeros on the unit circle at 29.4 and 42.1 kHz (29.8 and
// 43.3 at 48000 Hz) and at half the rate. These figures follow from the response and the roots of the coefficients. y =
// sum b[k] x[n-k] + sum a[k] y[n-k]; b is symmetric, so only its first half is stored.
struct OversamplingLowpass {
  double a[5];
  double b[3];
};
constexpr OversamplingLowpass kLowpass48000 = {{4.7749840241, -9.149843144, 8.7941651284, -4.2391684132, 0.81984751763},
                                               {5.0112635698e-06, -2.158011079e-06, 4.5903222912e-06}};
constexpr OversamplingLowpass kLowpassOther = {
    {4.7526378444, -9.0699840367, 8.6870494094, -4.1753030355, 0.80557726604},
    {6.0626054296e-06, -8.5218641012e-07, 6.0657532561e-06}};

IIRFilter* newSection(int32 type, double frequency, double q, double gain, double rate) {
  filterPrm_tag parameters{type, frequency, 0.0, 0.0, q, gain, rate};
  return new (std::nothrow) IIRFilter(&parameters);
}

void deleteSections(IIRFilter**& sections, int32 count) noexcept {
  if (sections == nullptr) return;
  std::for_each_n(sections, count, [](IIRFilter* section) { delete section; });
  delete[] sections;
  sections = nullptr;
}

// An array of `count` sections; null when storage ran out.
IIRFilter** newSections(int32 count, const int32* types, const double* frequencies, const double* qs,
                        const double* gains, double rate) {
  auto** sections = new (std::nothrow) IIRFilter*[static_cast<std::size_t>(count)]();
  if (sections == nullptr) return nullptr;
  for (int32 i = 0; i < count; ++i) {
    sections[i] = newSection(types[i], frequencies[i], qs[i], gains[i], rate);
    if (sections[i] == nullptr) {
      deleteSections(sections, count);
      return nullptr;
    }
  }
  return sections;
}

template <typename T>
void deleteAndClear(T*& object) noexcept {
  delete object;
  object = nullptr;
}

}  // namespace

void Brumbler::setSampleRate(float sampleRateArgument) {
  const double argument = sampleRateArgument;
  if (isSetUpFor(argument)) return;
  const float rate = updateSampleRate();  // asks the host, which may wait for another thread's call of this effect
  buildTable(argument);
  setUpFor(rate);
  resume();
}

bool Brumbler::isSetUpFor(double rate) {
  const RecursiveMutex::Guard guard(lock);
  return rate == curSampleRate;
}

// Set-ups of several effects take turns to build the shared table.
void Brumbler::buildTable(double rateArgument) {
  const RecursiveMutex::Guard guard(clipLock);
  if (rateArgument == clipSampleRate) return;
  clip[0].build();
  clipSampleRate = rateArgument;
}

void Brumbler::setUpFor(float rate) {
  const RecursiveMutex::Guard guard(lock);
  storeShared(sampleRate, rate);  // another thread's set-up may have changed it meanwhile
  curSampleRate = rate;
  releaseProcessing();
  if (buildProcessing()) return;
  releaseProcessing();
  curSampleRate = std::numeric_limits<double>::quiet_NaN();  // no rate equals it: the next set-up runs in full
}

// False when out of memory; releaseProcessing() then frees what was built so far.
bool Brumbler::buildProcessing() {
  constexpr double kMostRate = 2147483647.0;
  sampleRateInt = static_cast<int32>(std::min(curSampleRate, kMostRate));
  toneK = nearest::tan(kToneRadians / curSampleRate);
  toneZ1 = 0.0;
  toneZ2 = 0.0;

  const OversamplingLowpass& lowpass = sampleRateInt == 48000 ? kLowpass48000 : kLowpassOther;
  std::copy(std::begin(lowpass.a), std::end(lowpass.a), ovsA);
  std::copy(std::begin(lowpass.b), std::end(lowpass.b), ovsB);
  std::reverse_copy(std::begin(lowpass.b), std::end(lowpass.b), ovsB + 3);
  std::fill_n(&ovsState[0][0], 12, 0.0);

  clipThrPos = 0.0025;
  clipDrive = 400.0;
  clipThrNeg = -0.002;
  lastFuzz = -1.0F;  // the gain law is due at the next block
  lastVolume = 0.0;  // and VOLUME rises from silence over it

  fuzzTaper = new (std::nothrow) Taper{nullptr, TAPER_POWER, 18.0, 6.0, 1.0F, 0.0F, 0.0F, 1.0F, 0};
  adjustFilters = newSections(adjustCount, num_Adjust, freq_Adjust, q_Adjust, gain_Adjust, curSampleRate);
  revFilters = newSections(revCount, num_Rev, freq_Rev, q_Rev, gain_Rev, curSampleRate);
  fuzzPeak = newSection(FT_PEQ, 110.0, 0.8, 0.05, curSampleRate);
  fuzzHighpass = newSection(FT_HPF_Q, 300.0, 0.3, 0.0, curSampleRate);
  lowPeak = newSection(FT_PEQ, 80.0, 0.1, 6.0, curSampleRate);
  dcBlock = newSection(FT_HPF1, 20.0, 1.0, 0.0, curSampleRate);
  switchFader = SwitchFader::create(curSampleRate, onOff);

  const bool complete = fuzzTaper != nullptr && adjustFilters != nullptr && revFilters != nullptr &&
                        fuzzPeak != nullptr && fuzzHighpass != nullptr && lowPeak != nullptr && dcBlock != nullptr &&
                        switchFader != nullptr;
  if (!complete) return false;
  joinStages();
  growWorkBuffers(loadShared(blockSize));  // if this fails, shorter blocks may still play
  return true;
}

// Also works when only some of it was built.
void Brumbler::releaseProcessing() noexcept {
  if (fuzzTaper != nullptr) delete[] fuzzTaper->coefs;
  deleteAndClear(fuzzTaper);
  deleteSections(adjustFilters, adjustCount);
  deleteSections(revFilters, revCount);
  deleteAndClear(fuzzPeak);
  deleteAndClear(fuzzHighpass);
  deleteAndClear(lowPeak);
  deleteAndClear(dcBlock);
  SwitchFader::destroy(switchFader);
  switchFader = nullptr;
  delete[] gainBuffer;
  gainBuffer = nullptr;
  workBufLen = 0;
}

void Brumbler::setBlockSize(int32 newBlockSize) {
  const RecursiveMutex::Guard guard(lock);
  AudioEffectX::setBlockSize(newBlockSize);
  if (isSetUp()) growWorkBuffers(newBlockSize);
}

// Makes the work buffers hold `samples`. The switch buffer grows first, so it always holds at least workBufLen samples.
// The buffers never shrink. False when out of memory; workBufLen is then unchanged.
bool Brumbler::growWorkBuffers(int32 samples) noexcept {
  return switchFader->reserve(samples) && growBuffer(gainBuffer, workBufLen, samples);
}

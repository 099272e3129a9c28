// SPDX-License-Identifier: MIT
// Checks at compile time that the layouts are those of the binary interface. A host compiled elsewhere reads these
// offsets.
#include <cstddef>
#include <initializer_list>

#include "dsp/Clipper.h"
#include "dsp/IIRFilter.h"
#include "dsp/SwitchFader.h"
#include "dsp/Taper.h"
#include "effect/Brumbler.h"
#include "effect/BrumblerProgram.h"
#include "host/Q_TypeIF.h"
#include "host/VstRecords.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // both compilers allow it for classes with virtual tables

namespace {

constexpr bool k64Bits = sizeof(void*) == 8;

struct DoubleInRecord {
  char before;
  double value;
};
constexpr bool kDoublesTo4 = offsetof(DoubleInRecord, value) == 4;  // 32-bit x86 alone

// Picks the number for this target. 32-bit targets differ only where a record holds doubles.
consteval std::size_t at(std::size_t on32Bits, std::size_t on64Bits) { return k64Bits ? on64Bits : on32Bits; }
consteval std::size_t at(std::size_t onI386, std::size_t on32Bits, std::size_t on64Bits) {
  return kDoublesTo4 ? onI386 : at(on32Bits, on64Bits);
}

consteval bool ascending(std::initializer_list<std::size_t> offsets) {
  for (const std::size_t* next = offsets.begin() + 1; next < offsets.end(); ++next) {
    if (next[-1] >= next[0]) return false;
  }
  return true;
}

}  // namespace

// The record through which the host drives the effect: offsets on 32 and on 64 bits.
static_assert(offsetof(AEffect, magic) == at(0, 0));
static_assert(offsetof(AEffect, dispatcher) == at(4, 8));
static_assert(offsetof(AEffect, process) == at(8, 16));
static_assert(offsetof(AEffect, setParameter) == at(12, 24));
static_assert(offsetof(AEffect, getParameter) == at(16, 32));
static_assert(offsetof(AEffect, numPrograms) == at(20, 40));
static_assert(offsetof(AEffect, numParams) == at(24, 44));
static_assert(offsetof(AEffect, numInputs) == at(28, 48));
static_assert(offsetof(AEffect, numOutputs) == at(32, 52));
static_assert(offsetof(AEffect, flags) == at(36, 56));
static_assert(offsetof(AEffect, resvd1) == at(40, 64));
static_assert(offsetof(AEffect, resvd2) == at(44, 72));
static_assert(offsetof(AEffect, initialDelay) == at(48, 80));
static_assert(offsetof(AEffect, realQualities) == at(52, 84));
static_assert(offsetof(AEffect, offQualities) == at(56, 88));
static_assert(offsetof(AEffect, ioRatio) == at(60, 92));
static_assert(offsetof(AEffect, object) == at(64, 96));
static_assert(offsetof(AEffect, user) == at(68, 104));
static_assert(offsetof(AEffect, uniqueID) == at(72, 112));
static_assert(offsetof(AEffect, version) == at(76, 116));
static_assert(offsetof(AEffect, processReplacing) == at(80, 120));
static_assert(offsetof(AEffect, processDoubleReplacing) == at(84, 128));
static_assert(offsetof(AEffect, future) == at(88, 136));
static_assert(sizeof(AEffect) == at(144, 192));

// Records of fixed sizes: the same everywhere.
static_assert(offsetof(VstSpeakerProperties, azimuth) == 0);
static_assert(offsetof(VstSpeakerProperties, elevation) == 4);
static_assert(offsetof(VstSpeakerProperties, radius) == 8);
static_assert(offsetof(VstSpeakerProperties, reserved) == 12);
static_assert(offsetof(VstSpeakerProperties, name) == 16);
static_assert(offsetof(VstSpeakerProperties, type) == 80);
static_assert(offsetof(VstSpeakerProperties, future) == 84);
static_assert(sizeof(VstSpeakerProperties) == 112);
static_assert(offsetof(VstSpeakerArrangement, type) == 0);
static_assert(offsetof(VstSpeakerArrangement, numChannels) == 4);
static_assert(sizeof(VstSpeakerArrangement) == 8);
static_assert(offsetof(VstParameterProperties, stepFloat) == 0);
static_assert(offsetof(VstParameterProperties, smallStepFloat) == 4);
static_assert(offsetof(VstParameterProperties, largeStepFloat) == 8);
static_assert(offsetof(VstParameterProperties, label) == 12);
static_assert(offsetof(VstParameterProperties, flags) == 76);
static_assert(offsetof(VstParameterProperties, minInteger) == 80);
static_assert(offsetof(VstParameterProperties, maxInteger) == 84);
static_assert(offsetof(VstParameterProperties, stepInteger) == 88);
static_assert(offsetof(VstParameterProperties, largeStepInteger) == 92);
static_assert(offsetof(VstParameterProperties, shortLabel) == 96);
static_assert(offsetof(VstParameterProperties, displayIndex) == 104);
static_assert(offsetof(VstParameterProperties, category) == 106);
static_assert(offsetof(VstParameterProperties, numParametersInCategory) == 108);
static_assert(offsetof(VstParameterProperties, reserved) == 110);
static_assert(offsetof(VstParameterProperties, categoryLabel) == 112);
static_assert(offsetof(VstParameterProperties, future) == 136);
static_assert(offsetof(VstParameterProperties, extension) == 152);
static_assert(sizeof(VstParameterProperties) == 154);

// The filter section: 32-bit x86, other 32-bit processors, 64 bits.
static_assert(offsetof(filterPrm_tag, type) == 0);
static_assert(offsetof(filterPrm_tag, freq) == at(4, 8, 8));
static_assert(offsetof(filterPrm_tag, freqLow) == at(12, 16, 16));
static_assert(offsetof(filterPrm_tag, freqHigh) == at(20, 24, 24));
static_assert(offsetof(filterPrm_tag, q) == at(28, 32, 32));
static_assert(offsetof(filterPrm_tag, gain) == at(36, 40, 40));
static_assert(offsetof(filterPrm_tag, sampleRate) == at(44, 48, 48));
static_assert(sizeof(filterPrm_tag) == at(52, 56, 56));
static_assert(offsetof(IIRFilter, coef) == at(4, 8, 8));
static_assert(offsetof(IIRFilter, startCoef) == at(44, 48, 48));
static_assert(offsetof(IIRFilter, deltaCoef) == at(84, 88, 88));
static_assert(offsetof(IIRFilter, z1) == at(124, 128, 128));
static_assert(offsetof(IIRFilter, z2) == at(132, 136, 136));
static_assert(offsetof(IIRFilter, pi) == at(140, 144, 144));
static_assert(offsetof(IIRFilter, type) == at(148, 152, 152));
static_assert(offsetof(IIRFilter, prevType) == at(150, 154, 154));
static_assert(offsetof(IIRFilter, biquad) == at(152, 156, 156));
static_assert(offsetof(IIRFilter, ipCount) == at(156, 160, 160));
static_assert(offsetof(IIRFilter, ipLength) == at(164, 168, 168));
static_assert(sizeof(IIRFilter) == at(172, 176, 176));

// The other records of the signal path, likewise.
static_assert(offsetof(Clipper, center) == 0);
static_assert(offsetof(Clipper, table) == 8);
static_assert(offsetof(Clipper, guard) == 320016);
static_assert(sizeof(Clipper) == 320024);
static_assert(offsetof(Taper, coefs) == 0);
static_assert(offsetof(Taper, curve) == at(4, 8));
static_assert(offsetof(Taper, valueAtMax) == at(8, 16));
static_assert(offsetof(Taper, valueAtMin) == at(16, 24));
static_assert(offsetof(Taper, scale) == at(24, 32));
static_assert(offsetof(Taper, shift) == at(28, 36));
static_assert(offsetof(Taper, offset) == at(32, 40));
static_assert(offsetof(Taper, exponent) == at(36, 44));
static_assert(offsetof(Taper, numCoefs) == at(40, 48));
static_assert(sizeof(Taper) == at(44, 48, 56));
static_assert(offsetof(SwitchFader, length) == 0);
static_assert(offsetof(SwitchFader, lengthD) == at(4, 8, 8));
static_assert(offsetof(SwitchFader, fadeTime) == at(12, 16, 16));
static_assert(offsetof(SwitchFader, unityGain) == at(20, 24, 24));
static_assert(offsetof(SwitchFader, fadeIn) == at(28, 32, 32));
static_assert(offsetof(SwitchFader, fadeOut) == at(32, 36, 40));
static_assert(offsetof(SwitchFader, pos) == at(36, 40, 48));
static_assert(offsetof(SwitchFader, bufLen) == at(40, 44, 52));
static_assert(offsetof(SwitchFader, lastSwitch) == at(44, 48, 56));
static_assert(offsetof(SwitchFader, switchBuf) == at(48, 52, 64));
static_assert(offsetof(SwitchFader, state) == at(52, 56, 72));
static_assert(sizeof(SwitchFader) == at(56, 64, 80));

// A program.
static_assert(offsetof(BrumblerProgram, onOff) == at(4, 8));
static_assert(offsetof(BrumblerProgram, volume) == at(8, 12));
static_assert(offsetof(BrumblerProgram, fuzz) == at(12, 16));
static_assert(offsetof(BrumblerProgram, name) == at(16, 20));
static_assert(sizeof(BrumblerProgram) == at(40, 48));

// The classes; their fields are not public.
struct FieldOffsets {
  // What an entry function returns, the base of the effect, and the host extension.
  static_assert(offsetof(Q_TypeIF, aeffect) == at(4, 8));
  static_assert(sizeof(Q_TypeIF) == at(8, 16));
  static_assert(offsetof(AudioEffect, audioMaster) == at(4, 8));
  static_assert(offsetof(AudioEffect, editor) == at(8, 16));
  static_assert(offsetof(AudioEffect, sampleRate) == at(12, 24));
  static_assert(offsetof(AudioEffect, blockSize) == at(16, 28));
  static_assert(offsetof(AudioEffect, numPrograms) == at(20, 32));
  static_assert(offsetof(AudioEffect, numParams) == at(24, 36));
  static_assert(offsetof(AudioEffect, curProgram) == at(28, 40));
  static_assert(offsetof(AudioEffect, cEffect) == at(32, 48));
  static_assert(sizeof(AudioEffect) == at(176, 240));
  static_assert(offsetof(Q_TypeBase, headerVersion) == at(176, 240));
  static_assert(sizeof(Q_TypeBase) == at(180, 248));

  // The effect. Its first field follows the base's last. The offsets of the others depend on the size of a mutex, so
  // only their order is checked.
  static_assert(offsetof(Brumbler, programs) == at(180, 248));
  static_assert(
      ascending({offsetof(Brumbler, programs),      offsetof(Brumbler, lock),        offsetof(Brumbler, sampleRateInt),
                 offsetof(Brumbler, curSampleRate), offsetof(Brumbler, ovsState),    offsetof(Brumbler, adjustCount),
                 offsetof(Brumbler, revCount),      offsetof(Brumbler, clipOutGain), offsetof(Brumbler, outputGain),
                 offsetof(Brumbler, adjustFilters), offsetof(Brumbler, fuzzPeak),    offsetof(Brumbler, fuzzHighpass),
                 offsetof(Brumbler, lowPeak),       offsetof(Brumbler, revFilters),  offsetof(Brumbler, dcBlock),
                 offsetof(Brumbler, firstBlock),    offsetof(Brumbler, switchFader), offsetof(Brumbler, gainBuffer),
                 offsetof(Brumbler, volume),        offsetof(Brumbler, lastVolume),  offsetof(Brumbler, toneK),
                 offsetof(Brumbler, toneZ1),        offsetof(Brumbler, toneZ2),      offsetof(Brumbler, fuzz),
                 offsetof(Brumbler, lastFuzz),      offsetof(Brumbler, fuzzTaper),   offsetof(Brumbler, onOff),
                 offsetof(Brumbler, ovsA),          offsetof(Brumbler, ovsB),        offsetof(Brumbler, clipThrPos),
                 offsetof(Brumbler, clipDrive),     offsetof(Brumbler, clipThrNeg),  offsetof(Brumbler, workBufLen)}));
};

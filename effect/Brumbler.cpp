// SPDX-License-Identifier: MIT
#include "effect/Brumbler.h"

#include <cstring>

#include "effect/BrumblerProgram.h"
#include "host/SharedValue.h"

namespace {

// Copies `source` to the host's buffer, fills its first `size` bytes up with zeros, and writes a terminating zero after
// them.
bool copyText(char* text, const char* source, std::size_t size) noexcept {
  if (text == nullptr) return false;
  std::strncpy(text, source, size);
  text[size] = '\0';
  return true;
}

}  // namespace

BrumblerProgram::~BrumblerProgram() = default;

Brumbler::Brumbler(audioMasterCallback master) : Q_TypeBase(master, kNumPrograms, kNumParams) {
  programs = new BrumblerProgram[static_cast<std::size_t>(numPrograms)];
  loadProgram(0);
  AudioEffect::canDoubleReplacing(true);
  cEffect.uniqueID = fourCharacterCode("RBWK");  // in memory, from the lowest address up: K W B R
  cEffect.numInputs = 1;
  cEffect.numOutputs = 1;
}

Brumbler::~Brumbler() {
  delete[] programs;
  releaseProcessing();
}

void Brumbler::resume() {}

void Brumbler::setParameter(int32 index, float value) {
  const RecursiveMutex::Guard guard(lock);
  storeParameter(index, value);
}

void Brumbler::storeParameter(int32 index, float value) {
  BrumblerProgram& program = programs[curProgram];
  switch (index) {
    case kOnOff:
      program.onOff = value;
      storeShared(onOff, value);
      break;
    case kVolume:
      program.volume = value;
      storeShared(volume, value);
      break;
    case kFuzz:
      program.fuzz = value;
      storeShared(fuzz, value);
      break;
    default: break;
  }
}

float Brumbler::getParameter(int32 index) {
  switch (index) {
    case kOnOff: return loadShared(onOff);
    case kVolume: return loadShared(volume);
    case kFuzz: return loadShared(fuzz);
    default: return 0.0F;
  }
}

bool Brumbler::getEffectName(char* name) { return copyText(name, "Brumbler", 32); }
bool Brumbler::getProductString(char* text) { return copyText(text, "Brumbler", 64); }
int32 Brumbler::getVendorVersion() { return 1000; }
int32 Brumbler::getPlugCategory() { return kPlugCategEffect; }

int32 Brumbler::getNumOfInJacks() { return 1; }
int32 Brumbler::getNumOfOutJacks() { return 1; }
int32 Brumbler::getNumOfInSig(int32 /*jack*/) { return 1; }
int32 Brumbler::getNumOfOutSig(int32 /*jack*/) { return 1; }
int32 Brumbler::getStartNumInSig(int32 /*jack*/) { return 0; }
int32 Brumbler::getStartNumOutSig(int32 /*jack*/) { return 0; }
int32 Brumbler::getDryInSigNum() { return -1; }

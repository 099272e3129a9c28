// SPDX-License-Identifier: MIT
// The sixteen programs.
#include <cstdio>
#include <cstring>

#include "effect/Brumbler.h"
#include "effect/BrumblerProgram.h"
#include "host/SharedValue.h"

namespace {

using Name = char[BrumblerProgram::kNameSize];

// Names are set and read without a lock, character by character. The last byte of a stored name is never written, so a
// reader always finds the end of the text.
void readName(const Name& stored, Name& name) noexcept {
  for (int i = 0; i < BrumblerProgram::kNameSize; ++i) name[i] = loadShared(stored[i]);
}

void writeName(Name& stored, const char* text) noexcept {
  for (int i = 0; i < BrumblerProgram::kNameSize - 1; ++i) {
    storeShared(stored[i], *text);
    if (*text != '\0') ++text;
  }
}

}  // namespace

void Brumbler::setProgram(int32 program) {
  if (program < 0 || program >= numPrograms) return;
  const RecursiveMutex::Guard guard(lock);
  loadProgram(program);
}

// The caller holds `lock`, or is the constructor.
void Brumbler::loadProgram(int32 program) {
  storeShared(curProgram, program);
  const BrumblerProgram& source = programs[program];
  storeParameter(kOnOff, source.onOff);
  storeParameter(kVolume, source.volume);
  storeParameter(kFuzz, source.fuzz);
}

void Brumbler::setProgramName(char* name) {
  if (name != nullptr) writeName(programs[loadShared(curProgram)].name, name);
}

void Brumbler::getProgramName(char* name) {
  if (name == nullptr) return;
  const int32 program = loadShared(curProgram);
  Name stored;
  readName(programs[program].name, stored);
  if (std::strcmp(stored, BrumblerProgram::kDefaultName) == 0) {
    std::snprintf(name, sizeof stored, "%s %d", BrumblerProgram::kDefaultName, program + 1);
  } else {
    std::strcpy(name, stored);
  }
}

bool Brumbler::getProgramNameIndexed(int32 /*category*/, int32 index, char* text) {
  if (text == nullptr || index < 0 || index >= numPrograms) return false;
  Name stored;
  readName(programs[index].name, stored);
  std::strcpy(text, stored);
  return true;
}

// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/Opcodes.h"
#include "host/Q_TypeIF.h"

// A host for tests: answers what a test sets, remembers every call. One at a time; the callback finds it here.
struct FakeHost {
  struct Call {
    AEffect* effect;
    int32 opcode;
    int32 index;
    intptr value;
    void* ptr;
    float opt;
  };
  inline static intptr version = 2400;
  inline static intptr sampleRate = 44100;
  inline static intptr blockSize = 1024;
  inline static intptr otherAnswer = 0;
  inline static std::vector<Call> calls;

  static void reset() {
    version = 2400;
    sampleRate = 44100;
    blockSize = 1024;
    otherAnswer = 0;
    calls.clear();
  }

  static intptr callback(AEffect* effect, int32 opcode, int32 index, intptr value, void* ptr, float opt) {
    calls.push_back({effect, opcode, index, value, ptr, opt});
    switch (static_cast<HostOpcode>(opcode)) {
      case HostOpcode::version: return version;
      case HostOpcode::getSampleRate: return sampleRate;
      case HostOpcode::getBlockSize: return blockSize;
      default: return otherAnswer;
    }
  }
};

// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// The record through which a host drives an effect, and the callback through which an effect asks its host.
//
// The layout is a binary interface: a host compiled elsewhere reads these offsets. On 32-bit targets the record has
// 144 bytes; on 64-bit targets pointers and pointer-sized integers take their natural size and alignment.

using int32 = std::int32_t;
using intptr = std::intptr_t;  // an argument or answer wide enough for a pointer; 32 bits on 32-bit targets

struct AEffect;

// The host's callback. `effect` is the record of the effect that asks, null while there is none yet. `opcode` is a
// HostOpcode. The meaning of the other arguments and of the answer depends on it.
using audioMasterCallback = intptr (*)(AEffect* effect, int32 opcode, int32 index, intptr value, void* ptr, float opt);

using AEffectDispatcher = intptr (*)(AEffect*, int32 opcode, int32 index, intptr value, void* ptr, float opt);
using AEffectProcess = void (*)(AEffect*, float** inputs, float** outputs, int32 sampleFrames);
using AEffectProcessDouble = void (*)(AEffect*, double** inputs, double** outputs, int32 sampleFrames);
using AEffectSetParameter = void (*)(AEffect*, int32 index, float value);
using AEffectGetParameter = float (*)(AEffect*, int32 index);

// Bits of AEffect::flags.
enum EffectFlag : int32 {
  flagHasEditor = 0x1,
  flagHasClip = 0x2,  // deprecated
  flagHasVu = 0x4,    // deprecated
  flagCanMono = 0x8,  // deprecated
  flagCanReplacing = 0x10,
  flagProgramChunks = 0x20,
  flagIsSynth = 0x100,
  flagNoTail = 0x200,
  flagWantsAsyncOperation = 0x400,  // deprecated
  flagHasExternalBuffer = 0x800,    // deprecated
  flagCanDoubleReplacing = 0x1000,
};

// The integer that spells `text` when it is read with its most significant byte first.
constexpr int32 fourCharacterCode(const char (&text)[5]) noexcept {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = (code << 8) | static_cast<unsigned char>(text[i]);
  return static_cast<int32>(code);
}

struct AEffect {
  int32 magic;                       // 'VstP'
  AEffectDispatcher dispatcher;      // every EffectOpcode
  AEffectProcess process;            // deprecated accumulating process
  AEffectSetParameter setParameter;  // any thread
  AEffectGetParameter getParameter;  // any thread
  int32 numPrograms;
  int32 numParams;
  int32 numInputs;
  int32 numOutputs;
  int32 flags;  // EffectFlag bits
  intptr resvd1;
  intptr resvd2;
  int32 initialDelay;   // samples
  int32 realQualities;  // deprecated
  int32 offQualities;   // deprecated
  float ioRatio;        // deprecated
  void* object;         // the AudioEffect that this record is part of
  void* user;           // for the host's own use
  int32 uniqueID;
  int32 version;
  AEffectProcess processReplacing;              // audio thread
  AEffectProcessDouble processDoubleReplacing;  // audio thread
  char future[56];
};

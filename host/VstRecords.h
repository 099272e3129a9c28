// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "host/AEffect.h"

// Records that cross the interface beside AEffect. Those that are only declared are passed through unread.

struct MidiKeyName;
struct MidiProgramCategory;
struct MidiProgramName;
struct VstAudioFile;
struct VstEvents;
struct VstFileSelect;
struct VstOfflineTask;
struct VstPatchChunkInfo;
struct VstPinProperties;
struct VstTimeInfo;
struct VstVariableIo;
struct __VstWindowDeprecated;

enum VstOfflineOption : int32 {};

// Bits of VstParameterProperties::flags.
enum ParameterFlag : int32 {
  kVstParameterIsSwitch = 1,
  kVstParameterUsesFloatStep = 4,
};

// What getPlugCategory answers.
enum PlugCategory : int32 {
  categoryUnknown = 0,
  kPlugCategEffect = 1,
  categorySynth = 2,
};

// The properties of a parameter: the interface's own 152 bytes and two that the host extension adds, 154 in all. Packed
// to two bytes, because the compiler would otherwise round the size up.
struct [[gnu::packed, gnu::aligned(2)]] VstParameterProperties {
  float stepFloat;
  float smallStepFloat;
  float largeStepFloat;
  char label[64];
  int32 flags;  // ParameterFlag bits
  int32 minInteger;
  int32 maxInteger;
  int32 stepInteger;
  int32 largeStepInteger;
  char shortLabel[8];
  std::int16_t displayIndex;
  std::int16_t category;
  std::int16_t numParametersInCategory;
  std::int16_t reserved;
  char categoryLabel[24];
  char future[16];
  std::uint8_t extension;  // 1 for every parameter of this effect
  std::uint8_t padding;
};

// One key stroke in an editor.
struct VstKeyCode {
  int32 character;
  std::uint8_t virtualKey;
  std::uint8_t modifiers;
};

// One speaker of a channel layout, 112 bytes.
struct VstSpeakerProperties {
  float azimuth;
  float elevation;
  float radius;
  float reserved;
  char name[64];  // ends with a zero within its 64 bytes
  int32 type;
  char future[28];
};

// A channel layout in one block: 8 bytes, followed by `numChannels` speakers.
struct VstSpeakerArrangement {
  int32 type;
  int32 numChannels;

  VstSpeakerProperties* speakers() noexcept { return reinterpret_cast<VstSpeakerProperties*>(this + 1); }
  const VstSpeakerProperties* speakers() const noexcept {
    return reinterpret_cast<const VstSpeakerProperties*>(this + 1);
  }
};

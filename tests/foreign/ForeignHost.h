// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#ifdef BRUMBLER_MODULE
#include "tests/DynamicLibrary.h"
#endif

// A host that shares nothing with the module but the binary interface: it loads the built file, reads records by offset
// and calls virtual operations by slot. Offsets are given for 32 and for 64 bits. It does not use HostedEffect, because
// a fault shared by host and effect would then go unnoticed.

using Word = std::intptr_t;
using Callback = Word (*)(void* effect, std::int32_t opcode, std::int32_t index, Word value, void* ptr, float opt);
using Entry = void* (*)(Callback);

constexpr std::size_t at(std::size_t on32Bits, std::size_t on64Bits) {
  return sizeof(void*) == 8 ? on64Bits : on32Bits;
}

template <typename T>
T read(const void* object, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const char*>(object) + offset, sizeof value);
  return value;
}

// Calls slot `slot` of the object's virtual table.
template <typename Result, typename... Arguments>
Result callSlot(void* object, int slot, Arguments... arguments) {
  auto* const operation = read<void**>(object, 0)[slot];
  return reinterpret_cast<Result (*)(void*, Arguments...)>(operation)(object, arguments...);
}

// The effect's questions to its host, and the answers.
struct Question {
  std::int32_t opcode;
  std::int32_t index = 0;
  Word value = 0;
  void* ptr = nullptr;
  float opt = 0.0F;
  void* effect = nullptr;
  bool operator==(const Question&) const = default;
};
inline std::vector<Question> questions;
inline Word answer = 0;

inline Word callback(void* effect, std::int32_t opcode, std::int32_t index, Word value, void* ptr, float opt) {
  const Question question{opcode, index, value, ptr, opt, effect};
  if (question == Question{1}) return 2400;  // the version, asked before there is an effect
  questions.push_back(question);
  return answer;
}

#ifdef BRUMBLER_MODULE
// The built module, loaded while this exists.
struct Module {
  Entry entry(const char* name = "getinterface") const { return library.function<Entry>(name); }

  DynamicLibrary library{BRUMBLER_MODULE};
};
#else
extern "C" void* getinterface(Callback);

// The module where it is linked in.
struct Module {
  static Entry entry() { return getinterface; }
};
#endif

// One effect of the module, closed through its record unless a test did.
struct Effect {
  explicit Effect(Entry makeIt)
      : entry(makeIt),
        wrapper(static_cast<void**>(entry(callback))),
        record(wrapper[1]),
        object(read<void*>(record, at(64, 96))) {}
  Effect(Effect&&) = delete;
  ~Effect() {
    if (object != nullptr) dispatch(1);
    callSlot<void>(wrapper, 1);
  }

  template <typename Result, typename... Arguments>
  Result call(int slot, Arguments... arguments) const {
    return callSlot<Result>(object, slot, arguments...);
  }

  Word dispatch(std::int32_t opcode, std::int32_t index = 0, Word value = 0, void* ptr = nullptr,
                float opt = 0.0F) const {
    using Dispatcher = Word (*)(void*, std::int32_t, std::int32_t, Word, void*, float);
    return read<Dispatcher>(record, at(4, 8))(record, opcode, index, value, ptr, opt);
  }

  void process(double* in, double* out, std::int32_t length) const {
    using Process = void (*)(void*, double**, double**, std::int32_t);
    read<Process>(record, at(84, 128))(record, &in, &out, length);
  }

  void set(std::int32_t index, float value) const {
    read<void (*)(void*, std::int32_t, float)>(record, at(12, 24))(record, index, value);
  }

  Entry entry;
  void** wrapper;
  void* record;
  void* object;
};

// SPDX-License-Identifier: MIT
#include <cxxabi.h>

#include <memory>
#include <new>

#include "effect/Brumbler.h"
#include "host/Q_TypeIF.h"

namespace {

// A new Brumbler for the host behind `audioMaster`; null when out of memory. Exceptions of its constructor pass
// through.
AudioEffect* createPluginFilter(audioMasterCallback audioMaster) { return new (std::nothrow) Brumbler(audioMaster); }

// The record of a new effect, or null.
AEffect* createRecord(audioMasterCallback audioMaster) {
  try {
    if (audioMaster == nullptr) return nullptr;
    constexpr auto kVersion = static_cast<int32>(HostOpcode::audioMasterVersion);
    if (audioMaster(nullptr, kVersion, 0, 0, nullptr, 0.0F) == 0) return nullptr;
    AudioEffect* const effect = createPluginFilter(audioMaster);
    return effect != nullptr ? effect->getAeffect() : nullptr;
#ifdef __GLIBCXX__
  } catch (abi::__forced_unwind&) {
    throw;  // the thread ends within the callback
#endif
  } catch (...) {
    return nullptr;
  }
}

Q_TypeIF* createInterface(audioMasterCallback audioMaster) {
  std::unique_ptr<Q_TypeIF> wrapper(new (std::nothrow) Q_TypeIF(nullptr));
  if (wrapper == nullptr) return nullptr;
  AEffect* const record = createRecord(audioMaster);
  if (record == nullptr) return nullptr;
  wrapper->aeffect = static_cast<AudioEffect*>(record->object)->getAeffect();
  return wrapper.release();
}

}  // namespace

Q_TypeIF::Q_TypeIF(AEffect* record) noexcept : aeffect(record) {}
Q_TypeIF::~Q_TypeIF() = default;

extern "C" Q_TypeIF* getinterface(audioMasterCallback audioMaster) { return createInterface(audioMaster); }
extern "C" Q_TypeIF* QTypeIF(audioMasterCallback audioMaster) { return createInterface(audioMaster); }

// SPDX-License-Identifier: MIT
#pragma once

#include "host/AEffect.h"

// What the entry functions return to the host: a wrapper that holds the address of one effect's record. The host owns
// the wrapper and deletes it through its destructor; the effect lives on until the host closes it through the record.
// The layout is part of the interface: the virtual-table pointer, then `aeffect`.
class Q_TypeIF {
 public:
  explicit Q_TypeIF(AEffect* record) noexcept;
  Q_TypeIF(const Q_TypeIF&) = delete;
  Q_TypeIF& operator=(const Q_TypeIF&) = delete;
  virtual ~Q_TypeIF();

  AEffect* aeffect;
};

// The module's two entries, which do the same. Each call creates a new effect and a wrapper for it. Null when memory
// runs out, when the host answers version 0 or throws, or when there is no callback. Any thread may call.
//
// The callback should not throw. An exception is caught and freed. But if the module brings its own C++ runtime, the
// host's runtime does not notice, and std::uncaught_exceptions() counts the exception on that thread from then on. A
// thread that ends within the callback (cancelled, or by pthread_exit) does end, and nothing leaks.
extern "C" {
[[gnu::visibility("default")]] Q_TypeIF* getinterface(audioMasterCallback audioMaster);
[[gnu::visibility("default")]] Q_TypeIF* QTypeIF(audioMasterCallback audioMaster);
}

// SPDX-License-Identifier: MIT
#pragma once

#include "host/AEffect.h"

// What the entry functions hand to the host: the way to one effect's record. The host owns the wrapper and deletes it
// through its destructor; the effect lives on until the host closes it through the record. Its layout is part of the
// interface: the virtual-table pointer, then `aeffect`.
class Q_TypeIF {
 public:
  explicit Q_TypeIF(AEffect* record) noexcept;
  Q_TypeIF(const Q_TypeIF&) = delete;
  Q_TypeIF& operator=(const Q_TypeIF&) = delete;
  virtual ~Q_TypeIF();

  AEffect* aeffect;
};

// The module's two entries; they do the same. Each call makes one new effect and a wrapper for it. Null when storage
// ran out, the host answers version 0 or throws, or there is no callback. Any thread may call.
//
// The callback had better not throw. What it throws is caught and freed; but where the module brings its own C++
// runtime the host's has not seen that, and std::uncaught_exceptions() counts the exception on that thread ever after.
// A thread that ends within the callback (cancelled, or by pthread_exit) does end, and leaves nothing behind.
extern "C" {
[[gnu::visibility("default")]] Q_TypeIF* getinterface(audioMasterCallback audioMaster);
[[gnu::visibility("default")]] Q_TypeIF* QTypeIF(audioMasterCallback audioMaster);
}

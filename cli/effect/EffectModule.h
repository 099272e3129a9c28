// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/Q_TypeIF.h"

// The loaded module brumbler.so and its entry function. Must outlive every effect that it made.
class EffectModule {
 public:
  // Loads `path`; an empty one stands for the module beside this executable, else the installed one. Throws Failure
  // when no module is found, it cannot be loaded or it has no entry function.
  explicit EffectModule(const std::string& path);

  // Where the module was loaded from.
  const std::string& path() const noexcept { return path_; }

  // A new effect and its wrapper, for the host behind `callback`. Throws Failure when the module answers no record, or
  // one that this command cannot drive: it needs one channel of doubles in and one out. Any thread may call.
  std::unique_ptr<Q_TypeIF> createEffect(audioMasterCallback callback) const;

 private:
  struct Unload {
    void operator()(void* library) const noexcept;
  };

  std::string path_;
  std::unique_ptr<void, Unload> library_;
  Q_TypeIF* (*entry_)(audioMasterCallback) = nullptr;
};

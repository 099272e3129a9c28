// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "player/EffectPlayer.h"

// The path of an installed file of ours that lies with the modules: beside this executable, else where `cmake
// --install` puts it, seen from the executable or from the root. Throws Failure if it is in none of these folders.
std::string findBeside(const std::string& name);

// The loaded module brumbler.so and its entry function. Must outlive every effect that it created.
class EffectModule {
 public:
  // Loads `path`; if it is empty, the module beside this executable, or else the installed one. Throws Failure if no
  // module is found, it cannot be loaded, or it has no entry function.
  explicit EffectModule(const std::string& path);

  // Where the module was loaded from.
  const std::string& path() const noexcept { return path_; }

  // A new effect for `rate` Hz and blocks of at most `blockLength` samples, both at least 1. Throws Failure if the
  // module creates no effect, or one that cannot be used. Any thread may call.
  std::unique_ptr<HostedEffect> createEffect(int rate, int blockLength) const;

  // The same for a player of `channels` channels, at least 1.
  std::unique_ptr<EffectPlayer> createPlayer(int rate, int blockLength, int channels) const;

 private:
  void requireNoFault(const char* fault) const;

  struct Unload {
    void operator()(void* library) const noexcept;
  };

  std::string path_;
  std::unique_ptr<void, Unload> library_;
  HostedEffect::Entry entry_ = nullptr;
};

// SPDX-License-Identifier: MIT
#include "cli/effect/EffectModule.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include "cli/text/Failure.h"

namespace {

namespace fs = std::filesystem;

std::string lastLoaderError() {
  const char* const text = dlerror();  // of this thread. NOLINT(concurrency-mt-unsafe)
  return text != nullptr ? text : "the loader gives no reason";
}

}  // namespace

std::string findBeside(const std::string& name) {
  std::error_code ignored;
  const fs::path executableDirectory = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  const std::vector<fs::path> places = {executableDirectory,
                                        (executableDirectory / BRUMBLER_MODULE_FROM_BIN).lexically_normal(),
                                        fs::path(BRUMBLER_MODULE_DIRECTORY)};
  for (const fs::path& place : places) {
    if (fs::exists(place / name, ignored)) return (place / name).string();
  }
  std::string looked;
  for (const fs::path& place : places) looked += (looked.empty() ? "" : ", ") + place.string();
  throw Failure(name + " is in none of: " + looked + "; build or install it");
}

void EffectModule::Unload::operator()(void* library) const noexcept { dlclose(library); }

EffectModule::EffectModule(const std::string& path) : path_(path.empty() ? findBeside("brumbler.so") : path) {
  // dlopen() would search the system's library folders for a name without a slash.
  const std::string absolute = fs::absolute(path_).string();
  library_.reset(dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library_ == nullptr) {
    throw Failure("cannot load the module (" + lastLoaderError() + "); give the path of brumbler.so with --module");
  }
  for (const char* const name : {"getinterface", "QTypeIF"}) {
    if (void* const symbol = dlsym(library_.get(), name)) {
      entry_ = reinterpret_cast<HostedEffect::Entry>(symbol);
      return;
    }
  }
  throw Failure(path_ + ": has no entry function getinterface; give the path of brumbler.so with --module");
}

std::unique_ptr<HostedEffect> EffectModule::createEffect(int rate, int blockLength) const {
  auto effect = std::make_unique<HostedEffect>(entry_, rate, blockLength);
  requireNoFault(effect->fault());
  return effect;
}

std::unique_ptr<EffectPlayer> EffectModule::createPlayer(int rate, int blockLength, int channels) const {
  auto player = std::make_unique<EffectPlayer>(entry_, rate, blockLength, channels);
  requireNoFault(player->fault());
  return player;
}

void EffectModule::requireNoFault(const char* fault) const {
  if (fault == nullptr) return;
  throw Failure(path_ + ": the module " + fault + "; give the path of brumbler.so with --module");
}

// SPDX-License-Identifier: MIT
#pragma once

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <cstdio>
#include <cstdlib>

// A shared library, loaded while this lives. Ends the program if it cannot be loaded.
class DynamicLibrary {
 public:
#ifdef _WIN32
  explicit DynamicLibrary(const char* path) : handle_(LoadLibraryA(path)) {
    if (handle_ == nullptr) std::fprintf(stderr, "%s: error %lu\n", path, GetLastError());
    if (handle_ == nullptr) std::abort();
  }
  ~DynamicLibrary() { FreeLibrary(handle_); }

  // The function called `name`, null if the library exports none.
  template <typename Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(handle_, name)));
  }

  static bool isLoaded(const char* path) { return GetModuleHandleA(path) != nullptr; }
#else
  explicit DynamicLibrary(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) std::fprintf(stderr, "%s\n", dlerror());
    if (handle_ == nullptr) std::abort();
  }
  ~DynamicLibrary() { dlclose(handle_); }

  template <typename Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle_, name));
  }

  static bool isLoaded(const char* path) { return dlopen(path, RTLD_NOW | RTLD_NOLOAD) != nullptr; }
#endif
  DynamicLibrary(DynamicLibrary&&) = delete;

 private:
#ifdef _WIN32
  HMODULE handle_;
#else
  void* handle_;
#endif
};

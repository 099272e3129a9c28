// SPDX-License-Identifier: MIT
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cstdlib>
#include <new>

#include "tests/Storage.h"

#ifdef BRUMBLER_WATCH_LIBRARY
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) { return ++storage::calls, __libc_malloc(size); }
void* calloc(std::size_t count, std::size_t size) { return ++storage::calls, __libc_calloc(count, size); }
void* realloc(void* block, std::size_t size) { return ++storage::calls, __libc_realloc(block, size); }
void free(void* block) { ++storage::calls, __libc_free(block); }

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  static const auto next = reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  return ++storage::locks, next(mutex);
}
}
#endif

namespace {

void* allocate(std::size_t size) noexcept {
  ++storage::allocations;
  ++storage::calls;
  if (storage::left == 0) return nullptr;
  if (storage::left > 0) --storage::left;
  return std::malloc(size > 0 ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
  if (void* const block = allocate(size)) return block;
  throw std::bad_alloc();
}

void release(void* block) noexcept { ++storage::calls, std::free(block); }

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { release(block); }

// SPDX-License-Identifier: MIT
#include "bench/allocatedBytes.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t allocated = 0;

}  // namespace

std::size_t allocatedBytes() noexcept { return allocated; }

// The array and the nothrow forms end here as well.
void* operator new(std::size_t size) {
  allocated += size;
  void* const storage = std::malloc(size);
  if (storage == nullptr) throw std::bad_alloc();
  return storage;
}
void operator delete(void* storage) noexcept { std::free(storage); }
void operator delete(void* storage, std::size_t) noexcept { std::free(storage); }

// SPDX-License-Identifier: MIT
// Only for a module that brings its own C++ runtime. Binds the functions that the module needs from the GNU C library
// to their oldest versions instead of the newest, so that a module built here also loads on older systems. Each
// function is wrapped with the linker's --wrap (SYMBOL_VERSIONS in CMakeLists.txt): its callers call __wrap_NAME.
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

// The library's first version for the processor.
#if !defined(__GLIBC__)
#elif defined(__x86_64__) && defined(__LP64__)
#define FIRST_VERSION "GLIBC_2.2.5"
#elif defined(__i386__)
#define FIRST_VERSION "GLIBC_2.0"
#elif defined(__aarch64__)
#define FIRST_VERSION "GLIBC_2.17"
#elif defined(__arm__)
#define FIRST_VERSION "GLIBC_2.4"
#endif

#if defined(__i386__)
#define SETTYPE_VERSION "GLIBC_2.1"
#else
#define SETTYPE_VERSION FIRST_VERSION
#endif
#if defined(__i386__) || defined(__x86_64__)
#define SETPROTOCOL_VERSION "GLIBC_2.4"
#else
#define SETPROTOCOL_VERSION FIRST_VERSION
#endif

#ifdef FIRST_VERSION
#define BIND(name, version) __asm__(".symver __first_" #name "," #name "@" version)
#define FIRST(name) __first_##name
#else  // whichever version the linker takes
#define BIND(name, version) static_assert(true)
#define FIRST(name) __real_##name
#endif

extern "C" {

BIND(memcpy, FIRST_VERSION);
BIND(pthread_mutexattr_destroy, FIRST_VERSION);
BIND(pthread_mutexattr_init, FIRST_VERSION);
BIND(pthread_mutexattr_setprotocol, SETPROTOCOL_VERSION);
BIND(pthread_mutexattr_settype, SETTYPE_VERSION);
BIND(pthread_once, FIRST_VERSION);
void* FIRST(memcpy)(void*, const void*, std::size_t);
[[gnu::weak]] int FIRST(pthread_mutexattr_destroy)(pthread_mutexattr_t*);
[[gnu::weak]] int FIRST(pthread_mutexattr_init)(pthread_mutexattr_t*);
[[gnu::weak]] int FIRST(pthread_mutexattr_setprotocol)(pthread_mutexattr_t*, int);
[[gnu::weak]] int FIRST(pthread_mutexattr_settype)(pthread_mutexattr_t*, int);
[[gnu::weak]] int FIRST(pthread_once)(int*, void (*)());

void* __wrap_memcpy(void* to, const void* from, std::size_t size) { return FIRST(memcpy)(to, from, size); }

// Before 2.34 these functions were in a separate library, which a process with one thread need not have loaded. Without
// that library there are no attributes, and the caller goes on without them.
int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* attributes) {
  return FIRST(pthread_mutexattr_init) != nullptr ? FIRST(pthread_mutexattr_init)(attributes) : ENOSYS;
}
int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type) {
  return FIRST(pthread_mutexattr_settype)(attributes, type);
}
int __wrap_pthread_mutexattr_setprotocol(pthread_mutexattr_t* attributes, int protocol) {
  return FIRST(pthread_mutexattr_setprotocol)(attributes, protocol);
}
int __wrap_pthread_mutexattr_destroy(pthread_mutexattr_t* attributes) {
  return FIRST(pthread_mutexattr_destroy)(attributes);
}
int __wrap_pthread_once(int* control, void (*routine)()) {
  if (FIRST(pthread_once) != nullptr) return FIRST(pthread_once)(control, routine);
  if (*control == 0) routine();
  *control = 1;
  return 0;
}

// From version 13 on the runtime reads an environment variable that sets the size of its reserve for exceptions when
// memory has run out. This module does not read it: secure_getenv dates from 2.17, and g++ would bind strtoul to the
// one of 2.38.
char* __wrap_secure_getenv(const char*) { return nullptr; }
#ifdef FIRST_VERSION
BIND(strtoul, FIRST_VERSION);
unsigned long FIRST(strtoul)(const char*, char**, int);
unsigned long __wrap___isoc23_strtoul(const char* text, char** end, int base) {
  return FIRST(strtoul)(text, end, base);
}
#endif

// The runtime skips atomic operations if this variable, new in 2.32, says that the process has one thread. 0: never
// skip.
char __libc_single_threaded = 0;

// The unwinder only checks whether this function exists, to find out whether there may be threads.
int __wrap___pthread_key_create() { return -1; }

#ifdef DLFO_STRUCT_HAS_EH_DBASE

// What the unwinder asks for: the loaded object that contains `address`, and that object's table of frames. From 2.35
// on the library answers this itself; dl_iterate_phdr, available since 2.2.4, gives the same answer more slowly.
int __wrap__dl_find_object(void* address, dl_find_object* result) {
  struct Search {
    std::uintptr_t address;
    dl_find_object* result;
  } search{reinterpret_cast<std::uintptr_t>(address), result};
  const auto look = [](dl_phdr_info* object, std::size_t, void* data) {
    const Search& wanted = *static_cast<const Search*>(data);
    const ElfW(Phdr)* frames = nullptr;
    [[maybe_unused]] const ElfW(Phdr)* dynamic = nullptr;
    bool holds = false;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
      const ElfW(Phdr)& segment = object->dlpi_phdr[i];
      const std::uintptr_t offset = wanted.address - (object->dlpi_addr + segment.p_vaddr);
      holds = holds || (segment.p_type == PT_LOAD && offset < segment.p_memsz);
      if (segment.p_type == DLFO_EH_SEGMENT_TYPE) frames = &segment;
      if (segment.p_type == PT_DYNAMIC) dynamic = &segment;
    }
    if (!holds) return 0;
    if (frames == nullptr) return -1;
    // The loader tells addresses as numbers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    wanted.result->dlfo_eh_frame = reinterpret_cast<void*>(object->dlpi_addr + frames->p_vaddr);
#if DLFO_STRUCT_HAS_EH_DBASE
    wanted.result->dlfo_eh_dbase = nullptr;
    if (dynamic != nullptr) {
      auto* entry = reinterpret_cast<const ElfW(Dyn)*>(object->dlpi_addr + dynamic->p_vaddr);
      while (entry->d_tag != DT_NULL && entry->d_tag != DT_PLTGOT) ++entry;
      if (entry->d_tag == DT_PLTGOT) wanted.result->dlfo_eh_dbase = reinterpret_cast<void*>(entry->d_un.d_ptr);
    }
#endif
#if DLFO_STRUCT_HAS_EH_COUNT
    wanted.result->dlfo_eh_count = static_cast<int>(frames->p_memsz / 8);  // two words an entry
#endif
    return 1;
  };
  return dl_iterate_phdr(look, &search) == 1 ? 0 : -1;
}

#endif

}  // extern "C"

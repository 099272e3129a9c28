// SPDX-License-Identifier: MIT
// Only in a module that brings its own C++ runtime: what that runtime needs at load and at unload.
#include <unwind.h>

namespace __gnu_cxx {
void __freeres();  // of the GNU runtime, which declares it in no header
}

namespace {

// What a host throws from its callback is unwound by the host's unwinder, which asks the module's own, linked in, about
// the module's frames. That one learns the processor's registers only when it unwinds by itself for the first time, and
// ends the process when it is asked before. So it takes one step here.
[[gnu::constructor]] void prepareUnwinder() {
  _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
}

// The runtime takes 71 KiB at load, for exceptions thrown when storage has run out, and leaves them allocated: a host
// that loads and unloads the module would lose them each time. The loader calls this when it unloads the module.
[[gnu::destructor]] void releaseRuntime() { __gnu_cxx::__freeres(); }

}  // namespace

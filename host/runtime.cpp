// SPDX-License-Identifier: MIT
// Only for a module that brings its own C++ runtime: what that runtime needs when the module is loaded and unloaded.
#include <unwind.h>

namespace __gnu_cxx {
void __freeres();  // of the GNU runtime, which declares it in no header
}

namespace {

// When a host throws from its callback, the host's unwinder asks the module's own, linked in, about the module's
// frames. The module's unwinder learns the processor's registers only when it unwinds for the first time itself; if it
// is asked before, it ends the process. So it takes one step here.
[[gnu::constructor]] void prepareUnwinder() {
  _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
}

// At load the runtime allocates 71 KiB for exceptions thrown when memory has run out, and does not free it: a host that
// loads and unloads the module would leak that much each time. The loader calls this function when it unloads the
// module.
[[gnu::destructor]] void releaseRuntime() { __gnu_cxx::__freeres(); }

}  // namespace

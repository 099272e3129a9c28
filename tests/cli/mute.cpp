// SPDX-License-Identifier: MIT
// A module whose entry creates no effect.
extern "C" [[gnu::visibility("default")]] void* getinterface(void* /*callback*/) { return nullptr; }

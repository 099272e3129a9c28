// SPDX-License-Identifier: MIT
// A module whose entry answers no effect.
extern "C" [[gnu::visibility("default")]] void* getinterface(void* /*callback*/) { return nullptr; }

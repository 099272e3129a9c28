// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Bytes that the process has asked operator new for so far.
std::size_t allocatedBytes() noexcept;

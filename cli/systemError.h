// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <string>

// The system's words for an errno. Any thread, unlike std::strerror.
inline std::string systemError(int code) {
  const char* const text = strerrordesc_np(code);
  return text != nullptr ? text : "error " + std::to_string(code);
}

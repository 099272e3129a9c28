// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

// How long `frames` at `rate` Hz last, like "1.25 s".
inline std::string secondsText(std::int64_t frames, int rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", static_cast<double>(frames) / std::max(rate, 1));
  return text;
}

// SPDX-License-Identifier: MIT
#pragma once

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>

#include <algorithm>
#include <cstdint>

#include "lv2/Features.h"

// The block length to provide for, in samples, from 1 to kMost: the longest that the host announces, otherwise its
// usual one, otherwise kUnannounced. Longer blocks are cut, so a wrong length costs no more than memory.
class BlockLength {
 public:
  static constexpr std::int32_t kMost = 65536;
  static constexpr std::int32_t kUnannounced = 4096;

  // `features`: as passed to instantiate(); may be null.
  static std::int32_t announced(const LV2_Feature* const* features) noexcept {
    for (const char* const key : {LV2_BUF_SIZE__maxBlockLength, LV2_BUF_SIZE__nominalBlockLength}) {
      std::int32_t length = 0;
      if (readOption(features, key, LV2_ATOM__Int, length) && length > 0) return std::min(length, kMost);
    }
    return kUnannounced;
  }
};

// SPDX-License-Identifier: MIT
#pragma once

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

// The block length to provide for, in samples, from 1 to kMost: the longest that the host announces, else its usual
// one, else kUnannounced. Longer blocks are cut, so it costs no more than memory to be wrong.
class BlockLength {
 public:
  static constexpr std::int32_t kMost = 65536;
  static constexpr std::int32_t kUnannounced = 4096;

  // `features` as instantiate gets them; null is none.
  static std::int32_t announced(const LV2_Feature* const* features) noexcept {
    const auto* const map = static_cast<const LV2_URID_Map*>(find(features, LV2_URID__map));
    const auto* const options = static_cast<const LV2_Options_Option*>(find(features, LV2_OPTIONS__options));
    if (map == nullptr || options == nullptr) return kUnannounced;
    const std::int32_t longest = read(*map, options, LV2_BUF_SIZE__maxBlockLength);
    const std::int32_t usual = read(*map, options, LV2_BUF_SIZE__nominalBlockLength);
    const std::int32_t length = longest > 0 ? longest : usual;
    return length > 0 ? std::min(length, kMost) : kUnannounced;
  }

 private:
  static const void* find(const LV2_Feature* const* features, const char* uri) noexcept {
    for (; features != nullptr && *features != nullptr; ++features) {
      if (std::strcmp((*features)->URI, uri) == 0) return (*features)->data;
    }
    return nullptr;
  }

  // 0 when the option is missing or no 32-bit integer.
  static std::int32_t read(const LV2_URID_Map& map, const LV2_Options_Option* option, const char* uri) noexcept {
    const LV2_URID key = map.map(map.handle, uri);
    const LV2_URID integer = map.map(map.handle, LV2_ATOM__Int);
    std::int32_t value = 0;
    for (; option->key != 0 || option->value != nullptr; ++option) {
      if (option->key == key && option->type == integer && option->size == sizeof value && option->value != nullptr) {
        std::memcpy(&value, option->value, sizeof value);
      }
    }
    return value;
  }
};

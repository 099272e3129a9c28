// SPDX-License-Identifier: MIT
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <cstring>

// The data that a host offers with an LV2 feature; null when it does not offer the feature. `features`: as passed to
// instantiate(); may be null.
inline void* findFeature(const LV2_Feature* const* features, const char* uri) noexcept {
  for (; features != nullptr && *features != nullptr; ++features) {
    if (std::strcmp((*features)->URI, uri) == 0) return (*features)->data;
  }
  return nullptr;
}

// Reads the option `key` of the LV2 type `type`. False, with `value` unchanged, when the host gives no such option.
template <typename Value>
bool readOption(const LV2_Feature* const* features, const char* key, const char* type, Value& value) noexcept {
  const auto* const map = static_cast<const LV2_URID_Map*>(findFeature(features, LV2_URID__map));
  const auto* option = static_cast<const LV2_Options_Option*>(findFeature(features, LV2_OPTIONS__options));
  if (map == nullptr || option == nullptr) return false;
  const LV2_URID wantedKey = map->map(map->handle, key), wantedType = map->map(map->handle, type);
  for (; option->key != 0 || option->value != nullptr; ++option) {
    const bool fits = option->type == wantedType && option->size == sizeof value && option->value != nullptr;
    if (option->key == wantedKey && fits) {
      std::memcpy(&value, option->value, sizeof value);
      return true;
    }
  }
  return false;
}

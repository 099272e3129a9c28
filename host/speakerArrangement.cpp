// SPDX-License-Identifier: MIT
// The speaker records of AudioEffectX: allocate, release, copy.
#include <cstring>
#include <limits>
#include <new>

#include "host/AudioEffectX.h"

namespace {

void release(VstSpeakerArrangement* arrangement) noexcept { delete[] reinterpret_cast<char*>(arrangement); }

// One zeroed block for `channels` speakers. Null when out of memory, when its size does not fit, or when `channels` is
// negative.
char* newBlock(int32 channels) noexcept {
  const auto count = static_cast<std::size_t>(channels);
  constexpr std::size_t kMost =
      (std::numeric_limits<std::size_t>::max() / 2 - sizeof(VstSpeakerArrangement)) / sizeof(VstSpeakerProperties);
  if (count > kMost) return nullptr;
  return new (std::nothrow) char[sizeof(VstSpeakerArrangement) + count * sizeof(VstSpeakerProperties)]();
}

}  // namespace

bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, int32 nbChannels) {
  if (arrangement == nullptr) return false;
  release(*arrangement);
  *arrangement = reinterpret_cast<VstSpeakerArrangement*>(newBlock(nbChannels));
  if (*arrangement == nullptr) return false;
  (*arrangement)->numChannels = nbChannels;
  return true;
}

bool AudioEffectX::deallocateArrangement(VstSpeakerArrangement** arrangement) {
  if (arrangement == nullptr) return true;
  release(*arrangement);
  *arrangement = nullptr;
  return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) {
  if (from == nullptr || to == nullptr) return false;
  const std::size_t nameLength = strnlen(from->name, sizeof from->name - 1);
  char name[sizeof to->name] = {};
  std::memcpy(name, from->name, nameLength);
  std::memcpy(to->name, name, sizeof name);
  to->type = from->type;
  to->azimuth = from->azimuth;
  to->elevation = from->elevation;
  to->radius = from->radius;
  to->reserved = from->reserved;
  std::memmove(to->future, from->future, sizeof to->future);
  return true;
}

bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from) {
  if (from == nullptr || to == nullptr) return false;
  if (*to == from) return true;  // a copy of itself already
  if (!deallocateArrangement(to)) return false;
  if (!allocateArrangement(to, from->numChannels)) return false;
  (*to)->type = from->type;
  for (int32 i = 0; i < (*to)->numChannels; ++i) {
    if (!copySpeaker((*to)->speakers() + i, from->speakers() + i)) return false;
  }
  return true;
}

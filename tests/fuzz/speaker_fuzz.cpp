// SPDX-License-Identifier: MIT
// Speaker records with any number of channels and any bytes in them.
#include <algorithm>

#include "effect/Brumbler.h"
#include "tests/fuzz/FuzzInput.h"

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=64"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  Brumbler effect(nullptr);
  VstSpeakerArrangement* records[3] = {};
  while (in.remaining_bytes() > 0) {
    VstSpeakerArrangement*& record = records[in.below(3)];
    VstSpeakerArrangement* const other = records[in.below(3)];
    switch (in.below(5)) {
      case 0: {
        const int32 channels = in.below(4) == 0 ? in.anyInt() : in.below<int32>(20);
        const bool made = effect.allocateArrangement(&record, channels);
        if (channels < 0) break;
        require(made == (record != nullptr), "a record is allocated or null");
        require(!made || record->numChannels == channels, "a record knows its channels");
        break;
      }
      case 1:
        effect.deallocateArrangement(&record);
        require(record == nullptr, "a released record is null");
        break;
      case 2: {
        const bool matched = effect.matchArrangement(&record, other);
        if (!matched || other == nullptr) break;
        require(record->numChannels == other->numChannels && record->type == other->type, "a copy is alike");
        break;
      }
      case 3:
        if (record == nullptr || other == nullptr || record->numChannels == 0 || other->numChannels == 0) break;
        effect.copySpeaker(record->speakers() + in.below(record->numChannels),
                           other->speakers() + in.below(other->numChannels));
        break;
      default: {
        if (record == nullptr || record->numChannels == 0) break;
        const auto bytes = in.ConsumeBytes<char>(sizeof(VstSpeakerProperties));
        auto& speaker = record->speakers()[in.below(record->numChannels)];
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(&speaker));
        break;
      }
    }
  }
  for (VstSpeakerArrangement*& record : records) effect.deallocateArrangement(&record);
  return 0;
}

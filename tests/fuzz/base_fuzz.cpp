// SPDX-License-Identifier: MIT
// What the effect base does without a derived effect: any number as text, at any length and rate; speaker records with
// any number of channels and any bytes in them.
#include <algorithm>
#include <cstring>
#include <memory>

#include "effect/Brumbler.h"
#include "tests/fuzz/FuzzInput.h"

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=24"; }

namespace {

void numberText(Brumbler& effect, FuzzInput& in) {
  effect.AudioEffect::setSampleRate(in.anyFloat());  // the base's alone, which keeps any rate
  const int32 length = in.below<int32>(21) - 1;
  const auto room = static_cast<std::size_t>(length + 1);
  const std::unique_ptr<char[]> text(new char[room]);
  switch (in.below(5)) {
    case 0: effect.int2string(in.anyInt(), text.get(), length); break;
    case 1: effect.float2string(in.anyFloat(), text.get(), length); break;
    case 2: effect.dB2string(in.anyFloat(), text.get(), length); break;
    case 3: effect.Hz2string(in.anyFloat(), text.get(), length); break;
    default: effect.ms2string(in.anyFloat(), text.get(), length); break;
  }
  if (length < 0) return;
  require(std::memchr(text.get(), '\0', room) != nullptr, "a text ends within its buffer");
  require(std::strspn(text.get(), " -.0123456789HugeIndf!") == std::strlen(text.get()), "a text is a number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  Brumbler effect(nullptr);
  VstSpeakerArrangement* records[3] = {};
  while (in.remaining_bytes() > 0) {
    VstSpeakerArrangement*& record = records[in.below(3)];
    VstSpeakerArrangement* const other = records[in.below(3)];
    const bool bothSpeak = record != nullptr && other != nullptr && record->numChannels > 0 && other->numChannels > 0;
    switch (in.below(5)) {
      case 0: {
        const int32 channels = in.below(16) == 0 ? in.anyInt() : in.below<int32>(20);
        const bool made = effect.allocateArrangement(&record, channels);
        require(made == (record != nullptr), "a record is allocated or null");
        require(!made || record->numChannels == channels, "a record knows its channels");
        break;
      }
      case 1: effect.deallocateArrangement(&record); break;
      case 2:
        if (!effect.matchArrangement(&record, other)) break;
        require(record->numChannels == other->numChannels && record->type == other->type, "a copy is alike");
        break;
      case 3: {
        if (!bothSpeak) break;
        const auto bytes = in.ConsumeBytes<char>(sizeof(VstSpeakerProperties));
        auto& speaker = record->speakers()[in.below(record->numChannels)];
        std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(&speaker));
        effect.copySpeaker(other->speakers() + in.below(other->numChannels), &speaker);
        break;
      }
      default: numberText(effect, in); break;
    }
  }
  for (VstSpeakerArrangement*& record : records) effect.deallocateArrangement(&record);
  return 0;
}

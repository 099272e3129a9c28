// SPDX-License-Identifier: MIT
// What the effect base does by itself: synths, numbers as text, speaker records.
#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "host/AudioEffectX.h"

namespace {

class PlainEffect : public AudioEffectX {
 public:
  PlainEffect() : AudioEffectX(nullptr, 16, 3) {}
  void processReplacing(float** /*in*/, float** /*out*/, int32 /*n*/) override {}
  int32 canDo(const char* text) override { return std::string(text) == "receiveVstMidiEvent" ? takesMidi : 0; }
  void __wantEventsDeprecated(int32 filter) override { wanted += filter; }
  bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) override {
    return copies-- > 0 && AudioEffectX::copySpeaker(to, from);
  }

  int32 takesMidi = 0;
  int32 wanted = 0;
  int copies = 1000;  // so many more copies succeed
};

using OfInt = void (AudioEffect::*)(int32, char*, int32);
using OfFloat = void (AudioEffect::*)(float, char*, int32);
constexpr OfInt kInt = &AudioEffect::int2string;
constexpr OfFloat kFloat = &AudioEffect::float2string;
constexpr OfFloat kDb = &AudioEffect::dB2string, kHz = &AudioEffect::Hz2string, kMs = &AudioEffect::ms2string;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int32 kLowest = std::numeric_limits<int32>::min();

std::vector<unsigned char> bytesOf(const VstSpeakerArrangement* record) {
  std::vector<unsigned char> bytes(8 + 112 * static_cast<std::size_t>(record->numChannels));
  std::memcpy(bytes.data(), record, bytes.size());
  return bytes;
}

}  // namespace

TEST_CASE("resume asks for events when the effect is a synth or takes MIDI") {
  for (const auto& [synth, takesMidi, wanted] :
       {std::tuple{true, 0, 1}, {false, 1, 1}, {false, 2, 0}, {false, -1, 0}}) {
    PlainEffect effect;
    effect.isSynth(synth);
    effect.takesMidi = takesMidi;
    effect.resume();
    CHECK(effect.wanted == wanted);
  }
}

TEST_CASE("numbers as text, at 44100 Hz") {
  const struct {
    std::variant<OfInt, OfFloat> member;
    std::variant<int32, float> value;
    const char* text;
    int32 maxLen = 8;
    // clang-format off
  } rows[] = {
      {kInt, 0, "0"}, {kInt, 1005, "1005"}, {kInt, -100, "-100"}, {kInt, 99999999, "99999999"},
      {kInt, 100000000, "Huge!"}, {kInt, 12345, "123", 3}, {kInt, 0, "", 0}, {kInt, -99999999, "-9999999"},
      {kInt, -999999999, "-999999999", 12}, {kInt, -1000000000, "Huge!"}, {kInt, kLowest, "Hug", 3},
      {kFloat, 0.0F, " 0.00"}, {kFloat, 0.004F, " 0.00"}, {kFloat, -0.004F, " 0.00"}, {kFloat, 0.05F, " 0.05"},
      {kFloat, 0.333F, " 0.33"}, {kFloat, 9.999F, " 10.00"}, {kFloat, 12.345F, " 12.35"}, {kFloat, -2.5F, "-2.50"},
      {kFloat, 100.0F, " 100.00"}, {kFloat, 1234.567F, " 1234.57"}, {kFloat, 12345.67F, " 12345.6"},
      {kFloat, 123456.7F, " 123456."}, {kFloat, -123456.7F, "-123456."}, {kFloat, 1.0e6F, "Huge!"},
      {kFloat, 1.0e8F, "Huge!"}, {kFloat, -1.0e7F, "Huge!"}, {kFloat, 12.345F, " 12.", 4}, {kFloat, 0.5F, " 0", 2},
      {kFloat, 1.0e8F, "Hu", 2}, {kFloat, 0.5F, "", 0}, {kFloat, -kInfinity, "Huge!"}, {kFloat, kNaN, " 0.00"},
      {kDb, 1.0F, " 0.00"}, {kDb, 0.5F, "-6.02"}, {kDb, 2.0F, " 6.02"}, {kDb, 0.0F, "-Inf"}, {kDb, -1.0F, "-Inf"},
      {kDb, kInfinity, "Huge!"}, {kHz, 441.0F, " 100.00"}, {kHz, 0.0F, " 0.00"}, {kHz, -4410.0F, "-10.00"},
      {kHz, 1.0e-30F, "Huge!"}, {kHz, kInfinity, "Huge!"}, {kHz, kNaN, " 0.00"}, {kMs, 441.0F, " 10.00"},
      {kMs, -kInfinity, "Huge!"}, {kMs, kNaN, " 0.00"},
  };
  // clang-format on
  PlainEffect texts;
  for (const auto& row : rows) {
    CAPTURE(row.text);
    char text[16];
    std::memset(text, '#', sizeof text);
    if (const OfInt* const ofInt = std::get_if<OfInt>(&row.member)) {
      (texts.*(*ofInt))(std::get<int32>(row.value), text, row.maxLen);
    } else {
      (texts.*std::get<OfFloat>(row.member))(std::get<float>(row.value), text, row.maxLen);
    }
    CHECK(text[row.maxLen] == '\0');
    CHECK(std::string(text) == row.text);
    CHECK(std::string(text + row.maxLen + 1, text + sizeof text).find_first_not_of('#') == std::string::npos);
  }
  char text[16] = "as it was";
  texts.float2string(1.0F, text, -1);
  CHECK(std::string(text) == "as it was");
  texts.setSampleRate(0.0F);
  texts.ms2string(441.0F, text, 8);
  CHECK(std::string(text) == " 0.00");
}

TEST_CASE("speaker records are allocated empty, replaced, copied with the end of each name, and released") {
  PlainEffect effect;
  VstSpeakerArrangement *from = nullptr, *to = nullptr;
  for (const int32 channels : {5, 0, 2}) {
    REQUIRE(effect.allocateArrangement(&from, channels));
    CHECK(from->numChannels == channels);
    const auto all = bytesOf(from);
    CHECK(std::count(all.begin() + 8, all.end(), 0) == 112 * channels);
  }
  VstSpeakerArrangement* const kept = from;
  CHECK_FALSE(effect.allocateArrangement(&from, -1));
  CHECK(from == kept);

  from->type = 7;
  std::memset(from->speakers(), 'A', 2 * sizeof(VstSpeakerProperties));  // names without an end
  from->speakers()[1].type = 9;
  REQUIRE(effect.matchArrangement(&to, from));
  CHECK(std::string(to->speakers()[1].name) == std::string(63, 'A'));
  for (int i = 0; i < 2; ++i) from->speakers()[i].name[63] = '\0';
  CHECK(bytesOf(to) == bytesOf(from));

  effect.copies = 1;
  CHECK_FALSE(effect.matchArrangement(&to, from));
  CHECK(to->speakers()[0].type == from->speakers()[0].type);  // the copy made so far stays
  CHECK(to->speakers()[1].type == 0);
  CHECK_FALSE(effect.matchArrangement(&to, nullptr));
  CHECK_FALSE(effect.AudioEffectX::copySpeaker(nullptr, from->speakers()));
  for (VstSpeakerArrangement** record : {&to, &from, &from}) {
    CHECK(effect.deallocateArrangement(record));
    CHECK(*record == nullptr);
  }
}

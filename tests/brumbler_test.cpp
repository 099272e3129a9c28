// SPDX-License-Identifier: MIT
// What the effect tells a host: parameters, programs, numbers as text; and speaker records.
#include "effect/Brumbler.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <variant>
#include <vector>

namespace {

// The bytes that `write` leaves in a buffer of `size` bytes and four more that were all '#'.
template <typename Write>
std::string written(std::size_t size, Write write) {
  std::string buffer(size + 4, '#');
  write(buffer.data());
  return buffer;
}

std::string programName(Brumbler& effect) {
  return written(24, [&](char* text) { effect.getProgramName(text); }).c_str();
}

using OfInt = void (AudioEffect::*)(int32, char*, int32);
using OfFloat = void (AudioEffect::*)(float, char*, int32);
constexpr OfInt kInt = &AudioEffect::int2string;
constexpr OfFloat kFloat = &AudioEffect::float2string;
constexpr OfFloat kDb = &AudioEffect::dB2string, kHz = &AudioEffect::Hz2string, kMs = &AudioEffect::ms2string;
// An effect derived by somebody else, with the operations as the interface declares them.
struct Synth : Q_TypeBase {
  explicit Synth(audioMasterCallback host) : Q_TypeBase(host, 16, 3) {}
  void processReplacing(float** /*inputs*/, float** /*outputs*/, int32 /*sampleFrames*/) override {}
  void setProgramName(char* text) override { name = text; }
  int32 canDo(char* text) override { return std::strcmp(text, "receiveVstMidiEvent") == 0 ? 1 : 0; }
  bool canHostDo(char* text) override { return std::strcmp(text, "offline") == 0 && Q_TypeBase::canHostDo(text); }
  std::string name;
};

constexpr int32 kLowest = std::numeric_limits<int32>::min();

}  // namespace

TEST_CASE("names fill their buffers with zeros and write no further") {
  Brumbler effect(nullptr);
  const std::string name = "Brumbler";
  CHECK(written(33, [&](char* text) { effect.getEffectName(text); }) == name + std::string(25, '\0') + "####");
  CHECK(written(65, [&](char* text) { effect.getProductString(text); }) == name + std::string(57, '\0') + "####");
}

TEST_CASE("parameters: names, displays and properties") {
  Brumbler effect(nullptr);
  const char* const names[] = {"On/Off", "VOLUME", "FUZZ"};
  for (int32 index = 0; index < 3; ++index) {
    CHECK(written(9, [&](char* text) { effect.getParameterName(index, text); }).c_str() == std::string(names[index]));
    VstParameterProperties properties, expected = {};
    std::memset(&properties, '#', sizeof properties);
    REQUIRE(effect.getParameterProperties(index, &properties));
    expected.flags = index == 0 ? 1 : 4;
    expected.stepFloat = index == 0 ? 0.0F : 0.01F;
    reinterpret_cast<char*>(&expected)[152] = 1;
    CHECK(std::memcmp(&properties, &expected, 154) == 0);
  }
  const struct {
    int32 index;
    float value;
    const char* text;
    // clang-format off
  } displays[] = {
      {0, 1.0F, "on"}, {0, 0.5F, "off"}, {1, 0.0F, " 0.00"}, {1, 1.0F, " 10.00"}, {2, -0.3F, "-3.00"},
      {2, 1e9F, "Huge!"}, {3, 0.5F, "#############"}, {-1, 0.5F, "#############"},
  };
  // clang-format on
  for (const auto& row : displays) {
    effect.setParameter(row.index, row.value);
    const std::string text = written(9, [&](char* buffer) { effect.getParameterDisplay(row.index, buffer); });
    CHECK(text.c_str() == std::string(row.text));
    CHECK(text.substr(9) == "####");
  }
}

TEST_CASE("program names, and indices that no program has") {
  Brumbler effect(nullptr);
  struct {
    char name[26];
    const char* shown;
    // clang-format off
  } names[] = {
      {"", ""}, {"Init", "Init 1"}, {"Init ", "Init "}, {"exactly 23 characters..", "exactly 23 characters.."},
      {"one more than 23 of them", "one more than 23 of the"}, {"short again", "short again"},
  };
  // clang-format on
  for (auto& row : names) {
    effect.setProgramName(row.name);
    CHECK(programName(effect) == row.shown);
  }
  effect.setProgram(1);
  CHECK(programName(effect) == "Init 2");  // its neighbour
  effect.setProgram(15);
  for (const int32 index : {-1, 16, kLowest, std::numeric_limits<int32>::max()}) {
    effect.setProgram(index);
    CHECK(effect.getProgram() == 15);
    CHECK(written(24, [&](char* text) { CHECK_FALSE(effect.getProgramNameIndexed(0, index, text)); })[0] == '#');
  }
}

TEST_CASE("an effect that someone else derives is asked through the dispatcher for what it overrides") {
  static std::vector<int32> asked;
  Synth effect([](AEffect*, int32 opcode, int32, intptr, void*, float) { return asked.push_back(opcode), intptr{1}; });
  AEffect* const record = effect.getAeffect();
  char text[] = "receiveVstMidiEvent", offline[] = "offline";
  CHECK(record->dispatcher(record, 51, 0, 0, text, 0.0F) == 1);
  record->dispatcher(record, 4, 0, 0, text, 0.0F);
  CHECK(effect.name == text);
  record->dispatcher(record, 12, 0, 1, nullptr, 0.0F);  // resumes, and so requests events
  CHECK(static_cast<AudioEffectX&>(effect).canHostDo(offline));
  CHECK_FALSE(static_cast<AudioEffectX&>(effect).canHostDo(text));
  CHECK(asked == std::vector<int32>{6, 37});
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
      {kFloat, 1.0e8F, "Hu", 2}, {kFloat, 0.5F, "", 0}, {kFloat, -INFINITY, "Huge!"}, {kFloat, NAN, " 0.00"},
      {kDb, 1.0F, " 0.00"}, {kDb, 0.5F, "-6.02"}, {kDb, 2.0F, " 6.02"}, {kDb, 0.0F, "-Inf"}, {kDb, -1.0F, "-Inf"},
      {kDb, INFINITY, "Huge!"}, {kHz, 441.0F, " 100.00"}, {kHz, 0.0F, " 0.00"}, {kHz, -4410.0F, "-10.00"},
      {kHz, 1.0e-30F, "Huge!"}, {kHz, INFINITY, " 0.00"}, {kHz, -INFINITY, " 0.00"}, {kHz, NAN, " 0.00"}, {kMs, 441.0F, " 10.00"},
      {kMs, -INFINITY, "Huge!"}, {kMs, NAN, " 0.00"},
  };
  // clang-format on
  Brumbler texts(nullptr);
  for (const auto& row : rows) {
    CAPTURE(row.text);
    const std::string text = written(static_cast<std::size_t>(row.maxLen) + 1, [&](char* buffer) {
      if (const OfInt* const ofInt = std::get_if<OfInt>(&row.member)) {
        (texts.*(*ofInt))(std::get<int32>(row.value), buffer, row.maxLen);
      } else {
        (texts.*std::get<OfFloat>(row.member))(std::get<float>(row.value), buffer, row.maxLen);
      }
    });
    CHECK(text.c_str() == std::string(row.text));
    CHECK(text.substr(static_cast<std::size_t>(row.maxLen)) == std::string(1, '\0') + "####");
  }
  CHECK(written(0, [&](char* buffer) { texts.float2string(1.0F, buffer, -1); }) == "####");
  texts.AudioEffect::setSampleRate(0.0F);
  CHECK(written(9, [&](char* buffer) { texts.ms2string(441.0F, buffer, 8); }).c_str() == std::string(" 0.00"));
}

TEST_CASE("speaker records are replaced, copied with the end of each name, and released") {
  Brumbler effect(nullptr);
  VstSpeakerArrangement *from = nullptr, *to = nullptr;
  for (const int32 channels : {5, 0, 3}) {
    REQUIRE(effect.allocateArrangement(&from, channels));
    CHECK(from->numChannels == channels);
  }
  CHECK_FALSE(effect.allocateArrangement(&from, -1));
  CHECK(from == nullptr);
  REQUIRE(effect.allocateArrangement(&from, 2));
  std::memset(from->speakers(), 'A', 2 * sizeof(VstSpeakerProperties));  // names without an end
  for (int copy = 0; copy < 2; ++copy) REQUIRE(effect.matchArrangement(&to, from));
  CHECK(std::string(to->speakers()[1].name) == std::string(63, 'A'));
  CHECK_FALSE(effect.matchArrangement(&to, nullptr));
  CHECK_FALSE(effect.copySpeaker(nullptr, from->speakers()));
  for (VstSpeakerArrangement** record : {&to, &from, &from}) {
    CHECK(effect.deallocateArrangement(record));
    CHECK(*record == nullptr);
  }
}

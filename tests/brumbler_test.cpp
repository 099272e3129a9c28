// SPDX-License-Identifier: MIT
// The entry functions, and what the effect tells a host about its parameters and programs.
#include "effect/Brumbler.h"

#include <doctest/doctest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <tuple>

#include "tests/FakeHost.h"

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

}  // namespace

TEST_CASE("the entry functions ask for the version and give an effect") {
  for (const auto entry : {getinterface, QTypeIF}) {
    FakeHost::reset();
    const std::unique_ptr<Q_TypeIF> wrapper(entry(FakeHost::callback));
    REQUIRE(wrapper != nullptr);
    REQUIRE(FakeHost::calls.size() == 1);
    const FakeHost::Call& call = FakeHost::calls[0];
    CHECK(std::tie(call.effect, call.opcode, call.index, call.value, call.ptr, call.opt) ==
          std::make_tuple(nullptr, 1, 0, 0, nullptr, 0.0F));
    AEffect* const record = wrapper->aeffect;
    CHECK(record->dispatcher(record, 1, 0, 0, nullptr, 0.0F) == 1);  // before its wrapper goes
  }
}

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
  const struct {
    const char* name;
    const char* shown;
    // clang-format off
  } names[] = {
      {"", ""}, {"Init", "Init 1"}, {"Init ", "Init "}, {"exactly 23 characters..", "exactly 23 characters.."},
      {"one more than 23 of them", "one more than 23 of the"}, {"short again", "short again"},
  };
  // clang-format on
  for (const auto& row : names) {
    effect.setProgramName(row.name);
    CHECK(programName(effect) == row.shown);
  }
  effect.setProgram(1);
  CHECK(programName(effect) == "Init 2");  // its neighbour
  effect.setProgram(15);
  for (const int32 index : {-1, 16, std::numeric_limits<int32>::min(), std::numeric_limits<int32>::max()}) {
    effect.setProgram(index);
    CHECK(effect.getProgram() == 15);
    CHECK(written(24, [&](char* text) { CHECK_FALSE(effect.getProgramNameIndexed(0, index, text)); })[0] == '#');
  }
}

TEST_CASE("null texts and records on any opcode are ignored") {
  Brumbler effect(nullptr);
  for (int32 opcode = 0; opcode < 90; ++opcode) {
    for (const int32 index : {0, 20}) effect.dispatcher(opcode, index, 0, nullptr, 44100.0F);
  }
  CHECK(programName(effect) == "Init 1");
}

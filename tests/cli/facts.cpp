// SPDX-License-Identifier: MIT
// Compares documents, schemas and texts with the code that they describe.
#include <doctest/doctest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "cli/effect/Bank.h"
#include "dsp/SwitchFader.h"
#include "effect/Brumbler.h"
#include "player/Tail.h"
#include "player/automaticTrim.h"
#include "player/decibels.h"

namespace {

std::string contentOf(const std::string& path) {
  std::ifstream file(BRUMBLER_SOURCE "/" + path);
  REQUIRE(file);
  std::string text{std::istreambuf_iterator<char>(file), {}};
  for (char& c : text) c = c == '\n' ? ' ' : c;
  return text;
}

template <typename... Values>
std::string format(const char* text, Values... values) {
  char result[200];
  std::snprintf(result, sizeof result, text, values...);
  return result;
}

using nlohmann::json;

}  // namespace

TEST_CASE("documents name the lengths and levels that the code has") {
  SwitchFader* const fader = SwitchFader::create(44100.0, 1.0F);
  const std::string fade = format("%g ms", 1000.0 * fader->fadeTime);
  SwitchFader::destroy(fader);
  struct Row {
    const char* document;
    std::string said;
  };
  std::vector<Row> rows = {
      {"docs/overview.md", "over " + fade},
      {"docs/lv2.md", "fades out in " + fade},
      {"catalog/parameters.json", fade + " each"},
      {"docs/command.md", format("until %g s in a row stay below −%g dBFS, at most %g s", Tail::kQuietSeconds,
                                 -decibels(Tail::kQuiet), Tail::kLongestSeconds)},
      {"docs/command.md", format("a peak of −%g dBFS for a guitar's own", -kGuitarPeak)},
      {"docs/overview.md", format("−%g dBFS peak", -kGuitarPeak)},
  };
  for (const catalog::Preset& preset : catalog::kPresets) {
    const auto& values = preset.values;
    rows.push_back({"docs/lv2.md", format("| %s | %g | %g | %g |", preset.label, values[catalog::kVolume],
                                          values[catalog::kFuzz], values[catalog::kTrim])});
  }
  for (const Row& row : rows) {
    INFO("document ", row.document, ", said ", row.said);
    CHECK(contentOf(row.document).find(row.said) != std::string::npos);
  }
}

TEST_CASE("the schemas have the effect's programs and the catalog's parameters, on their scales") {
  const json bank = json::parse(contentOf("docs/bank.schema.json"))["properties"]["programs"];
  const json automation = json::parse(contentOf("docs/automation.schema.json"));
  const json& program = bank["items"]["properties"];
  const json& lanes = automation["properties"]["parameters"]["properties"];
  CHECK(bank["maxItems"] == Brumbler::kNumPrograms);
  CHECK(automation["properties"]["programs"]["items"]["properties"]["program"]["maximum"] == Brumbler::kNumPrograms);
  CHECK(program["name"]["maxLength"] == Bank::kLongestName);
  CHECK(program.size() == catalog::kNumEffectParameters + 1);
  CHECK(lanes.size() == catalog::kNumEffectParameters);
  for (int i = 0; i < catalog::kNumEffectParameters; ++i) {
    const catalog::Parameter& parameter = catalog::kParameters[i];
    CAPTURE(parameter.name);
    const bool isSwitch = parameter.scale == catalog::Scale::toggle;
    const std::string kind = isSwitch ? "switchKeyframe" : "keyframe";
    CHECK(lanes[parameter.name]["items"]["$ref"] == "#/$defs/" + kind);
    const json value = automation["$defs"][kind]["properties"]["value"];
    for (const json& limits : {program[parameter.name], value}) {
      if (isSwitch) CHECK(limits["enum"] == json{0, 1});
      if (!isSwitch) CHECK((limits["minimum"] == parameter.minimum && limits["maximum"] == parameter.maximum));
    }
  }
}

// SPDX-License-Identifier: MIT
// Compares the catalog with what the effect reports about itself.
#include "catalog/catalog.h"

#include <doctest/doctest.h>

#include <iterator>
#include <string>

#include "host/VstRecords.h"
#include "tests/Player.h"

TEST_CASE("parameters are the effect's in name, order, kind, scale and default; every preset stays on the scales") {
  const HostedEffect effect(getinterface, 44100, 64);
  REQUIRE(effect.record().numParams == catalog::kNumEffectParameters);
  for (int i = 0; i < static_cast<int>(std::size(catalog::kParameters)); ++i) {
    const catalog::Parameter& parameter = catalog::kParameters[i];
    CAPTURE(parameter.symbol);
    char name[9] = {}, top[9] = {};
    VstParameterProperties properties{};
    effect.ask(EffectOpcode::getParameterName, i, 0, name);
    CHECK(std::string(parameter.name) == name);  // empty after the effect's last
    CHECK((parameter.initial >= parameter.minimum && parameter.initial <= parameter.maximum && parameter.steps > 1));
    for (const catalog::Preset& preset : catalog::kPresets) {
      CAPTURE(preset.symbol);
      CHECK((preset.values[i] >= parameter.minimum && preset.values[i] <= parameter.maximum));
    }
    if (i >= catalog::kNumEffectParameters) continue;
    effect.ask(EffectOpcode::getParameterProperties, i, 0, &properties);
    const bool isSwitch = (properties.flags & kVstParameterIsSwitch) != 0;
    CHECK(parameter.scale == (isSwitch ? catalog::Scale::toggle : catalog::Scale::knob));
    CHECK(effect.parameter(i) == static_cast<float>(parameter.initial / parameter.maximum));
    effect.extension().getParameterDisplayOf(i, 1.0F, top);
    CHECK((isSwitch ? std::string("on") == top : std::stod(top) == parameter.maximum));
    CHECK(parameter.minimum == 0.0);
  }
}

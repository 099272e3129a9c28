// SPDX-License-Identifier: MIT
#include <CLI/CLI.hpp>
#include <cstdio>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "catalog/catalog.h"
#include "cli/commands/Commands.h"
#include "cli/effect/Bank.h"
#include "cli/effect/EffectModule.h"
#include "cli/text/printable.h"
#include "host/VstRecords.h"

namespace {

using nlohmann::ordered_json;

struct InfoOptions {
  std::string module;
  std::string bank;
  bool presets = false;
  bool json = false;
};

// The four bytes of the unique identity in memory order.
std::string identityText(int32 code) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    const auto byte = static_cast<char>((static_cast<std::uint32_t>(code) >> (8 * i)) & 0xFF);
    text += byte >= ' ' && byte <= '~' ? byte : '?';
  }
  return text;
}

std::string displayOf(const HostedEffect& effect, int parameter, float value) {
  char text[256] = {};
  effect.extension().getParameterDisplayOf(parameter, value, text);
  const std::string display = text;
  const std::size_t begin = display.find_first_not_of(' ');
  return begin == std::string::npos ? "" : display.substr(begin);
}

ordered_json describeParameter(const HostedEffect& effect, int index, const EffectParameter& known) {
  VstParameterProperties properties{};
  const bool answers = effect.ask(EffectOpcode::getParameterProperties, index, 0, &properties) != 0;
  ordered_json parameter;
  parameter["name"] = known.name;
  parameter["label"] = askText(effect, EffectOpcode::getParameterLabel, index);
  parameter["switch"] = known.isSwitch;
  parameter["value"] = known.knobAt(effect.parameter(index));
  parameter["minimum"] = 0;
  parameter["maximum"] = static_cast<int>(known.maximum());
  if (answers && (properties.flags & kVstParameterUsesFloatStep) != 0) {
    parameter["step"] = known.knobAt(properties.stepFloat);
  }
  parameter["display"] = displayOf(effect, index, effect.parameter(index));
  parameter["displayAtMinimum"] = displayOf(effect, index, 0.0F);
  parameter["displayAtMaximum"] = displayOf(effect, index, 1.0F);
  parameter["automatable"] = effect.ask(EffectOpcode::canParameterBeAutomated, index) != 0;
  return parameter;
}

ordered_json describe(const EffectModule& module, HostedEffect& effect) {
  const AEffect& record = effect.record();
  Q_TypeBase& extension = effect.extension();
  ordered_json info;
  info["version"] = BRUMBLER_VERSION;
  info["module"] = module.path();
  info["effect"] = askText(effect, EffectOpcode::getEffectName);
  info["product"] = askText(effect, EffectOpcode::getProductString);
  info["vendor"] = askText(effect, EffectOpcode::getVendorString);
  info["vendorVersion"] = effect.ask(EffectOpcode::getVendorVersion);
  info["uniqueId"] = identityText(record.uniqueID);
  info["category"] = effect.ask(EffectOpcode::getPlugCategory);
  info["interfaceVersion"] = effect.ask(EffectOpcode::getVstVersion);
  info["extensionVersion"] = extension.getHeaderVersion();
  info["inputs"] = record.numInputs;
  info["outputs"] = record.numOutputs;
  info["inputJacks"] = extension.getNumOfInJacks();
  info["outputJacks"] = extension.getNumOfOutJacks();
  info["doublePrecision"] = (record.flags & flagCanDoubleReplacing) != 0;
  info["programsAreChunks"] = (record.flags & flagProgramChunks) != 0;
  info["editor"] = (record.flags & flagHasEditor) != 0;
  info["latencySamples"] = record.initialDelay;
  info["parameters"] = ordered_json::array();
  for (const EffectParameter& one : parametersOf(effect)) {
    info["parameters"].push_back(describeParameter(effect, static_cast<int>(info["parameters"].size()), one));
  }
  info["programs"] = ordered_json::parse(Bank(effect).text())["programs"];
  return info;
}

std::string text(const ordered_json& value) { return printable(value.get<std::string>()); }

void print(const ordered_json& info) {
  std::printf("%s (%s), vendor version %d, identity %s\n", text(info["effect"]).c_str(), text(info["product"]).c_str(),
              info["vendorVersion"].get<int>(), text(info["uniqueId"]).c_str());
  std::printf("command   brumbler %s\n", text(info["version"]).c_str());
  std::printf("module    %s\n", text(info["module"]).c_str());
  std::printf("layout    %d in (%d jack), %d out (%d jack), %s, latency %d samples\n", info["inputs"].get<int>(),
              info["inputJacks"].get<int>(), info["outputs"].get<int>(), info["outputJacks"].get<int>(),
              info["doublePrecision"].get<bool>() ? "double precision" : "single precision",
              info["latencySamples"].get<int>());
  std::puts("\nparameter  value     from      to        step");
  for (const ordered_json& p : info["parameters"]) {
    std::string step = p["switch"].get<bool>() ? "switch" : "";
    if (p.contains("step")) step = p["step"].dump();
    const std::string shown = text(p["display"]) + (text(p["label"]).empty() ? "" : " " + text(p["label"]));
    std::printf("%-9s  %-8s  %-8s  %-8s  %s\n", text(p["name"]).c_str(), shown.c_str(),
                text(p["displayAtMinimum"]).c_str(), text(p["displayAtMaximum"]).c_str(), step.c_str());
  }
  std::fputs("\nprogram  name                    ", stdout);
  for (const ordered_json& p : info["parameters"]) std::printf("  %8s", text(p["name"]).c_str());
  int number = 0;
  for (const ordered_json& program : info["programs"]) {
    std::printf("\n%7d  %-24s", ++number, text(program["name"]).c_str());
    for (const ordered_json& p : info["parameters"]) std::printf("  %8g", program[text(p["name"])].get<double>());
  }
  std::puts("");
}

void printPresets() {
  std::printf("%-20s", "preset");
  for (const catalog::Parameter& one : catalog::kParameters) {
    if (one.scale == catalog::Scale::knob) std::printf("  %6s", one.label);
  }
  for (const catalog::Preset& preset : catalog::kPresets) {
    std::printf("\n%-20s", preset.label);
    for (std::size_t i = 0; i < std::size(catalog::kParameters); ++i) {
      if (catalog::kParameters[i].scale == catalog::Scale::knob) std::printf("  %6g", preset.values[i]);
    }
  }
  std::puts("");
}

ordered_json describePresets() {
  ordered_json list = ordered_json::array();
  for (const catalog::Preset& preset : catalog::kPresets) {
    ordered_json& item = list.emplace_back(ordered_json{{"symbol", preset.symbol}, {"label", preset.label}});
    for (std::size_t i = 0; i < std::size(catalog::kParameters); ++i) {
      const catalog::Parameter& parameter = catalog::kParameters[i];
      if (parameter.scale == catalog::Scale::knob) item[parameter.symbol] = preset.values[i];
    }
  }
  return list;
}

void runInfo(const InfoOptions& options) {
  if (options.presets) {
    if (options.json) {
      std::puts(describePresets().dump(2).c_str());
    } else {
      printPresets();
    }
    return;
  }
  const EffectModule module(options.module);
  const auto effect = module.createEffect(44100, 512);
  if (!options.bank.empty()) Bank(options.bank, *effect).restore(*effect);
  const ordered_json info = describe(module, *effect);
  if (options.json) {
    std::puts(info.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  } else {
    print(info);
  }
}

}  // namespace

void addInfoCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("info", "Show what the module answers about itself");
  const auto options = std::make_shared<InfoOptions>();
  command->add_flag("--json", options->json, "As JSON");
  command->add_flag("--presets", options->presets, "List the presets instead, which `brumbler render --preset` takes");
  command->add_option("--bank", options->bank, "Load these programs first")->type_name("FILE.json");
  command->add_option("--module", options->module, "The module brumbler.so to ask")->type_name("PATH");
  command->footer("Example: brumbler info --json");
  command->callback([options] { runInfo(*options); });
}

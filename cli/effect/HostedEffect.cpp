// SPDX-License-Identifier: MIT
#include "cli/effect/HostedEffect.h"

#include <algorithm>
#include <array>

#include "host/VstRecords.h"

namespace {

constexpr intptr kInterfaceVersion = 2400;
constexpr intptr kPrecisionDouble = 1;

}  // namespace

intptr HostedEffect::callback(AEffect* record, int32 opcode, int32 /*index*/, intptr /*value*/, void* /*pointer*/,
                              float /*option*/) {
  if (static_cast<HostOpcode>(opcode) == HostOpcode::version) return kInterfaceVersion;
  if (record == nullptr || record->user == nullptr) return 0;
  const auto& host = *static_cast<const HostedEffect*>(record->user);
  switch (static_cast<HostOpcode>(opcode)) {
    case HostOpcode::getSampleRate: return host.rate_;
    case HostOpcode::getBlockSize: return host.blockLength_;
    default: return 0;
  }
}

HostedEffect::HostedEffect(const EffectModule& module, int rate, int blockLength)
    : rate_(rate), blockLength_(blockLength), wrapper_(module.createEffect(callback)), record_(wrapper_->aeffect) {
  record_->user = this;
  ask(EffectOpcode::open);
  ask(EffectOpcode::setSampleRate, 0, 0, nullptr, static_cast<float>(rate));
  ask(EffectOpcode::setBlockSize, 0, blockLength);
  ask(EffectOpcode::setProcessPrecision, 0, kPrecisionDouble);
}

HostedEffect::~HostedEffect() {
  ask(EffectOpcode::stopProcess);
  ask(EffectOpcode::setProcessing, 0, 0);
  ask(EffectOpcode::close);
}

void HostedEffect::start() {
  ask(EffectOpcode::setProcessing, 0, 1);
  ask(EffectOpcode::startProcess);
  double silence = 0.0;
  process(&silence, 1);
}

void HostedEffect::process(double* samples, int length) {
  record_->processDoubleReplacing(record_, &samples, &samples, length);
}

void HostedEffect::setProgram(int index) {
  ask(EffectOpcode::beginSetProgram);
  ask(EffectOpcode::setProgram, 0, index);
  ask(EffectOpcode::endSetProgram);
}

void HostedEffect::setProgramName(const std::string& name) {
  std::string text = name.substr(0, 23);
  ask(EffectOpcode::setProgramName, 0, 0, text.data());
}

std::vector<std::string> HostedEffect::parameterNames() const {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(std::max(record_->numParams, 0)));
  for (int i = 0; i < record_->numParams; ++i) names.push_back(askText(EffectOpcode::getParameterName, i));
  return names;
}

bool HostedEffect::isSwitch(int parameter) const {
  VstParameterProperties properties{};
  return ask(EffectOpcode::getParameterProperties, parameter, 0, &properties) != 0 &&
         (properties.flags & parameterIsSwitch) != 0;
}

intptr HostedEffect::ask(EffectOpcode opcode, int index, intptr value, void* pointer, float option) const {
  return record_->dispatcher(record_, static_cast<int32>(opcode), index, value, pointer, option);
}

std::string HostedEffect::askText(EffectOpcode opcode, int index, intptr value) const {
  std::array<char, 256> text{};  // several times what the interface's longest text needs
  ask(opcode, index, value, text.data());
  text.back() = '\0';
  return text.data();
}

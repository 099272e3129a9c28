// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/effect/EffectModule.h"
#include "host/Opcodes.h"
#include "host/Q_TypeBase.h"

// One effect and the host that drives it: one channel. Made and set up by the constructor, closed by the destructor.
// One thread at a time. The order of calls: construct, choose program and parameters, start, process.
class HostedEffect {
 public:
  // `rate` in Hz, `blockLength` in samples, both at least 1. Throws Failure when the module gives no usable effect.
  HostedEffect(const EffectModule& module, int rate, int blockLength);
  HostedEffect(const HostedEffect&) = delete;
  HostedEffect& operator=(const HostedEffect&) = delete;
  ~HostedEffect();

  // Switches processing on and plays one sample of silence. After a set-up the effect raises VOLUME from zero over the
  // first block that it gets; that sample is this block, so the sound's own first block is not faded in and the result
  // does not depend on the block length.
  void start();

  // Replaces `length` samples by the effect's answer; `length` at most the block length.
  void process(double* samples, int length);

  // Parameters and programs count from 0, as the interface has them; unknown ones change nothing.
  void setParameter(int index, float value) { record_->setParameter(record_, index, value); }
  float parameter(int index) const { return record_->getParameter(record_, index); }
  void setProgram(int index);
  void setProgramName(const std::string& name);  // cut to 23 characters
  std::vector<std::string> parameterNames() const;
  bool isSwitch(int parameter) const;

  // Any other question of the interface: the number that the effect answers, or the text that it writes.
  intptr ask(EffectOpcode opcode, int index = 0, intptr value = 0, void* pointer = nullptr, float option = 0.0F) const;
  std::string askText(EffectOpcode opcode, int index = 0, intptr value = 0) const;

  const AEffect& record() const noexcept { return *record_; }
  Q_TypeBase& extension() const noexcept {
    return *static_cast<Q_TypeBase*>(static_cast<AudioEffect*>(record_->object));
  }

 private:
  static intptr callback(AEffect* record, int32 opcode, int32 index, intptr value, void* pointer, float option);

  int rate_;
  int blockLength_;
  std::unique_ptr<Q_TypeIF> wrapper_;
  AEffect* record_;
};

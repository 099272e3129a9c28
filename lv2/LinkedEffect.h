// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/Opcodes.h"
#include "host/Q_TypeIF.h"

// One effect, created and driven through its host interface, set up for one sample rate and block length.
//
// The callback through which the effect asks its host is a plain function. It finds the answers of this host through
// the record's `user` field, which is the host's own; the one question that comes before there is a record, the
// version, has the same answer for all. The record keeps the address of this object, so it stays where it is.
//
// Construction and destruction allocate and free; process() and setParameter() do neither, for blocks of at most
// `blockLength` samples, and wait for no other thread as long as one thread at a time calls.
class LinkedEffect {
 public:
  enum Parameter : int32 { kOnOff, kVolume, kFuzz };

  // `sampleRate` in Hz, `blockLength` in samples, both above 0.
  LinkedEffect(int32 sampleRate, int32 blockLength) noexcept : sampleRate_(sampleRate), blockLength_(blockLength) {
    const std::unique_ptr<Q_TypeIF> way(getinterface(answer));
    if (way == nullptr) return;
    record_ = way->aeffect;
    record_->user = this;
    tell(EffectOpcode::open);
    tell(EffectOpcode::setBlockSize, blockLength);
    tell(EffectOpcode::setSampleRate, 0, static_cast<float>(sampleRate));
    tell(EffectOpcode::setProcessing, 1);
  }
  LinkedEffect(const LinkedEffect&) = delete;
  LinkedEffect& operator=(const LinkedEffect&) = delete;
  ~LinkedEffect() {
    if (record_ == nullptr) return;
    tell(EffectOpcode::setProcessing, 0);
    tell(EffectOpcode::close);
  }

  // False when there was no storage for the effect; nothing below may then be called.
  bool exists() const noexcept { return record_ != nullptr; }

  // `value` from 0 to 1; lands at the start of the next block.
  void setParameter(Parameter parameter, float value) noexcept { record_->setParameter(record_, parameter, value); }

  // Replaces block[0 .. samples-1]. A block of 0 samples makes the parameters land at once, without VOLUME's glide.
  void process(double* block, int32 samples) noexcept {
    record_->processDoubleReplacing(record_, &block, &block, samples);
  }

 private:
  static intptr answer(AEffect* effect, int32 opcode, int32 /*index*/, intptr /*value*/, void* /*ptr*/, float /*opt*/) {
    const auto* const host = effect != nullptr ? static_cast<const LinkedEffect*>(effect->user) : nullptr;
    switch (static_cast<HostOpcode>(opcode)) {
      case HostOpcode::version: return 2400;
      case HostOpcode::getSampleRate: return host != nullptr ? host->sampleRate_ : 0;
      case HostOpcode::getBlockSize: return host != nullptr ? host->blockLength_ : 0;
      default: return 0;
    }
  }

  void tell(EffectOpcode opcode, intptr value = 0, float opt = 0.0F) {
    record_->dispatcher(record_, static_cast<int32>(opcode), 0, value, nullptr, opt);
  }

  int32 sampleRate_;
  int32 blockLength_;
  AEffect* record_ = nullptr;
};

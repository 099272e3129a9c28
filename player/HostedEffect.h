// SPDX-License-Identifier: MIT
#pragma once

#include <cstring>
#include <memory>

#include "host/AEffect.h"
#include "host/Opcodes.h"
#include "host/Q_TypeBase.h"
#include "host/Q_TypeIF.h"

// The host's side of the interface: one effect, one channel, from its creation to its end. Every host of ours is built
// on it, and it may be copied into others. A whole life, in the order of the calls:
//
//   HostedEffect effect(getinterface, 48000, 512);  // or the entry that was looked up in the loaded module
//   if (!effect.exists()) return fail(effect.fault());
//   effect.setParameter(2, 0.8F);                   // what it begins with; later again, whenever it is to change
//   effect.start();
//   effect.process(block, length);                  // for every block, of 512 samples at most
//   effect.stop();
//   effect.announce(96000, 64);                     // when rate or block length change, and then start() again
//
// Threads: the effect itself allows setParameter and all that asks from any thread, and lets them wait for a block that
// plays. Construction, announce, stop and destruction belong to one thread while no other calls. start and process
// allocate nothing and make no system call, so the audio thread may call either.
//
// Nothing here throws, and nothing is allocated but by the effect. The record keeps this object's address, so it stays
// where it is.
class HostedEffect {
 public:
  using Entry = Q_TypeIF* (*)(audioMasterCallback);

  // `rate` in Hz, `blockLength` in samples, the longest block that will come; both at least 1.
  HostedEffect(Entry entry, int32 rate, int32 blockLength) noexcept : rate_(rate), blockLength_(blockLength) {
    // The wrapper only shows the way to the record. It is the host's to delete, and is needed no longer.
    const std::unique_ptr<Q_TypeIF> wrapper(entry(answer));
    record_ = wrapper != nullptr ? wrapper->aeffect : nullptr;
    fault_ = whyUnfit(record_);
    if (!exists()) {
      closeUnfit();
      return;
    }
    record_->user = this;
    ask(EffectOpcode::open);
    ask(EffectOpcode::setProcessPrecision, 0, kDoublePrecision);
    announce(rate, blockLength);
  }
  HostedEffect(const HostedEffect&) = delete;
  HostedEffect& operator=(const HostedEffect&) = delete;
  ~HostedEffect() {
    if (!exists()) return;
    stop();
    ask(EffectOpcode::close);
  }

  // False when the entry made no effect, or one that is not driven as this host drives it: one channel of doubles in,
  // one out. Then nothing below may be called but fault(), which says what is wrong: "the module" and these words.
  bool exists() const noexcept { return fault_ == nullptr; }
  const char* fault() const noexcept { return fault_; }

  // The longest block and the rate from now on; not between start() and stop(). Another rate silences what still rings.
  // Allocates; when there is no storage the effect passes its input through until it is told again.
  void announce(int32 rate, int32 blockLength) noexcept {
    rate_ = rate;
    blockLength_ = blockLength;
    ask(EffectOpcode::setBlockSize, 0, blockLength);  // first, so that the set-up makes room for it at once
    ask(EffectOpcode::setSampleRate, 0, 0, nullptr, static_cast<float>(rate));
  }

  // Switches processing on, with the parameters as they are now. Over the first block after a set-up the effect raises
  // VOLUME from zero; that block has no sample here, so the sound's own first block is not faded in, and what comes out
  // does not depend on the block length. (A block of silence would do as well: the effect answers it with zeros and
  // keeps nothing of it, so both lead to the same doubles; but it has to find room for a sample.)
  void start() noexcept {
    ask(EffectOpcode::setProcessing, 0, 1);
    ask(EffectOpcode::startProcess);
    double nothing = 0.0;
    process(&nothing, 0);
  }

  // From `in` to `out`, of `length` samples each, or in place. `length` is 0 to the block length; the effect takes a
  // longer block too, but allocates for it.
  void process(const double* in, double* out, int32 length) noexcept {
    // The interface has no const, but the effect only reads.
    auto* inputs = const_cast<double*>(in);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    record_->processDoubleReplacing(record_, &inputs, &out, length);
  }
  void process(double* samples, int32 length) noexcept { process(samples, samples, length); }

  void stop() noexcept {
    ask(EffectOpcode::stopProcess);
    ask(EffectOpcode::setProcessing, 0, 0);
  }

  // Values are 0 to 1. A change lands at the start of the next block. Parameters and programs count from 0; unknown
  // ones change nothing, and an unknown parameter is 0.
  void setParameter(int32 index, float value) noexcept { record_->setParameter(record_, index, value); }
  float parameter(int32 index) const noexcept { return record_->getParameter(record_, index); }
  void setProgram(int32 index) noexcept {
    ask(EffectOpcode::beginSetProgram);
    ask(EffectOpcode::setProgram, 0, index);
    ask(EffectOpcode::endSetProgram);
  }
  // Of the selected program; cut to 23 characters.
  void setProgramName(const char* name) noexcept {
    char text[24] = {};
    std::strncpy(text, name, sizeof text - 1);
    ask(EffectOpcode::setProgramName, 0, 0, text);
  }

  // Any other question of the interface, or order.
  intptr ask(EffectOpcode opcode, int32 index = 0, intptr value = 0, void* ptr = nullptr,
             float opt = 0.0F) const noexcept {
    return record_->dispatcher(record_, static_cast<int32>(opcode), index, value, ptr, opt);
  }

  const AEffect& record() const noexcept { return *record_; }
  Q_TypeBase& extension() const noexcept {
    return *static_cast<Q_TypeBase*>(static_cast<AudioEffect*>(record_->object));
  }

 private:
  static constexpr intptr kDoublePrecision = 1;
  static constexpr intptr kInterfaceVersion = 2400;
  static constexpr int32 kMagic = fourCharacterCode("VstP");

  // What the effect asks of its host. The version is asked before there is a record; the rest is found through `user`.
  static intptr answer(AEffect* effect, int32 opcode, int32 /*index*/, intptr /*value*/, void* /*ptr*/, float /*opt*/) {
    const auto* const host = effect != nullptr ? static_cast<const HostedEffect*>(effect->user) : nullptr;
    switch (static_cast<HostOpcode>(opcode)) {
      case HostOpcode::audioMasterVersion: return kInterfaceVersion;
      case HostOpcode::getSampleRate: return host != nullptr ? host->rate_ : 0;
      case HostOpcode::getBlockSize: return host != nullptr ? host->blockLength_ : 0;
      default: return 0;
    }
  }

  static const char* whyUnfit(const AEffect* record) noexcept {
    if (record == nullptr) return "answers no effect record";
    if (record->magic != kMagic) return "answers a record of another kind";
    if (record->dispatcher == nullptr || record->setParameter == nullptr || record->getParameter == nullptr) {
      return "answers a record without entries";
    }
    if ((record->flags & flagCanDoubleReplacing) == 0 || record->processDoubleReplacing == nullptr) {
      return "cannot process doubles";
    }
    if (record->numInputs != 1 || record->numOutputs != 1) return "is not one channel in, one channel out";
    return nullptr;
  }

  void closeUnfit() noexcept {
    const bool canClose = record_ != nullptr && record_->magic == kMagic && record_->dispatcher != nullptr;
    if (canClose) ask(EffectOpcode::close);
    record_ = nullptr;
  }

  int32 rate_;
  int32 blockLength_;
  AEffect* record_ = nullptr;
  const char* fault_ = nullptr;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/AEffect.h"
#include "host/Opcodes.h"
#include "host/Q_TypeBase.h"
#include "host/Q_TypeIF.h"

// The host's side of the interface: one effect, which plays one channel. All hosts in this project use it; other hosts
// may copy it. The calls, in order:
//
//   HostedEffect effect(getinterface, 48000, 512);  // or the entry that was looked up in the loaded module
//   if (!effect.exists()) return fail(effect.fault());
//   effect.setParameter(2, 0.8F);                   // the initial value; call it again at any time to change it
//   effect.start();
//   effect.process(block, length);                  // for every block, of 512 samples at most
//   effect.stop();
//   effect.announce(96000, 64);                     // when rate or block length change, and then start() again
//
// Threads: setParameter and all queries may be called from any thread; while a block is processed they wait for its
// end. The constructor, announce, stop and the destructor are called by one thread, while no other thread calls
// anything. start and process allocate nothing and make no system call, so the audio thread may call them.
//
// Nothing here throws, and only the effect allocates. The record keeps this object's address, so the object cannot be
// copied or moved.
class HostedEffect {
 public:
  using Entry = Q_TypeIF* (*)(audioMasterCallback);

  // `rate` in Hz, `blockLength` in samples, the longest block that will come; both at least 1.
  HostedEffect(Entry entry, int32 rate, int32 blockLength) noexcept : rate_(rate), blockLength_(blockLength) {
    // The wrapper only leads to the record. The host owns it and does not need it any longer.
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

  // False when the entry function did not create an effect, or created one that this host cannot use: it needs one
  // input and one output in double precision. Then only fault() may be called. It completes a sentence that begins with
  // "the module".
  bool exists() const noexcept { return fault_ == nullptr; }
  const char* fault() const noexcept { return fault_; }

  // Sets the rate and the longest block; not between start() and stop(). A new rate silences what still rings.
  // Allocates. When there is no memory, the effect passes its input through until the next call.
  void announce(int32 rate, int32 blockLength) noexcept {
    rate_ = rate;
    blockLength_ = blockLength;
    ask(EffectOpcode::setBlockSize, 0, blockLength);  // first, so that the set-up makes room for it at once
    ask(EffectOpcode::setSampleRate, 0, 0, nullptr, static_cast<float>(rate));
  }

  // Starts processing with the current parameters. In the first block after a set-up the effect raises VOLUME from
  // zero. This call processes a block of no samples for that, so the first block of the sound is not faded in and the
  // output does not depend on the block length. (A block of silence has the same effect, but needs a buffer.)
  void start() noexcept {
    ask(EffectOpcode::setProcessing, 0, 1);
    ask(EffectOpcode::startProcess);
    double nothing = 0.0;
    process(&nothing, 0);
  }

  // Processes `length` samples from `in` to `out`, which may be the same. `length` is 0 to the block length. The effect
  // also takes a longer block, but allocates memory for it.
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

  // Values are 0 to 1. A change takes effect at the start of the next block. Parameters and programs count from 0.
  // Unknown ones are ignored; the value of an unknown parameter is 0.
  void setParameter(int32 index, float value) noexcept { record_->setParameter(record_, index, value); }
  float parameter(int32 index) const noexcept { return record_->getParameter(record_, index); }
  void setProgram(int32 index) noexcept {
    ask(EffectOpcode::beginSetProgram);
    ask(EffectOpcode::setProgram, 0, index);
    ask(EffectOpcode::endSetProgram);
  }
  // Of the selected program; the effect cuts it to the length that it keeps, and only reads `name`.
  void setProgramName(const char* name) noexcept {
    auto* const text = const_cast<char*>(name);  // NOLINT(cppcoreguidelines-pro-type-const-cast)
    ask(EffectOpcode::setProgramName, 0, 0, text);
  }

  // Sends any other opcode of the interface.
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
    if (record == nullptr) return "did not create an effect";
    if (record->magic != kMagic) return "returned a record of another kind";
    if (record->dispatcher == nullptr || record->setParameter == nullptr || record->getParameter == nullptr) {
      return "returned a record without entry points";
    }
    if ((record->flags & flagCanDoubleReplacing) == 0 || record->processDoubleReplacing == nullptr) {
      return "cannot process double precision";
    }
    if (record->numInputs != 1 || record->numOutputs != 1) return "does not have one input and one output";
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

// SPDX-License-Identifier: MIT
// A host that does anything: any opcode, parameter, block, rate and block length, in any order.
//
// Pointers are null or as large as the interface says, to the byte, so that the address sanitizer sees a write beyond
// them. The driver also checks the output of the blocks and the contents of the text buffers.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "host/Q_TypeIF.h"
#include "tests/LayoutCheck.h"
#include "tests/fuzz/FuzzInput.h"

// Announced lengths and rates may need more memory than there is.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=64"; }

namespace {

using Op = EffectOpcode;

intptr hostAnswer = 2400;
intptr host(AEffect* /*e*/, int32 /*opcode*/, int32 /*i*/, intptr /*v*/, void* /*p*/, float /*o*/) {
  return hostAnswer;
}

class Session {
 public:
  Session(const std::uint8_t* data, std::size_t size) : in_(data, size) {}
  Session(Session&&) = delete;
  ~Session() {
    if (record_ != nullptr) send(Op::close, 0, 0, nullptr, 0.0F);
  }

  void run() {
    while (in_.remaining_bytes() > 0) {
      hostAnswer = 2400;
      if (record_ == nullptr) record_ = std::unique_ptr<Q_TypeIF>(getinterface(host))->aeffect;
      (this->*in_.PickValueInArray(kActions))();
    }
  }

 private:
  Brumbler& effect() const { return static_cast<Brumbler&>(*static_cast<AudioEffect*>(record_->object)); }

  int32 anyIndex() { return in_.below(4) == 0 ? in_.anyInt() : in_.below<int32>(17); }

  intptr send(Op opcode, int32 index, intptr value, void* ptr, float opt) {
    settled_ = 0.0;
    return record_->dispatcher(record_, static_cast<int32>(opcode), index, value, ptr, opt);
  }

  void setUp() {
    constexpr int32 kRates[] = {44100, 48000, 8000, 192000, 96000, 1, 62, 63, 0, -1};
    hostAnswer = in_.below(16) == 0 ? in_.ConsumeIntegral<intptr>() : in_.PickValueInArray(kRates);
    send(Op::setSampleRate, 0, 0, nullptr, in_.ConsumeBool() ? static_cast<float>(hostAnswer) : in_.anyFloat());
  }

  void setBlockSize() { send(Op::setBlockSize, 0, in_.below(8) == 0 ? in_.anyInt() : in_.below(2000), nullptr, 0.0F); }

  void setParameter() {
    const int32 index = in_.below(8) == 0 ? in_.anyInt() : in_.below(3);
    const float value = in_.below(3) == 0 ? in_.anyFloat() : in_.ConsumeProbability<float>();
    record_->setParameter(record_, index, value);
    const float stored = record_->getParameter(record_, index);
    const float expected = index >= 0 && index < 3 ? value : 0.0F;
    require(std::memcmp(&stored, &expected, sizeof stored) == 0, "a parameter keeps any value");
    settled_ = 0.0;
  }

  // Any opcode at all, with a pointer to enough.
  void anyOpcode() {
    const auto op = static_cast<Op>(in_.below(8) == 0 ? in_.anyInt() : in_.below<int32>(90));
    hostAnswer = in_.anyInt();
    void* record = nullptr;
    intptr value = anyIndex();
    if (op == Op::getSpeakerArrangement) value = reinterpret_cast<intptr>(in_.ConsumeBool() ? &record : nullptr);
    auto buffer = in_.ConsumeBytes<char>(40);
    buffer.resize(sizeof(VstParameterProperties));  // ends with zeros, as a text does
    send(op, anyIndex(), value, in_.ConsumeBool() ? buffer.data() : nullptr, in_.anyFloat());
    if (op == Op::close) record_ = nullptr;
  }

  // Gives `write` a buffer of `size` bytes and looks at what is in it afterwards.
  template <typename Write>
  static void requireText(std::size_t size, Write write) {
    const std::unique_ptr<char[]> text(new char[size]);
    std::fill_n(text.get(), size, '#');
    write(text.get());
    const bool untouched = std::count(text.get(), text.get() + size, '#') == static_cast<std::ptrdiff_t>(size);
    require(untouched || std::memchr(text.get(), '\0', size) != nullptr, "a text ends within its buffer");
  }

  void texts() {
    constexpr std::pair<Op, std::size_t> kTexts[] = {
        {Op::getProgramName, 24},  {Op::getProgramNameIndexed, 24}, {Op::getParameterLabel, 9},
        {Op::getParameterName, 9}, {Op::getParameterDisplay, 9},    {Op::getEffectName, 33},
        {Op::getVendorString, 65}, {Op::getProductString, 65},
    };
    const auto& [op, size] = kTexts[in_.below(std::size(kTexts))];
    requireText(size, [&, op = op](char* text) { send(op, anyIndex(), in_.anyInt(), text, 0.0F); });
    requireText(9, [&](char* text) { effect().getParameterDisplayOf(anyIndex(), in_.anyFloat(), text); });
  }

  void block() {
    constexpr double kBad[] = {NAN, INFINITY, 1e300, -1e300, 1e36, 5e-324, -1e-310, 1.0};
    const int32 length = in_.below(16) == 0 ? in_.below<int32>(5000) - 100 : in_.below<int32>(100);
    const auto count = static_cast<std::size_t>(std::max(length, 0));
    std::vector<double> input(count);
    const auto amplitude = in_.ConsumeProbability<double>();
    for (std::size_t i = 0; i < count; ++i) input[i] = amplitude * std::sin(0.05 * static_cast<double>(i));
    for (int i = in_.below(4); i > 0 && count > 0; --i) {
      input[in_.below(count)] =
          in_.below(8) == 0 ? std::bit_cast<double>(in_.ConsumeIntegral<std::uint64_t>()) : in_.PickValueInArray(kBad);
    }
    std::vector<double> output = input;
    double* source = in_.ConsumeBool() ? output.data() : input.data();
    double* target = output.data();
    const int nulls = in_.below(32);
    record_->processDoubleReplacing(record_, nulls == 1 ? nullptr : &source, nulls == 2 ? nullptr : &target, length);
    const bool plays = LayoutCheck::plays(effect(), length);  // dry when there was no storage
    if (nulls == 1 || nulls == 2) return;
    const bool on = record_->getParameter(record_, 0) == 1.0F;
    const bool effectAlone = plays && on && settled_ > 0.033;  // two fades
    for (std::size_t i = 0; i < count; ++i) {
      const bool finite = std::isfinite(output[i]);
      require(finite || (!effectAlone && !std::isfinite(input[i])), "what is no number comes from the input alone");
      require(!plays || std::fpclassify(output[i]) != FP_SUBNORMAL, "no denormal number comes out");
    }
    require(!plays || !LayoutCheck::denormalLingers(effect()), "no denormal number lingers in a history");
    if (plays) settled_ += static_cast<double>(count) / LayoutCheck::curSampleRate(effect());
  }

  static constexpr void (Session::*kActions[])() = {
      &Session::setUp, &Session::setBlockSize, &Session::setParameter, &Session::setParameter, &Session::anyOpcode,
      &Session::texts, &Session::block,        &Session::block,        &Session::block,        &Session::block,
  };

  FuzzInput in_;
  AEffect* record_ = nullptr;
  double settled_ = 0.0;  // seconds of sound since anything but a block came
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session(data, size).run();
  return 0;
}

// SPDX-License-Identifier: MIT
// A host out of its mind: any opcode, parameter, block, rate and block length, in any order, on up to three effects.
//
// Pointers are null or as large as the interface says, to the byte, so that the address sanitizer sees a write behind
// them. Beside that the driver checks what comes out of the blocks and what is left in the text buffers.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "host/Q_TypeIF.h"
#include "tests/LayoutCheck.h"
#include "tests/fuzz/FuzzInput.h"

// Announced lengths and rates may ask for more than there is.
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
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    for (Voice& voice : voices_) send(voice, Op::close, 0, 0, nullptr, 0.0F);
  }

  void run() {
    while (in_.remaining_bytes() > 0) {
      const std::size_t voice = in_.below(voices_.size() + 1);
      if (voice == voices_.size()) {
        create();
      } else {
        (this->*in_.PickValueInArray(kActions))(voices_[voice]);
      }
    }
  }

 private:
  struct Voice {
    AEffect* record;
    double settled = 0.0;  // seconds of sound since anything but a block came
    Brumbler& effect() const { return static_cast<Brumbler&>(*static_cast<AudioEffect*>(record->object)); }
  };

  void create() {
    hostAnswer = 2400;
    const std::unique_ptr<Q_TypeIF> wrapper(voices_.size() < 3 ? getinterface(host) : nullptr);
    if (wrapper != nullptr) voices_.push_back({wrapper->aeffect});
  }

  int32 anyIndex() { return in_.below(4) == 0 ? in_.anyInt() : in_.below<int32>(17); }

  static intptr send(Voice& to, Op opcode, int32 index, intptr value, void* ptr, float opt) {
    to.settled = 0.0;
    return to.record->dispatcher(to.record, static_cast<int32>(opcode), index, value, ptr, opt);
  }

  void setUp(Voice& voice) {
    constexpr int32 kRates[] = {44100, 48000, 8000, 192000, 96000, 1, 62, 63, 0, -1};
    hostAnswer = in_.below(16) == 0 ? in_.ConsumeIntegral<intptr>() : in_.PickValueInArray(kRates);
    send(voice, Op::setSampleRate, 0, 0, nullptr, in_.ConsumeBool() ? static_cast<float>(hostAnswer) : in_.anyFloat());
  }

  void setBlockSize(Voice& voice) {
    send(voice, Op::setBlockSize, 0, in_.below(8) == 0 ? in_.anyInt() : in_.below(2000), nullptr, 0.0F);
  }

  void setParameter(Voice& voice) {
    const int32 index = in_.below(8) == 0 ? in_.anyInt() : in_.below(3);
    const float value = in_.below(3) == 0 ? in_.anyFloat() : in_.ConsumeProbability<float>();
    voice.record->setParameter(voice.record, index, value);
    const float stored = voice.record->getParameter(voice.record, index);
    const float expected = index >= 0 && index < 3 ? value : 0.0F;
    require(std::memcmp(&stored, &expected, sizeof stored) == 0, "a parameter keeps any value");
    voice.settled = 0.0;
  }

  // Any opcode at all, with a pointer to enough.
  void anyOpcode(Voice& voice) {
    const auto op = static_cast<Op>(in_.below(8) == 0 ? in_.anyInt() : in_.below<int32>(90));
    hostAnswer = in_.anyInt();
    void* record = nullptr;
    intptr value = anyIndex();
    if (op == Op::getSpeakerArrangement) value = reinterpret_cast<intptr>(in_.ConsumeBool() ? &record : nullptr);
    auto buffer = in_.ConsumeBytes<char>(40);
    buffer.resize(sizeof(VstParameterProperties));  // ends with zeros, as a text does
    send(voice, op, anyIndex(), value, in_.ConsumeBool() ? buffer.data() : nullptr, in_.anyFloat());
    if (op != Op::close) return;
    voice = voices_.back();
    voices_.pop_back();
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

  void texts(Voice& voice) {
    constexpr std::pair<Op, std::size_t> kTexts[] = {
        {Op::getProgramName, 24},  {Op::getProgramNameIndexed, 24}, {Op::getParameterLabel, 9},
        {Op::getParameterName, 9}, {Op::getParameterDisplay, 9},    {Op::getEffectName, 33},
        {Op::getVendorString, 65}, {Op::getProductString, 65},
    };
    const auto& [op, size] = kTexts[in_.below(std::size(kTexts))];
    requireText(size, [&, op = op](char* text) { send(voice, op, anyIndex(), in_.anyInt(), text, 0.0F); });
    const float value = in_.anyFloat();
    requireText(9, [&](char* text) { voice.effect().getParameterDisplayOf(anyIndex(), value, text); });
    const auto room = in_.below<int32>(20);
    requireText(static_cast<std::size_t>(room) + 1, [&](char* text) {
      switch (in_.below(5)) {
        case 0: voice.effect().dB2string(value, text, room); break;
        case 1: voice.effect().Hz2string(value, text, room); break;
        case 2: voice.effect().ms2string(value, text, room); break;
        case 3: voice.effect().float2string(value, text, room); break;
        default: voice.effect().int2string(in_.anyInt(), text, room); break;
      }
      require(std::strspn(text, " -.0123456789HugeIndf!") == std::strlen(text), "a text is a number");
    });
  }

  void block(Voice& voice) {
    constexpr double kBad[] = {std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity(),
                               1e300,
                               -1e300,
                               1e36,
                               5e-324,
                               -1e-310,
                               1.0};
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
    voice.record->processDoubleReplacing(voice.record, nulls == 1 ? nullptr : &source, nulls == 2 ? nullptr : &target,
                                         length);
    const bool plays = LayoutCheck::plays(voice.effect(), length);  // dry when there was no storage
    if (nulls == 1 || nulls == 2) return;
    const bool on = voice.record->getParameter(voice.record, 0) == 1.0F;
    const bool effectAlone = plays && on && voice.settled > 0.033;  // two fades
    for (std::size_t i = 0; i < count; ++i) {
      const bool finite = std::isfinite(output[i]);
      require(finite || (!effectAlone && !std::isfinite(input[i])), "what is no number comes from the input alone");
      require(!plays || std::fpclassify(output[i]) != FP_SUBNORMAL, "no denormal number comes out");
    }
    if (plays) voice.settled += static_cast<double>(count) / LayoutCheck::curSampleRate(voice.effect());
  }

  static constexpr void (Session::*kActions[])(Voice&) = {
      &Session::setUp, &Session::setBlockSize, &Session::setParameter, &Session::setParameter, &Session::anyOpcode,
      &Session::texts, &Session::block,        &Session::block,        &Session::block,        &Session::block,
  };

  FuzzInput in_;
  std::vector<Voice> voices_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session(data, size).run();
  return 0;
}

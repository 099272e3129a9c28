// SPDX-License-Identifier: MIT
// Every virtual operation, called by its number, and every opcode.
#include <doctest/doctest.h>

#include <functional>
#include <map>
#include <new>
#include <string>
#include <type_traits>

#include "ForeignHost.h"

namespace {

using Call = std::function<double(Effect&, int)>;  // the answer as a number, 0 for none
using Check = std::function<void(Effect&, int)>;
using Mapping = double (*)(double);  // from the host's answer to the effect's

char text[80];  // the product string takes 65
const std::string kUntouched(sizeof text - 1, '?');
void* const pointer = text;

template <typename Result, typename... Arguments>
Call fn(Arguments... arguments) {
  return [=](Effect& effect, int slot) -> double {
    if constexpr (std::is_void_v<Result>) {
      return effect.call<void>(slot, arguments...), 0.0;
    } else if constexpr (std::is_pointer_v<Result>) {
      return static_cast<double>(reinterpret_cast<Word>(effect.call<Result>(slot, arguments...)));
    } else {
      return static_cast<double>(effect.call<Result>(slot, arguments...));
    }
  };
}

double same(double a) { return a; }
double nonZero(double a) { return a != 0 ? 1 : 0; }
double isZero(double a) { return a == 0 ? 1 : 0; }
double nothing(double /*a*/) { return 0; }
double atLeastOne(double a) { return a == 0 ? 1 : a; }
double rate(double a) { return a > 0 ? a : 44100; }
double size(double a) { return a > 0 ? a : 1024; }

// The effect answers without asking its host, and leaves `written` in the text buffer.
Check gives(const Call& call, double wanted, const std::string& written = kUntouched) {
  return [=](Effect& effect, int slot) {
    std::memset(text, '?', sizeof text - 1);
    CHECK(call(effect, slot) == wanted);
    CHECK(std::string(text) == written);
    CHECK(questions.empty());
  };
}

template <typename Result = bool, typename... Arguments>
Check no(Arguments... arguments) {
  return gives(fn<Result>(arguments...), 0);
}

Check writes(const std::string& written, const Call& call = fn<void>(1, text)) { return gives(call, 0, written); }

// After `call`, the answer of the operation in slot `other`.
Call then(const Call& call, int other, const Call& otherCall) {
  return [=](Effect& effect, int slot) { return call(effect, slot), otherCall(effect, other); };
}

// After `call`, the number at `offset` of the record.
Call field(const Call& call, std::size_t offset) {
  return then(call, 0, [=](Effect& effect, int /*slot*/) { return read<std::int32_t>(effect.record, offset); });
}

Call op(int opcode, int index = 0, Word value = 0, void* ptr = nullptr, float opt = 0.0F) {
  return [=](Effect& effect, int /*slot*/) {
    return static_cast<double>(effect.dispatch(opcode, index, value, ptr, opt));
  };
}

Check stores(std::size_t offset) { return gives(field(fn<void>(77), offset), 77); }

// The effect asks its host exactly `wanted` and answers as `mapping` says; without a host, as if the answer had been 0.
Check asks(const Call& call, const Question& wanted, Mapping mapping = same) {
  return [=](Effect& effect, int slot) {
    Question expected = wanted;
    expected.effect = effect.record;
    for (const int hostAnswer : {0, 1, 2, -1}) {
      CAPTURE(hostAnswer);
      answer = hostAnswer;
      questions.clear();
      CHECK(call(effect, slot) == mapping(hostAnswer));
      CHECK(questions == std::vector{expected});
    }
    questions.clear();
    std::memset(static_cast<char*>(effect.object) + sizeof(void*), 0, sizeof(Callback));
    CHECK(call(effect, slot) == mapping(0));
    CHECK(questions.empty());
  };
}

template <typename... Arguments>
Check asksBool(const Question& wanted, Arguments... arguments) {
  return asks(fn<bool>(arguments...), wanted, nonZero);
}

// Sets and clears one flag of the record.
Check flips(std::int32_t flag) {
  return [=](Effect& effect, int slot) {
    const std::int32_t others = read<std::int32_t>(effect.record, at(36, 56)) & ~flag;
    for (const bool state : {true, false}) {
      gives(field(fn<void>(state), at(36, 56)), state ? others | flag : others)(effect, slot);
    }
  };
}

// The complete destructor leaves the storage to the caller, the deleting one does not.
Check destroys(bool deleting) {
  return [=](Effect& effect, int slot) {
    effect.dispatch(10, 0, 0, nullptr, 44100.0F);
    effect.call<void>(slot);
    if (!deleting) ::operator delete(effect.object);
    effect.object = nullptr;
  };
}

char properties[154];
void* nowhere = nullptr;

// A record of one speaker as words: type, number of speakers, four floats, 16 words of name, type, reserved.
const std::int32_t kMono[30] = {5, 1, 11, 12, 13, 14, 0x7466656C, 0, 0, 0, 0, 0, 0, 0, 0,
                                0, 0, 0,  0,  0,  0,  0,          9, 1, 2, 3, 4, 5, 6, 7};
const std::int32_t kEmptyMono[30] = {0, 1};

// The record that the operation makes from `arguments` is `wanted`.
template <typename... Arguments>
Check makes(const std::int32_t (&wanted)[30], Arguments... arguments) {
  return [&wanted, arguments...](Effect& effect, int slot) {
    void* made = nullptr;
    CHECK(effect.call<bool>(slot, &made, arguments...));
    REQUIRE(made != nullptr);
    CHECK(std::memcmp(made, wanted, sizeof wanted) == 0);
    CHECK(effect.call<bool>(112, &made));
    CHECK(made == nullptr);
  };
}

void clearsBoth(Effect& effect, int slot) {
  void *in = pointer, *out = pointer;
  const auto value = reinterpret_cast<Word>(&in);
  CHECK((slot == 2 ? effect.dispatch(69, 0, value, &out) == 0 : !effect.call<bool>(slot, &in, &out)));
  CHECK((in == nullptr && out == nullptr));
}

void knowsItsRecord(Effect& effect, int slot) { CHECK(effect.call<void*>(slot) == effect.record); }

// A row for each slot, in order.
// clang-format off
const struct Row { int slot; Check check; } kRows[] = {
    // The effect base.
    {0, destroys(false)}, {1, destroys(true)}, {2, gives(fn<Word>(22, 0, Word{0}, nullptr, 0.0F), 0x4E764566)},
    {3, no<void>()}, {4, no<void>()}, {5, no<void>()}, {6, no<void>()}, {7, asks(fn<void>(48000.0F), {16}, nothing)},
    {8, gives(then(fn<void>(256), 33, fn<int>()), 256)}, {9, no<void>(pointer, pointer, 1)},
    {10, no<void>(nullptr, nullptr, 1)}, {11, gives(then(fn<void>(2, 0.25F), 12, fn<float>(2)), 0.25)},
    {12, gives(fn<float>(1), 0.5)}, {13, asks(fn<void>(2, 0.25F), {0, 2, 0, nullptr, 0.25F}, nothing)}, {14, no<int>()},
    {15, gives(then(fn<void>(3), 14, fn<int>()), 3)}, {16, writes("Loud", then(fn<void>("Loud"), 17, fn<void>(text)))},
    {17, writes("Init 1", fn<void>(text))}, {18, writes("")}, {19, writes(" 5.00")}, {20, writes("VOLUME")},
    {21, no<int>(pointer, true)}, {22, no<int>(pointer, 8, true)}, {23, stores(at(72, 112))}, {24, stores(at(28, 48))},
    {25, stores(at(32, 52))}, {26, flips(0x10)}, {27, flips(0x1000)}, {28, flips(0x20)}, {29, stores(at(48, 80))},
    {30, no<void*>()}, {31, knowsItsRecord}, {32, gives(fn<float>(), 44100)}, {33, gives(fn<int>(), 1024)},
    {34, asks(fn<int>(), {1}, atLeastOne)}, {35, asks(fn<int>(), {2})}, {36, asks(fn<int>(), {3})},
    {37, asks(fn<bool>(3), {4, 3, 0}, isZero)}, {38, asks(fn<bool>(3), {4, 3, 1}, isZero)},
    {39, writes(" 20.00", fn<void>(10.0F, text, 8))}, {40, writes(" 441.00", fn<void>(100.0F, text, 8))},
    {41, writes(" 10.00", fn<void>(441.0F, text, 8))}, {42, writes("-0.50", fn<void>(-0.5F, text, 8))},
    {43, writes("-7", fn<void>(-7, text, 8))}, {44, no<void>(pointer, pointer, 1)}, {45, no<float>()}, {46, flips(4)},
    {47, flips(2)}, {48, flips(8)}, {49, stores(at(52, 84))}, {50, stores(at(56, 88))},
    // The extended half.
    {51, gives(fn<bool>(7), 1)}, {52, no(1, pointer)}, {53, gives(fn<bool>(1, properties), 1)},
    {54, asksBool({43, 7}, 7)}, {55, asksBool({44, 7}, 7)}, {56, gives(fn<bool>(5, 3, text), 1, "Init")}, {57, no()},
    {58, no()}, {59, no<int>(pointer)}, {60, no<int>(pointer)}, {61, asksBool({13})},
    {62, asks(fn<float>(), {16}, rate)}, {63, asks(then(op(11, 0, 1024), 63, fn<int>()), {17}, size)},
    {64, asks(fn<int>(), {18})}, {65, asks(fn<int>(), {19})}, {66, no(0, pointer)}, {67, no(0, pointer)},
    {68, no(pointer, pointer)}, {69, clearsBoth}, {70, no(true)}, {71, no(1, 0.5F)}, {72, no(1)}, {73, no<int>()},
    {74, no<int>()}, {75, asks(fn<void*>(9), {7, 0, 9})}, {76, asks(fn<int>(), {23})}, {77, asks(fn<int>(), {24})},
    {78, no<int>(pointer)}, {79, no<int>()}, {80, no<int>()}, {81, no(pointer)}, {82, gives(fn<int>(77), 77)},
    {83, asksBool({32, 0, 0, pointer}, pointer)}, {84, asksBool({33, 0, 0, pointer}, pointer)},
    {85, asks(fn<int>(), {34})}, {86, asks(fn<Word>(3, Word{4}, pointer, 0.5F), {35, 3, 4, pointer, 0.5F})},
    {87, asksBool({37, 0, 0, pointer}, pointer)}, {88, asks(fn<int>(), {38})}, {89, flips(0x100)}, {90, flips(0x200)},
    {91, no<int>()}, {92, asks(fn<void*>(), {41})}, {93, gives(fn<bool>(text), 1, "Brumbler")}, {94, no(text)},
    {95, gives(fn<bool>(text), 1, "Brumbler")}, {96, gives(fn<int>(), 1000)}, {97, no<Word>(3, Word{4}, pointer, 0.5F)},
    {98, no<int>(pointer)}, {99, gives(fn<int>(), 2400)}, {100, gives(fn<int>(), 1)}, {101, no<int>(0, pointer)},
    {102, gives(fn<int>(0, pointer), -1)}, {103, no<int>(0, pointer)}, {104, no(0)}, {105, no(0, pointer)},
    {106, asksBool({42})}, {107, asksBool({15, 30, 40}, 30, 40)}, {108, asksBool({45, 0, 0, pointer}, pointer)},
    {109, asksBool({46, 0, 0, pointer}, pointer)}, {110, no<int>(text)}, {111, makes(kEmptyMono, 1)},
    {112, gives(fn<bool>(&nowhere), 1)}, {113, no(nullptr, nullptr)}, {114, makes(kMono, kMono)},
    {115, asksBool({26, 1, 5, pointer}, pointer, 5, true)}, {116, asksBool({27, 0, 5, pointer}, pointer, 5)},
    {117, asksBool({25, 6, 5, pointer}, pointer, 5, 6)}, {118, asks(fn<int>(), {28}, nonZero)},
    {119, asks(fn<int>(), {29}, nonZero)}, {120, no(pointer, 1, true)}, {121, no(pointer, 1)}, {122, no(pointer, 1)},
    {123, no<int>()}, {124, no<int>()},
    // Deprecated.
    {125, asks(fn<void>(9), {6, 0, 9}, nothing)}, {126, asks(fn<int>(9), {10, 0, 9})}, {127, asks(fn<int>(), {11})},
    {128, asks(fn<int>(), {12})}, {129, gives(fn<int>(), 1)}, {130, no(9)}, {131, asksBool({14})},
    {132, asks(fn<void*>(9), {20})}, {133, asks(fn<void*>(9), {21})}, {134, no<void>(1, true)},
    {135, no<void>(1, true)}, {136, asks(fn<int>(), {22})}, {137, flips(0x400)}, {138, flips(0x800)}, {139, no<int>()},
    {140, no<float*>()}, {141, asks(fn<void>(8000.0F), {30, 0, 0, nullptr, 8000.0F}, nothing)},
    {142, asks(fn<void*>(), {49})}, {143, asks(fn<void*>(), {31})},
    {144, asks(fn<void*>(pointer), {39, 0, 0, pointer})}, {145, asksBool({40, 0, 0, pointer}, pointer)},
    {146, gives(then(fn<void>(256, 8000.0F), 32, fn<float>()), 8000)}, {147, no(text)}, {148, no<void*>()},
    {149, no(3, 4)}, {150, no<int>()}, {151, no()}, {152, asksBool({48, 0, 0, pointer}, pointer)},
    // The host extension.
    {153, gives(fn<int>(), 1)}, {154, gives(fn<int>(), 1)}, {155, gives(fn<int>(5), 1)}, {156, gives(fn<int>(5), 1)},
    {157, no<int>(5)}, {158, no<int>(5)}, {159, gives(fn<int>(), -1)}, {160, no<void>(pointer)},
    {161, writes(" 2.50", fn<void>(2, 0.25F, text))}, {162, gives(fn<int>(), 1)}, {163, no<void>(0.5F)},
};

// Calls through the dispatcher whose arguments matter.
char loud[] = "Loud";
const Check kOpcodes[] = {
    gives(then(op(2, 7, 15), 0, op(3)), 15), gives(then(op(2, 7, 16), 0, op(3)), 0), gives(op(3, 7), 0),
    gives(then(op(2, 7, -3), 0, op(3)), 0), writes("Loud", then(op(4, 0, 0, loud), 0, op(5, 0, 0, text))), writes("",
    op(6, 1, 0, text)), writes(" 5.00", op(7, 1, 0, text)), writes("VOLUME", op(8, 1, 0, text)), asks(op(10, 0, 0,
    nullptr, 48000.0F), {16}, nothing), gives(then(op(11, 0, 256), 33, fn<int>()), 256), gives(op(12, 0, 1), 0),
    gives(op(29, 3, 20, text), 1, "Init"), gives(op(29, 20, 3, text), 0), gives(op(45, 0, 0, text), 1, "Brumbler"),
    gives(op(47, 0, 0, text), 0), gives(op(48, 0, 0, text), 1, "Brumbler"), gives(op(56, 1, 9, properties), 1),
    gives(op(56, 9, 1, properties), 0), gives(op(73, 0, 77), 77), clearsBoth,
};
// clang-format on

}  // namespace

TEST_CASE("every slot of the virtual table") {
  const Module module;
  for (const Row& row : kRows) {
    CAPTURE(row.slot);
    CHECK(&row - kRows == row.slot);  // none left out
    answer = 0;
    questions.clear();
    Effect effect(module.entry());
    row.check(effect, row.slot);
  }
}

TEST_CASE("every opcode, with arguments and with none") {
  const Module module;
  answer = 0;
  for (const Check& check : kOpcodes) {
    CAPTURE(&check - kOpcodes);
    Effect effect(module.entry());
    questions.clear();
    check(effect, 2);
  }
  const std::map<int, Word> answers = {{22, 0x4E764566}, {26, 1}, {35, 1}, {49, 1000}, {58, 2400}, {63, -1}};
  Effect effect(module.entry());
  for (int opcode = -1; opcode <= 90; ++opcode) {
    CAPTURE(opcode);
    if (opcode != 1) CHECK(effect.dispatch(opcode) == (answers.count(opcode) != 0 ? answers.at(opcode) : 0));
  }
  for (const std::size_t offset : {at(8, 16), at(80, 120)}) {  // single-precision processing: nothing happens
    read<void (*)(void*, void*, void*, int)>(effect.record, offset)(effect.record, pointer, pointer, 3);
  }
  CHECK(effect.dispatch(1) == 1);
  effect.object = nullptr;
}

TEST_CASE("pointers that the host answers keep their width, numbers have 32 bits") {
  const Module module;
  const Effect effect(module.entry());
  answer = reinterpret_cast<Word>(pointer);
  for (const int slot : {75, 92, 132, 133, 142, 143, 144}) CHECK(effect.call<void*>(slot, nullptr) == pointer);
  CHECK(effect.call<Word>(86, 0, answer, nullptr, 0.0F) == answer);
  answer = static_cast<Word>(0xFFFFFFFFU);  // -1 from a callback that was compiled to answer 32 bits
  CHECK(effect.call<float>(62) == 44100.0F);
}

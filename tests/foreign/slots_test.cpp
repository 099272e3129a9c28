// SPDX-License-Identifier: MIT
// Every virtual operation, called by its number, and every opcode's way to one.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

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

// The effect answers by itself, and leaves `written` in the text buffer.
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

// Afterwards the operation in slot `other` answers `wanted`.
Check then(const Call& call, int other, const Call& otherCall, double wanted, const std::string& written = kUntouched) {
  return [=](Effect& effect, int slot) {
    call(effect, slot);
    questions.clear();
    gives(otherCall, wanted, written)(effect, other);
  };
}

// The effect asks its host exactly `wanted` and answers as `mapping` says; without a host as if that had answered 0.
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

// A null argument is refused before the host is asked.
Check asksUnlessNull(std::int32_t opcode) {
  return [=](Effect& effect, int slot) {
    no(nullptr)(effect, slot);
    asksBool({opcode, 0, 0, pointer}, pointer)(effect, slot);
  };
}

// Sets and clears one flag of the record, or stores a number in it.
Check flips(std::int32_t flag) {
  return [=](Effect& effect, int slot) {
    const auto before = read<std::int32_t>(effect.record, at(36, 56));
    for (const bool state : {true, false}) {
      effect.call<void>(slot, state);
      CHECK(read<std::int32_t>(effect.record, at(36, 56)) == (state ? before | flag : before & ~flag));
    }
  };
}

Check stores(std::size_t offset) {
  return [=](Effect& effect, int slot) {
    effect.call<void>(slot, 77);
    CHECK(read<std::int32_t>(effect.record, offset) == 77);
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

template <typename Sample>
Check processes(double wanted) {
  return [=](Effect& effect, int slot) {
    Sample in = 3, out = 7, *ins = &in, *outs = &out;
    effect.call<void>(slot, &ins, &outs, 1);
    CHECK(static_cast<double>(out) == wanted);
  };
}

double updateBlockSize(Effect& effect, int slot) {
  effect.call<void>(8, 1024);
  return fn<int>()(effect, slot);
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

void copiesSpeaker(Effect& effect, int slot) {
  std::int32_t to[28] = {};
  CHECK(effect.call<bool>(slot, to, kMono + 2));
  CHECK(std::memcmp(to, kMono + 2, sizeof to) == 0);
}

void clearsBoth(Effect& effect, int slot) {
  void *in = pointer, *out = pointer;
  CHECK_FALSE(effect.call<bool>(slot, &in, &out));
  CHECK((in == nullptr && out == nullptr));
}

void knowsItsRecord(Effect& effect, int slot) { CHECK(effect.call<void*>(slot) == effect.record); }

// A row for each slot, in order.
// clang-format off
const struct Row { int slot; Check check; } kRows[] = {
    // The effect base.
    {0, destroys(false)}, {1, destroys(true)}, {2, gives(fn<Word>(22, 0, Word{0}, nullptr, 0.0F), 0x4E764566)},
    {3, no<void>()}, {4, no<void>()}, {5, no<void>()}, {6, no<void>()}, {7, asks(fn<void>(48000.0F), {16}, nothing)},
    {8, then(fn<void>(256), 33, fn<int>(), 256)}, {9, processes<float>(7)}, {10, processes<double>(3)},
    {11, then(fn<void>(2, 0.25F), 12, fn<float>(2), 0.25)}, {12, gives(fn<float>(1), 0.5)},
    {13, asks(fn<void>(2, 0.25F), {0, 2, 0, nullptr, 0.25F}, nothing)}, {14, no<int>()},
    {15, then(fn<void>(3), 14, fn<int>(), 3)}, {16, then(fn<void>("Loud"), 17, fn<void>(text), 0, "Loud")},
    {17, writes("Init 1", fn<void>(text))}, {18, writes("")}, {19, writes(" 5.00")}, {20, writes("VOLUME")},
    {21, no<int>(pointer, true)}, {22, no<int>(pointer, 8, true)}, {23, stores(at(72, 112))}, {24, stores(at(28, 48))},
    {25, stores(at(32, 52))}, {26, flips(0x10)}, {27, flips(0x1000)}, {28, flips(0x20)}, {29, stores(at(48, 80))},
    {30, no<void*>()}, {31, knowsItsRecord}, {32, gives(fn<float>(), 44100)}, {33, gives(fn<int>(), 1024)},
    {34, asks(fn<int>(), {1}, atLeastOne)}, {35, asks(fn<int>(), {2})}, {36, asks(fn<int>(), {3})},
    {37, asks(fn<bool>(3), {4, 3, 0}, isZero)}, {38, asks(fn<bool>(3), {4, 3, 1}, isZero)},
    {39, writes(" 20.00", fn<void>(10.0F, text, 8))}, {40, writes(" 441.00", fn<void>(100.0F, text, 8))},
    {41, writes(" 10.00", fn<void>(441.0F, text, 8))}, {42, writes("-0.50", fn<void>(-0.5F, text, 8))},
    {43, writes("-7", fn<void>(-7, text, 8))}, {44, processes<float>(7)}, {45, no<float>()}, {46, flips(4)},
    {47, flips(2)}, {48, flips(8)}, {49, stores(at(52, 84))}, {50, stores(at(56, 88))},
    // The extended half.
    {51, gives(fn<bool>(7), 1)}, {52, no(1, pointer)}, {53, gives(fn<bool>(1, properties), 1)},
    {54, asksBool({43, 7}, 7)},
    {55, asksBool({44, 7}, 7)}, {56, gives(fn<bool>(5, 3, text), 1, "Init")}, {57, no()}, {58, no()},
    {59, no<int>(pointer)}, {60, no<int>(pointer)}, {61, asksBool({13})}, {62, asks(fn<float>(), {16}, rate)},
    {63, asks(updateBlockSize, {17}, size)}, {64, asks(fn<int>(), {18})}, {65, asks(fn<int>(), {19})},
    {66, no(0, pointer)}, {67, no(0, pointer)}, {68, no(pointer, pointer)}, {69, clearsBoth}, {70, no(true)},
    {71, no(1, 0.5F)}, {72, no(1)}, {73, no<int>()}, {74, no<int>()}, {75, asks(fn<void*>(9), {7, 0, 9})},
    {76, asks(fn<int>(), {23})}, {77, asks(fn<int>(), {24})}, {78, no<int>(pointer)}, {79, no<int>()}, {80, no<int>()},
    {81, no(pointer)}, {82, gives(fn<int>(77), 77)}, {83, asksBool({32, 0, 0, pointer}, pointer)},
    {84, asksBool({33, 0, 0, pointer}, pointer)}, {85, asks(fn<int>(), {34})},
    {86, asks(fn<Word>(3, Word{4}, pointer, 0.5F), {35, 3, 4, pointer, 0.5F})},
    {87, asksBool({37, 0, 0, pointer}, pointer)}, {88, asks(fn<int>(), {38})}, {89, flips(0x100)}, {90, flips(0x200)},
    {91, no<int>()}, {92, asks(fn<void*>(), {41})}, {93, gives(fn<bool>(text), 1, "Brumbler")}, {94, no(text)},
    {95, gives(fn<bool>(text), 1, "Brumbler")}, {96, gives(fn<int>(), 1000)},
    {97, no<Word>(3, Word{4}, pointer, 0.5F)}, {98, no<int>(pointer)}, {99, gives(fn<int>(), 2400)},
    {100, gives(fn<int>(), 1)}, {101, no<int>(0, pointer)}, {102, gives(fn<int>(0, pointer), -1)},
    {103, no<int>(0, pointer)}, {104, no(0)}, {105, no(0, pointer)}, {106, asksBool({42})},
    {107, asksBool({15, 30, 40}, 30, 40)}, {108, asksUnlessNull(45)}, {109, asksUnlessNull(46)}, {110, no<int>(text)},
    {111, makes(kEmptyMono, 1)}, {112, gives(fn<bool>(&nowhere), 1)}, {113, copiesSpeaker}, {114, makes(kMono, kMono)},
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
    {146, then(fn<void>(256, 8000.0F), 32, fn<float>(), 8000)}, {147, no(text)}, {148, no<void*>()}, {149, no(3, 4)},
    {150, no<int>()}, {151, no()}, {152, asksUnlessNull(48)},
    // The host extension.
    {153, gives(fn<int>(), 1)}, {154, gives(fn<int>(), 1)}, {155, gives(fn<int>(5), 1)}, {156, gives(fn<int>(5), 1)},
    {157, no<int>(5)}, {158, no<int>(5)}, {159, gives(fn<int>(), -1)}, {160, no<void>(pointer)},
    {161, writes(" 2.50", fn<void>(2, 0.25F, text))}, {162, gives(fn<int>(), 1)}, {163, no<void>(0.5F)},
};

// The slot that an opcode calls; its arguments, a letter each: the host's index, value, pointer or opt, and in capitals
// whether index or value is not 0; what becomes of the slot's answer: nothing, a bool, or as it is.
const struct OpcodeRow {
  int opcode, slot;
  const char* arguments;
  char result;
  int index = 3, value = 5;
} kOpcodes[] = {
    {0, 3, "", 'n'}, {1, 4, "", 'n'}, {2, 15, "v", 'n'}, {2, 15, "v", 'n', 3, 15}, {2, -1, "", 'n', 3, 16},
    {2, 15, "v", 'n', 3, -3}, {3, 14, "", 's'}, {4, 16, "p", 'n'}, {5, 17, "p", 'n'}, {6, 18, "ip", 'n'},
    {7, 19, "ip", 'n'}, {8, 20, "ip", 'n'}, {10, 7, "o", 'n'}, {11, 8, "v", 'n'}, {12, 6, "", 'n'},
    {12, 6, "", 'n', 3, -1}, {12, 5, "", 'n', 3, 0}, {23, 21, "pI", 's'}, {23, 21, "pI", 's', 0, 5},
    {24, 22, "pvI", 's'}, {24, 22, "pvI", 's', 0, 5}, {25, 78, "p", 's'}, {26, 51, "i", 'b'}, {27, 52, "ip", 'b'},
    {29, 56, "vip", 'b'}, {33, 66, "ip", 'b'}, {34, 67, "ip", 'b'}, {35, 100, "", 's'}, {38, 120, "pvI", 'b'},
    {38, 120, "pvI", 'b', 0, 5}, {39, 121, "pv", 'b'}, {40, 122, "pv", 'b'}, {41, 81, "p", 'b'}, {42, 68, "vp", 'b'},
    {44, 70, "V", 'b'}, {44, 70, "V", 'b', 3, 0}, {45, 93, "p", 'b'}, {47, 94, "p", 'b'}, {48, 95, "p", 'b'},
    {49, 96, "", 's'}, {50, 97, "ivpo", 's'}, {51, 98, "p", 's'}, {52, 91, "", 's'}, {56, 53, "ip", 'b'},
    {58, 99, "", 's'}, {62, 101, "ip", 's'}, {63, 102, "ip", 's'}, {64, 103, "ip", 's'}, {65, 104, "i", 'b'},
    {66, 105, "ip", 'b'}, {67, 57, "", 'b'}, {68, 58, "", 'b'}, {69, 69, "vp", 'b'}, {70, 110, "p", 's'},
    {71, 79, "", 's'}, {72, 80, "", 's'}, {73, 82, "v", 's'}, {74, 71, "vo", 'b'}, {75, 59, "p", 's'},
    {76, 60, "p", 's'}, {77, 72, "v", 'b'}, {78, 73, "", 's'}, {79, 74, "", 's'},
};
// clang-format on

// Stands in a slot: tells what was called, and answers.
struct Called {
  int slot;
  std::int32_t words[3];
  float fourth;
};
std::vector<Called> called;

template <typename Result, int slot>
Result standIn(void* /*object*/, std::int32_t first, std::int32_t second, std::int32_t third, float fourth) {
  called.push_back({slot, {first, second, third}, fourth});
  return static_cast<Result>(-7);
}

constexpr int kSlots = std::size(kRows);
using Table = std::array<void*, kSlots>;

template <typename Result, int... slots>
Table standIns(std::integer_sequence<int, slots...> /*all*/) {
  return {reinterpret_cast<void*>(&standIn<Result, slots>)...};
}

// An effect that has stand-ins in all slots but its dispatcher's, each of which answers a `Result`.
template <typename Result>
struct StoodInFor : Effect {
  explicit StoodInFor(Entry makeIt)
      : Effect(makeIt),
        own(read<void**>(object, 0)),
        table(standIns<Result>(std::make_integer_sequence<int, kSlots>())) {
    table[2] = own[2];
    put(table.data());
  }
  ~StoodInFor() { put(own); }
  void put(void** slots) { std::memcpy(object, &slots, sizeof slots); }

  void** own;
  Table table;
};

Word lowWord(const void* address) { return static_cast<std::int32_t>(reinterpret_cast<Word>(address)); }

template <typename Result>
void checkOpcode(Entry entry, const OpcodeRow& row) {
  CAPTURE(row.opcode);
  const StoodInFor<Result> effect(entry);
  called.clear();
  const auto result = effect.template call<Word>(2, row.opcode, row.index, Word{row.value}, pointer, 0.5F);
  CHECK(result == (row.result == 's' ? -7 : row.result == 'b' ? 1 : row.opcode == 22 ? 0x4E764566 : 0));
  REQUIRE(called.size() == (row.slot >= 0 ? 1 : 0));
  if (!called.empty()) CHECK(called[0].slot == row.slot);
  for (std::size_t i = 0; row.arguments[i] != '\0'; ++i) {
    CAPTURE(i);
    const char letter = row.arguments[i];
    const std::int32_t word = i < 3 ? called[0].words[i] : 0;
    const Word wanted = letter == 'i' ? row.index : letter == 'v' ? row.value : lowWord(pointer);
    const bool isTrue = (letter == 'I' ? row.index : row.value) != 0;
    if (letter == 'o') CHECK((called[0].fourth == 0.5F || word == 0x3F000000));  // 32-bit x86 has it among the words
    if (letter == 'I' || letter == 'V') CHECK((word & 0xFF) == (isTrue ? 1 : 0));
    if (letter == 'i' || letter == 'v' || letter == 'p') CHECK(word == wanted);
  }
}

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

TEST_CASE("every opcode calls its slot with the host's arguments, in their order") {
  const Module module;
  for (const OpcodeRow& row : kOpcodes) {
    row.result == 'b' ? checkOpcode<bool>(module.entry(), row) : checkOpcode<Word>(module.entry(), row);
  }
  for (int opcode = -1; opcode <= 90; ++opcode) {
    const auto calls = [&](const OpcodeRow& row) { return row.opcode == opcode; };
    if (std::none_of(std::begin(kOpcodes), std::end(kOpcodes), calls)) {
      checkOpcode<Word>(module.entry(), {opcode, -1, "", 'n'});
    }
  }
}

TEST_CASE("the record's entries call their slots, and after close the effect is deleted") {
  const Module module;
  const StoodInFor<Word> effect(module.entry());
  called.clear();
  for (const std::size_t offset : {at(8, 16), at(80, 120), at(84, 128)}) {
    read<void (*)(void*, void*, void*, int)>(effect.record, offset)(effect.record, pointer, nullptr, 3);
    CHECK(called.back().words[0] == lowWord(pointer));
    CHECK(called.back().words[2] == 3);
  }
  CHECK(effect.dispatch(1) == 1);
  std::string slots;
  for (const Called& call : called) slots += std::to_string(call.slot) + ' ';
  CHECK(slots == "44 9 10 4 1 ");
}

TEST_CASE("pointers that the host answers keep their width") {
  const Module module;
  const Effect effect(module.entry());
  answer = reinterpret_cast<Word>(pointer);
  for (const int slot : {75, 92, 132, 133, 142, 143, 144}) CHECK(effect.call<void*>(slot, nullptr) == pointer);
  CHECK(effect.call<Word>(86, 0, answer, nullptr, 0.0F) == answer);
}

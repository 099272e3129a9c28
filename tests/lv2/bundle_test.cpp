// SPDX-License-Identifier: MIT
// Plays the bundle's shared object as an LV2 host does, against the effect driven through its own interface.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <dlfcn.h>
#include <doctest/doctest.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/Player.h"
#include "tests/SystemCalls.h"

namespace {

using Floats = std::vector<float>;
constexpr std::uint32_t kOn = 2, kVolume = 3, kFuzz = 4, kTrim = 5;
constexpr float kDefaults[] = {0.0F, 0.0F, 1.0F, 5.0F, 5.0F, 0.0F};

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  return std::string(uri) == LV2_BUF_SIZE__maxBlockLength ? 1 : std::string(uri) == LV2_ATOM__Int ? 2 : 3;
}

// One instance at 48000 Hz, its controls at their defaults. `announced` is the longest block, 0 says nothing of it.
struct Bundle {
  explicit Bundle(std::int32_t announced = 0) {
    static void* const library = dlopen(BRUMBLER_LV2_BINARY, RTLD_NOW | RTLD_LOCAL);
    REQUIRE(library != nullptr);
    descriptor = reinterpret_cast<LV2_Descriptor_Function>(dlsym(library, "lv2_descriptor"))(0);
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, 1, sizeof announced, 2, &announced},
                                    {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
    const LV2_Feature mapFeature{LV2_URID__map, &map};
    const LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
    const LV2_Feature* const features[] = {&mapFeature, announced > 0 ? &optionsFeature : nullptr, nullptr};
    handle = descriptor->instantiate(descriptor, 48000.0, "", features);
    REQUIRE(handle != nullptr);
    for (std::uint32_t port = kOn; port <= kTrim; ++port) descriptor->connect_port(handle, port, &control[port]);
    descriptor->activate(handle);
  }
  ~Bundle() { descriptor->cleanup(handle); }

  // In place, in blocks of the given lengths over and over.
  Floats play(Floats sound, const std::vector<std::size_t>& blocks = {256}) {
    std::size_t turn = 0;
    for (std::size_t begin = 0; begin < sound.size(); ++turn) {
      const std::size_t length = std::min(blocks[turn % blocks.size()], sound.size() - begin);
      descriptor->connect_port(handle, 0, &sound[begin]);
      descriptor->connect_port(handle, 1, &sound[begin]);
      descriptor->run(handle, static_cast<std::uint32_t>(length));
      begin += length;
    }
    return sound;
  }

  const LV2_Descriptor* descriptor;
  LV2_Handle handle;
  float control[6] = {0.0F, 0.0F, 1.0F, 5.0F, 5.0F, 0.0F};
};

Floats noise(std::size_t length, float peak) {
  std::minstd_rand random(1);
  Floats sound(length);
  for (float& sample : sound) sample = peak * std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
  return sound;
}

bool isClose(const Floats& a, const Floats& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](float x, float y) { return std::fabs(x - y) < 1e-6F; });
}

// What the effect itself makes of `sound` in blocks of 256, switched off and on again where the blocks begin.
Floats direct(const Floats& sound, float volume, float fuzz, std::size_t off, std::size_t on) {
  Player player(48000);
  player.set(1, volume);
  player.set(2, fuzz);
  Sound samples(sound.begin(), sound.end());
  player.play(nullptr, nullptr, 0);
  for (std::size_t begin = 0; begin < samples.size(); begin += 256) {
    if (begin == off || begin == on) player.set(0, begin == on ? 1.0F : 0.0F);
    player.play(&samples[begin], &samples[begin], 256);
  }
  return Floats(samples.begin(), samples.end());
}

}  // namespace

TEST_CASE("with trim 0 the bundle is the effect, to the float, whatever the blocks") {
  constexpr std::size_t kOff = 2560, kAgain = 7680, kEnd = 12800;
  const Floats in = noise(kEnd, 0.3F);
  const Floats expected = direct(in, 0.7F, 0.2F, kOff, kAgain);
  using Blocks = std::vector<std::size_t>;
  for (const auto& [announced, blocks] : {std::pair{64, Blocks{2560}}, {4, {1}}, {512, {0, 500, 12}}, {0, {100000}}}) {
    Bundle bundle(announced);
    bundle.control[kVolume] = 7.0F;
    bundle.control[kFuzz] = 2.0F;
    Floats out;
    for (const auto& [begin, end] : {std::pair{std::size_t{0}, kOff}, {kOff, kAgain}, {kAgain, kEnd}}) {
      bundle.control[kOn] = begin == kOff ? 0.0F : 1.0F;
      const Floats part = bundle.play(Floats(in.data() + begin, in.data() + end), blocks);
      out.insert(out.end(), part.begin(), part.end());
    }
    CHECK(out == expected);
  }
}

TEST_CASE("trim leaves dry as it was, moves the level at which the effect works, and glides") {
  Floats in = noise(4096, 1.0F);
  in[7] = std::numeric_limits<float>::max();
  in[8] = std::numeric_limits<float>::denorm_min();
  for (const float trim : {-30.0F, -7.3F, 13.0F, 30.0F, 20.1F}) {
    Bundle dry;
    dry.control[kOn] = 0.0F;
    dry.play(Floats(256));
    dry.control[kTrim] = trim;
    CHECK(dry.play(in) == in);
  }
  Bundle plain, hot;
  hot.control[kTrim] = 20.0F;
  Floats expected = plain.play(noise(4096, 0.05F));
  for (float& sample : expected) sample *= 10.0F;
  CHECK(isClose(hot.play(noise(4096, 0.5F)), expected));

  // From the level of the last block to the new one within this block, no step at its start.
  Bundle still, moved;
  const Floats steady(256, 0.2F);
  for (Bundle* bundle : {&still, &moved}) bundle->play(steady);
  moved.control[kTrim] = -6.0F;
  const Floats a = still.play(steady), b = moved.play(steady);
  CHECK(a[0] == b[0]);
  CHECK(a[255] != b[255]);
}

TEST_CASE("activate forgets what was heard; no number in a port does lasting harm") {
  const Floats in = noise(2048, 0.3F);
  Bundle bundle;
  const Floats first = bundle.play(in);
  bundle.play(Floats{NAN, INFINITY, -INFINITY, 3e38F});
  for (const float bad : {NAN, -1e30F, 1e30F}) {
    for (std::uint32_t port = kOn; port <= kTrim; ++port) bundle.control[port] = bad;
    bundle.play(in);
  }
  Bundle other;
  for (Bundle* each : {&bundle, &other}) {
    std::copy_n(kDefaults, 6, each->control);
    each->play(Floats(480000));  // the loudest float there is has died away
  }
  CHECK(isClose(bundle.play(in), other.play(in)));

  bundle.descriptor->activate(bundle.handle);
  CHECK(bundle.play(in) == first);
}

#ifdef BRUMBLER_WATCH_LIBRARY
TEST_CASE("run makes no system call") {
  Bundle bundle(64);
  Floats in = noise(1000, 0.3F), out(1000);
  bundle.descriptor->connect_port(bundle.handle, 0, in.data());
  bundle.descriptor->connect_port(bundle.handle, 1, out.data());
  CHECK(makesNoSystemCall([&] {
    for (int i = 0; i < 100; ++i) {
      bundle.control[kOn] = i % 3 == 0 ? 0.0F : 1.0F;
      for (std::uint32_t port = kVolume; port <= kTrim; ++port) bundle.control[port] = static_cast<float>(i % 11);
      bundle.descriptor->run(bundle.handle, static_cast<std::uint32_t>(i * 10));
    }
  }));
}
#endif

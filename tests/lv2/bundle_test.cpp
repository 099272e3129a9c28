// SPDX-License-Identifier: MIT
// Plays the bundle's shared object as an LV2 host does, and compares it with the effect played through its own
// interface.
#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include <doctest/doctest.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "catalog/catalog.h"
#include "lv2/BlockLength.h"
#include "tests/DynamicLibrary.h"
#include "tests/Player.h"
#ifdef BRUMBLER_WATCH_LIBRARY
#include "tests/SystemCalls.h"
#endif

namespace {

using Floats = std::vector<float>;
enum Control : std::uint32_t { kOn, kVolume, kFuzz, kTrim, kNumControls };
constexpr const char* kUris[] = {"urn:brumbler:fuzz", "urn:brumbler:fuzz:stereo"};

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
  return std::string(uri) == LV2_ATOM__Int                      ? 1
         : std::string(uri) == LV2_BUF_SIZE__maxBlockLength     ? 2
         : std::string(uri) == LV2_BUF_SIZE__nominalBlockLength ? 3
                                                                : 4;
}

// One instance at 48000 Hz, its controls at their defaults. `announced` is the longest block; with 0 it is not
// announced.
struct Bundle {
  explicit Bundle(std::int32_t announced = 0, std::uint32_t channelCount = 1) : channels(channelCount) {
    static const DynamicLibrary library(BRUMBLER_LV2_BINARY);
    descriptor = library.function<LV2_Descriptor_Function>("lv2_descriptor")(channels - 1);
    REQUIRE(descriptor->URI == std::string(kUris[channels - 1]));
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, 2, sizeof announced, 1, &announced}, {}};
    const LV2_Feature mapFeature{LV2_URID__map, &map};
    const LV2_Feature optionsFeature{LV2_OPTIONS__options, options};
    const LV2_Feature* const features[] = {&mapFeature, announced > 0 ? &optionsFeature : nullptr, nullptr};
    handle = descriptor->instantiate(descriptor, 48000.0, "", features);
    REQUIRE(handle != nullptr);
    for (std::uint32_t i = 0; i < kNumControls; ++i) {
      descriptor->connect_port(handle, 2 * channels + i, &control[i]);
    }
    for (std::uint32_t i = 0; i < 2; ++i) {
      descriptor->connect_port(handle, 2 * channels + kNumControls + i, &level[i]);
    }
    descriptor->activate(handle);
  }
  ~Bundle() { descriptor->cleanup(handle); }

  void connect(std::uint32_t channel, float* in, float* out) const {
    descriptor->connect_port(handle, channel, in);
    descriptor->connect_port(handle, channels + channel, out);
  }

  // In place, in blocks of the given lengths over and over.
  Floats play(Floats sound, const std::vector<std::size_t>& blocks = {256}) {
    std::size_t turn = 0;
    for (std::size_t begin = 0; begin < sound.size(); ++turn) {
      const std::size_t length = std::min(blocks[turn % blocks.size()], sound.size() - begin);
      connect(0, &sound[begin], &sound[begin]);
      descriptor->run(handle, static_cast<std::uint32_t>(length));
      begin += length;
    }
    return sound;
  }

  std::uint32_t channels;
  const LV2_Descriptor* descriptor;
  LV2_Handle handle;
  float control[kNumControls] = {1.0F, 5.0F, 5.0F, 0.0F};
  float level[2] = {-1.0F, -1.0F};  // in, out
};

Floats noise(std::size_t length, float peak, unsigned seed = 1) {
  std::minstd_rand random(seed);
  Floats sound(length);
  for (float& sample : sound) sample = peak * std::uniform_real_distribution<float>(-1.0F, 1.0F)(random);
  return sound;
}

}  // namespace

TEST_CASE("with trim 0 the bundle is the effect, to the float, whatever the blocks") {
  constexpr std::size_t kPart = 5120;  // on, off, on
  const Floats in = noise(3 * kPart, 0.3F);
  const auto onAt = [](std::size_t sample) { return sample / kPart == 1 ? 0.0F : 1.0F; };
  Player player(48000);
  player.set(1, 0.7F);
  player.set(2, 0.2F);
  player.play(Samples{});
  Samples expected(in.begin(), in.end());
  for (std::size_t begin = 0; begin < in.size(); begin += 256) {
    player.set(0, onAt(begin));
    player.play(&expected[begin], &expected[begin], 256);
  }
  using Blocks = std::vector<std::size_t>;
  for (const auto& [announced, blocks] : {std::pair{64, Blocks{2560}}, {4, {1}}, {512, {0, 500, 12}}, {0, {100000}}}) {
    Bundle bundle(announced);
    bundle.control[kVolume] = 7.0F;
    bundle.control[kFuzz] = 2.0F;
    Floats out;
    for (std::size_t begin = 0; begin < in.size(); begin += kPart) {
      bundle.control[kOn] = onAt(begin);
      const Floats part = bundle.play(Floats(in.data() + begin, in.data() + begin + kPart), blocks);
      out.insert(out.end(), part.begin(), part.end());
    }
    CHECK(out == Floats(expected.begin(), expected.end()));
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
    CHECK(dry.play({NAN, -INFINITY, 0.5F}) == Floats{0.0F, 0.0F, 0.5F});
  }
  // From the old level to the new one within a block, on the way in and on the way out: the first sample still has the
  // old level, the last has the new.
  Bundle bundle;
  Player player(48000);
  player.play(Samples{});
  double gain = 1.0;
  for (const float trim : {0.0F, 20.0F, 14.0F, 14.0F}) {
    bundle.control[kTrim] = trim;
    const double from = gain, step = (std::pow(10.0, trim / 20.0) - from) / 255.0;
    const auto gainAt = [&](std::size_t i) { return from + static_cast<double>(i) * step; };
    Floats expected = noise(256, 0.5F);
    Samples block(expected.begin(), expected.end());
    for (std::size_t i = 0; i < block.size(); ++i) block[i] /= gainAt(i);
    block = player.play(block);
    for (std::size_t i = 0; i < block.size(); ++i) expected[i] = static_cast<float>(block[i] * gainAt(i));
    gain = gainAt(255);
    CHECK(bundle.play(noise(256, 0.5F)) == expected);
  }
}

TEST_CASE("two channels are two bundles with one set of controls, though the host crosses their buffers") {
  Bundle stereo(64, 2), left(64), right(64);
  for (std::uint32_t block = 0; block < 40; ++block) {
    const std::size_t length = block % 3 == 0 ? 200 : 33;
    Floats a = noise(length, 0.3F), b = noise(length, 0.5F, 2);
    for (Bundle* each : {&stereo, &left, &right}) {
      each->control[kOn] = block % 20 < 15 ? 1.0F : 0.0F;
      for (std::uint32_t i = kVolume; i <= kTrim; ++i) each->control[i] = static_cast<float>((block / 5 + i) % 11);
      if (block == 30) each->descriptor->activate(each->handle);
    }
    const Floats expectedLeft = left.play(a, {length}), expectedRight = right.play(b, {length});
    stereo.connect(0, a.data(), b.data());
    stereo.connect(1, b.data(), a.data());
    stereo.descriptor->run(stereo.handle, static_cast<std::uint32_t>(length));
    CHECK(b == expectedLeft);
    CHECK(a == expectedRight);
  }
}

TEST_CASE("the block length is the longest that the host announces, else its usual one") {
  const struct {
    std::int32_t longest, usual, expected;
  } rows[] = {{64, 32, 64}, {0, 32, 32}, {0, 0, BlockLength::kUnannounced}, {1 << 20, 32, BlockLength::kMost}};
  for (const auto& row : rows) {
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Options_Option options[] = {{LV2_OPTIONS_INSTANCE, 0, 3, sizeof row.usual, 1, &row.usual},
                                    {LV2_OPTIONS_INSTANCE, 0, 2, sizeof row.longest, 1, &row.longest},
                                    {}};
    const LV2_Feature mapFeature{LV2_URID__map, &map}, optionsFeature{LV2_OPTIONS__options, options};
    const LV2_Feature* const features[] = {&mapFeature, &optionsFeature, nullptr};
    CHECK(BlockLength::announced(features) == row.expected);
  }
}

TEST_CASE("the meters hold the peak of the louder channel, let it fall, and stay from 0 to 1") {
  Bundle bundle(64, 2);
  bundle.control[kOn] = 0.0F;
  Floats left(1001), right(1001), other(1001);
  const auto run = [&](float first, float last, bool inPlace = true) {
    left.assign(left.size(), 0.0F);
    right.assign(right.size(), 0.0F);
    left.front() = first;
    right.back() = last;
    bundle.connect(0, left.data(), right.data());  // crossed
    bundle.connect(1, right.data(), inPlace ? left.data() : other.data());
    bundle.descriptor->run(bundle.handle, static_cast<std::uint32_t>(left.size()));
    return Floats(bundle.level, bundle.level + 2);
  };
  run(0.0F, 0.0F);
  CHECK(run(0.0F, 0.0F) == Floats{0.0F, 0.0F});
  CHECK(run(0.25F, -0.5F) == Floats{0.5F, 0.5F});
  CHECK(run(-0.75F, 0.5F) == Floats{0.75F, 0.75F});
  const Floats fallen = run(NAN, 0.0F);
  CHECK((fallen[0] > 0.65F && fallen[0] < 0.75F && fallen[1] == fallen[0]));
  CHECK(run(INFINITY, 0.0F)[0] == 1.0F);
  CHECK(run(7.0F, 0.0F) == Floats{1.0F, 1.0F});
  for (int i = 0; i < 400; ++i) run(0.0F, 0.0F);
  CHECK(run(0.0F, 0.0F) == Floats{0.0F, 0.0F});
  bundle.control[kOn] = 1.0F;
  run(0.5F, 0.5F, false);
  const Floats fuzzed = run(0.5F, 0.5F, false);
  CHECK((fuzzed[0] == 0.5F && fuzzed[1] > 0.0F && fuzzed[1] != 0.5F));
}

TEST_CASE("activate forgets what was heard; no number in a port does lasting harm") {
  const Floats in = noise(2048, 0.3F);
  Bundle bundle;
  const Floats first = bundle.play(in);
  Bundle unconnected;  // its controls have their defaults
  for (std::uint32_t i = 0; i < kNumControls; ++i)
    unconnected.descriptor->connect_port(unconnected.handle, 2 + i, nullptr);
  CHECK(unconnected.play(in) == first);
  bundle.play(Floats{NAN, INFINITY, -INFINITY, 3e38F});
  for (const float bad : {NAN, -1e30F, 1e30F}) {
    for (float& control : bundle.control) control = bad;
    bundle.play(in);
  }
  Bundle off;
  off.control[kOn] = NAN;  // as any number that is not above 0
  off.play(Floats(1000));
  CHECK(off.play(in) == in);
  std::copy_n(Bundle().control, kNumControls, bundle.control);
  bundle.play(Floats(480000));  // the loudest float there is has died away
  CHECK(bundle.play(in)[2047] == doctest::Approx(first[2047]).epsilon(1e-4));
  bundle.descriptor->activate(bundle.handle);
  CHECK(bundle.play(in) == first);
}

#ifdef BRUMBLER_WATCH_LIBRARY
TEST_CASE("run makes no system call") {
  Bundle bundle(64, 2);
  Floats in = noise(1000, 0.3F), out(1000);
  for (const std::uint32_t channel : {0U, 1U}) bundle.connect(channel, in.data(), out.data());
  CHECK(makesNoSystemCall([&] {
    for (int i = 0; i < 100; ++i) {
      bundle.control[kOn] = i % 3 == 0 ? 0.0F : 1.0F;
      for (std::uint32_t c = kVolume; c <= kTrim; ++c) bundle.control[c] = static_cast<float>(i % 11);
      bundle.descriptor->run(bundle.handle, static_cast<std::uint32_t>(i * 10));
    }
  }));
}
#endif

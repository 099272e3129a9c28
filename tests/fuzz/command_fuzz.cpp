// SPDX-License-Identifier: MIT
// The files that the command is given: automation, bank, sound. Any bytes give a result or a Failure that says why.
// Input: a letter, 'a', 'b' or 's', and the file.
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "cli/audio/AudioReader.h"
#include "cli/effect/Automation.h"
#include "cli/effect/Bank.h"
#include "cli/effect/EffectModule.h"
#include "cli/text/Failure.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

constexpr int kRate = 48000;

// The path of a file that lies nowhere but in memory; the next call overwrites it.
std::string memoryFile(const void* bytes, std::size_t size) {
  static const int descriptor = memfd_create("input", MFD_CLOEXEC);
  const bool written =
      ftruncate(descriptor, 0) == 0 && pwrite(descriptor, bytes, size, 0) == static_cast<ssize_t>(size);
  require(written, "a file can be made");
  return "/proc/self/fd/" + std::to_string(descriptor);
}

void automate(const std::string& path, EffectPlayer& player, std::optional<std::int64_t> frames) {
  const AutomationTrack track = Automation(path, player.effect(0)).trackFor(frames, 44100, kRate);
  std::int64_t position = 0;
  for (int block = 0; block < 100 && position < 1000000; ++block) {
    const std::int64_t next = track.nextCut(position);
    require(next > position, "every block has samples");
    track.apply(player, position, next);
    position = next;
  }
}

void keep(const std::string& path, HostedEffect& effect) {
  Bank(path, effect).restore(effect);
  const std::string text = Bank(effect).text();
  Bank(memoryFile(text.data(), text.size()), effect).restore(effect);
  require(Bank(effect).text() == text, "a bank that is written and read is the same");
}

void listen(const std::string& path) {
  AudioReader reader(path, std::nullopt);
  const int channels = reader.format().channels;
  require(channels > 0 && reader.format().rate > 0, "a sound has channels and a rate");
  reader.metadata();
  std::vector<double> samples(64 * static_cast<std::size_t>(channels));
  for (int blocks = 0; blocks < 100; ++blocks) {
    const int frames = reader.read(samples.data(), 64);
    require(frames >= 0 && frames <= 64, "a read gives what was asked for at most");
    for (int i = 0; i < frames * channels; ++i) {
      require(std::isfinite(samples[static_cast<std::size_t>(i)]), "samples are numbers");
    }
    if (frames < 64) break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const EffectModule module("");
  static const auto player = module.createPlayer(kRate, 64, 2);
  HostedEffect& effect = player->effect(0);
  if (size == 0) return 0;
  const std::string path = memoryFile(data + 1, size - 1);
  try {
    if (data[0] == 'a') automate(path, *player, 10000);
    if (data[0] == 'a') automate(path, *player, std::nullopt);
    if (data[0] == 'b') keep(path, effect);
    if (data[0] == 's') listen(path);
  } catch (const Failure& failure) {
    require(std::strlen(failure.what()) > 20, "a failure says what is wrong");
  }
  return 0;
}

// SPDX-License-Identifier: MIT
// In the executable brumbler, which is not linked with libjack and ncurses.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <vector>

#include "cli/commands/Commands.h"
#include "cli/effect/EffectModule.h"
#include "cli/text/Failure.h"

void playLive(const EffectModule& /*module*/, const LiveSettings& /*settings*/) {
  const std::string program = findBeside("brumbler-live");
  // Otherwise the loader would end the program with its own message.
  for (const char* const library : {"libjack.so.0", "libncursesw.so.6"}) {
    if (dlopen(library, RTLD_LAZY | RTLD_LOCAL) != nullptr) continue;
    throw Failure(std::string("brumbler live needs ") + library +
                  ", which is not installed; on Debian: apt install libjack-jackd2-0 libncursesw6");
  }
  std::vector<std::string> words;
  std::ifstream line("/proc/self/cmdline");
  for (std::string word; std::getline(line, word, '\0');) words.push_back(word);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execv(program.c_str(), arguments.data());
  throw Failure(program + ": cannot be started (" + systemError(errno) + "); install it again");
}

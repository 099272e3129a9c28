// SPDX-License-Identifier: MIT
#include "cli/files/unfinished.h"

#include <unistd.h>

#include <array>
#include <atomic>

namespace {

std::array<std::atomic<const char*>, 256> paths{};

}  // namespace

int registerUnfinished(const char* path) noexcept {
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const char* empty = nullptr;
    if (paths[i].compare_exchange_strong(empty, path)) return static_cast<int>(i);
  }
  return -1;
}

void releaseUnfinished(int slot) noexcept {
  if (slot >= 0) paths[static_cast<std::size_t>(slot)] = nullptr;
}

void removeUnfinished() noexcept {
  for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
    if (const char* const name = path->load(); name != nullptr && unlink(name) != 0) rmdir(name);
  }
}

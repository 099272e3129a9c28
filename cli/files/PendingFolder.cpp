// SPDX-License-Identifier: MIT
#include "cli/files/PendingFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "cli/files/unfinished.h"
#include "cli/text/Failure.h"

namespace fs = std::filesystem;

PendingFolder::PendingFolder(const std::string& path) {
  std::error_code error;
  fs::path missing = fs::path(path).lexically_normal();
  if (!missing.has_filename()) missing = missing.parent_path();
  for (; !missing.empty() && !fs::exists(missing, error); missing = missing.parent_path()) {
    made_.push_front({missing.string(), -1});
  }
  int reason = 0;
  for (Made& folder : made_) {
    folder.slot = registerUnfinished(folder.path.c_str());
    if (mkdir(folder.path.c_str(), 0777) != 0) reason = errno;
  }
  if (fs::is_directory(path, error)) return;
  removeEmpty();
  throw Failure(path + ": " + (reason == 0 ? "is not a folder" : "cannot be made (" + systemError(reason) + ")") +
                "; choose another folder");
}

void PendingFolder::removeEmpty() noexcept {
  for (; !made_.empty(); made_.pop_back()) {
    rmdir(made_.back().path.c_str());  // refused when there is something in it
    releaseUnfinished(made_.back().slot);
  }
}

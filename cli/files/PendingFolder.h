// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>

// A folder that is made, with those above it, unless it is there. Those that are still empty when the object goes, or
// when a signal ends the process after PendingFile::installSignalCleanup(), are taken away again.
class PendingFolder {
 public:
  // Throws Failure when there is no such folder and none can be made.
  explicit PendingFolder(const std::string& path);
  PendingFolder(const PendingFolder&) = delete;
  PendingFolder& operator=(const PendingFolder&) = delete;
  ~PendingFolder() { removeEmpty(); }

 private:
  struct Made {
    std::string path;
    int slot;  // as unfinished
  };
  void removeEmpty() noexcept;

  std::deque<Made> made_;  // from the outermost to the innermost
};

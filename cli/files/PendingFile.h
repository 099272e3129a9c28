// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// A file that appears complete or not at all. It is written without a name, in the folder of the final one, and
// commit() gives it its name. If the object is destroyed before that, or a signal ends the process, nothing is left
// behind. File systems that cannot hold nameless files get one under a temporary name beside the final one; then
// SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE remove it, after installSignalCleanup(), and SIGKILL does not.
class PendingFile {
 public:
  // Throws Failure if commit() could not write `path`: it exists and `replace` is false, it is no regular file, its
  // name is too long, or its folder cannot be written. A symbolic link to a file is followed.
  static void check(const std::string& path, bool replace);

  // Throws Failure as check() does.
  PendingFile(const std::string& path, bool replace);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  int descriptor() const noexcept { return descriptor_; }

  // Appends `text`. Throws Failure if the disk is full.
  void write(const std::string& text);

  // Writes the file to the disk and gives it its name; a file that it replaces passes on its permissions. Throws
  // Failure, leaving nothing new, if the system refuses or, without `replace`, the name has been taken meanwhile.
  void commit();

  // Call once, before threads start. From then on a write beyond the file size limit fails like one to a full disk.
  static void installSignalCleanup();

 private:
  void open();

  std::string path_;
  bool replace_;
  bool nameless_ = false;
  std::string temporaryPath_;
  int descriptor_ = -1;
  int slot_ = -1;
};

// Renames a file, over another only with `replace`. False, with errno set, if that fails.
bool renameFile(const std::string& from, const std::string& to, bool replace) noexcept;

// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// A file that comes into being whole or not at all: it is written without a name, in the folder of the final one, and
// gets its name when commit() is called. If the object goes before that, or the process is ended by whatever signal,
// nothing stays. On file systems that know only files with names it is written under one of its own beside the final
// one; then SIGINT, SIGTERM, SIGHUP, SIGQUIT and SIGPIPE clean up, after installSignalCleanup(), SIGKILL does not.
class PendingFile {
 public:
  // Throws Failure when `path` exists and `replace` is false, is no regular file, or its folder cannot be written.
  // A symbolic link is followed.
  PendingFile(const std::string& path, bool replace);
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  int descriptor() const noexcept { return descriptor_; }

  // Appends `text`. Throws Failure when not all of it finds room.
  void write(const std::string& text);

  // Gives the file its name. Throws Failure, leaving nothing new, when the system refuses or, without `replace`,
  // someone else has taken the name meanwhile.
  void commit();

  // Call once, before threads start. A write beyond the file size limit fails from then on, like one to a full disk.
  static void installSignalCleanup();

 private:
  void open();

  std::string path_;
  bool replace_;
  bool existed_ = false;
  bool nameless_ = false;
  std::string temporaryPath_;
  int descriptor_ = -1;
  int slot_ = -1;
};

// SPDX-License-Identifier: MIT
#include "cli/files/PendingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>

#include "cli/files/unfinished.h"
#include "cli/text/Failure.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kOpenFiles = "/proc/self/fd";

extern "C" void cleanUp(int signal) {
  removeUnfinished();
  raise(signal);  // the handler was installed for one shot: this ends the process as the signal would have
}

}  // namespace

void PendingFile::installSignalCleanup() {
  signal(SIGXFSZ, SIG_IGN);  // a file over the size limit is an error of the write, not the end of the process
  for (const int stop : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    struct sigaction action = {};
    if (sigaction(stop, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;  // nohup and the like
    action = {};
    action.sa_handler = cleanUp;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(stop, &action, nullptr);
  }
}

PendingFile::PendingFile(const std::string& path, bool replace) : path_(path), replace_(replace) {
  std::error_code error;
  if (fs::is_symlink(path, error) && fs::exists(path, error)) path_ = fs::canonical(path, error).string();
  existed_ = fs::exists(path_, error);
  if (existed_ && fs::is_directory(path_, error)) {
    throw Failure(path + ": is a folder; name a file in it, or use --out-dir");
  }
  if (existed_ && !fs::is_regular_file(path_, error)) {
    throw Failure(path + ": is not an ordinary file; name one, or write to standard output with -");
  }
  if (existed_ && !replace) throw Failure(path + ": exists already; add --force to replace it, or choose another name");
  open();
}

// Without a name where the file system can do that: then nothing stays behind however the process ends. Else, and for
// the moment between the two steps of commit(), under a name of its own beside the final one.
void PendingFile::open() {
  static std::atomic<int> count{0};
  const fs::path target(path_);
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  std::error_code error;
  if (fs::exists(kOpenFiles, error)) descriptor_ = ::open(folder.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0666);
  nameless_ = descriptor_ >= 0;
  do {
    std::string name(1, '.');
    name.append(target.filename().string(), 0, 200);
    name.append(".unfinished-").append(std::to_string(getpid())).append("-").append(std::to_string(++count));
    temporaryPath_ = (target.parent_path() / name).string();
    slot_ = registerUnfinished(temporaryPath_.c_str());
    if (nameless_) return;
    descriptor_ = ::open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return;
    const int reason = errno;
    releaseUnfinished(slot_);
    if (reason != EEXIST) {
      throw Failure(path_ + ": cannot be written (" + systemError(reason) + "); check the folder and its permissions");
    }
  } while (true);
}

PendingFile::~PendingFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
    unlink(temporaryPath_.c_str());
  }
  releaseUnfinished(slot_);
}

void PendingFile::write(const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = ::write(descriptor_, text.data() + done, text.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      throw Failure(path_ + ": cannot be written (" + systemError(errno) + "); make room, or choose another place");
    }
    done += static_cast<std::size_t>(written);
  }
}

void PendingFile::commit() {
  // A file that was there is only given up for one that is safely on the disk.
  const bool synced = !existed_ || fsync(descriptor_) == 0;
  const std::string self = std::string(kOpenFiles) + "/" + std::to_string(descriptor_);
  const bool linked =
      !nameless_ || linkat(AT_FDCWD, self.c_str(), AT_FDCWD, temporaryPath_.c_str(), AT_SYMLINK_FOLLOW) == 0;
  const bool closed = close(descriptor_) == 0;
  descriptor_ = -1;
  bool named = false;
  if (synced && linked && closed) {
    const unsigned flags = replace_ ? 0U : RENAME_NOREPLACE;
    named = renameat2(AT_FDCWD, temporaryPath_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0;
    if (!named && errno == EINVAL)
      named = std::rename(temporaryPath_.c_str(), path_.c_str()) == 0;  // no such flag here
  }
  if (named) return;
  const int reason = errno;
  unlink(temporaryPath_.c_str());
  throw Failure(path_ + ": cannot be finished (" + systemError(reason) + ")" +
                (reason == EEXIST ? "; add --force to replace it" : "; check the disk"));
}

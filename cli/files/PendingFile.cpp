// SPDX-License-Identifier: MIT
#include "cli/files/PendingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>

#include "cli/text/Failure.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kOpenFiles = "/proc/self/fd";

// Temporary names, for the signal handler. It does not remove files that got no slot.
std::array<std::atomic<const char*>, 256> temporaryPaths{};

int registerPath(const char* path) noexcept {
  for (std::size_t i = 0; i < temporaryPaths.size(); ++i) {
    const char* empty = nullptr;
    if (temporaryPaths[i].compare_exchange_strong(empty, path)) return static_cast<int>(i);
  }
  return -1;
}

void releasePath(int slot) noexcept {
  if (slot >= 0) temporaryPaths[static_cast<std::size_t>(slot)] = nullptr;
}

extern "C" void cleanUp(int signal) {
  for (const auto& path : temporaryPaths) {
    if (const char* const name = path.load(); name != nullptr) unlink(name);
  }
  raise(signal);  // the handler was installed for one shot: this ends the process as the signal would have
}

std::string folderOf(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  return folder.empty() ? "." : folder.string();
}

// The target of a link; the path itself if it is not a link.
std::string resolved(const std::string& path) {
  std::error_code error;
  return fs::is_symlink(path, error) ? fs::canonical(path, error).string() : path;
}

}  // namespace

bool renameFile(const std::string& from, const std::string& to, bool replace) noexcept {
  const unsigned flags = replace ? 0U : RENAME_NOREPLACE;
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) == 0) return true;
  return errno == EINVAL && std::rename(from.c_str(), to.c_str()) == 0;  // a file system without that flag
}

void PendingFile::installSignalCleanup() {
  signal(SIGXFSZ, SIG_IGN);  // beyond the file size limit a write fails instead of ending the process
  for (const int stop : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    struct sigaction action = {};
    if (sigaction(stop, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;  // nohup and the like
    action = {};
    action.sa_handler = cleanUp;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(stop, &action, nullptr);
  }
}

void PendingFile::check(const std::string& path, bool replace) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) throw Failure(path + ": is a folder; name a file in it, or use --out-dir");
    if (!S_ISREG(status.st_mode)) {
      throw Failure(path + ": is not an ordinary file; name one, or write to standard output with -");
    }
    if (!replace) throw Failure(path + ": exists already; add --force to replace it, or choose another name");
  } else if (errno == ENAMETOOLONG) {
    throw Failure(path + ": the name is too long; choose a shorter one");
  } else if (lstat(path.c_str(), &status) == 0) {
    throw Failure(path + ": is a link to a file that does not exist; remove the link, or choose another name");
  }
  const std::string folder = folderOf(resolved(path));
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    throw Failure(path + ": cannot be written (" + systemError(errno) + "); check the folder and its permissions");
  }
}

PendingFile::PendingFile(const std::string& path, bool replace) : path_(resolved(path)), replace_(replace) {
  check(path, replace);
  open();
}

// With a name only where it must be, and for the moment between the two steps of commit().
void PendingFile::open() {
  static std::atomic<int> count{0};
  const fs::path target(path_);
  std::error_code error;
  if (fs::exists(kOpenFiles, error)) {
    descriptor_ = ::open(folderOf(path_).c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0666);
  }
  nameless_ = descriptor_ >= 0;
  do {
    std::string name(1, '.');
    name.append(target.filename().string(), 0, 200);
    name.append(".unfinished-").append(std::to_string(getpid())).append("-").append(std::to_string(++count));
    temporaryPath_ = (target.parent_path() / name).string();
    slot_ = registerPath(temporaryPath_.c_str());
    if (nameless_) return;
    descriptor_ = ::open(temporaryPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return;
    const int reason = errno;
    releasePath(slot_);
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
  releasePath(slot_);
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
  struct stat old = {};
  if (replace_ && stat(path_.c_str(), &old) == 0) {
    // Owner and group are kept if this user may give the file away; the permissions are kept in any case.
    [[maybe_unused]] const int given = fchown(descriptor_, old.st_uid, old.st_gid);
    fchmod(descriptor_, old.st_mode & 07777U);
  }
  const bool synced = fsync(descriptor_) == 0;
  const std::string self = std::string(kOpenFiles) + "/" + std::to_string(descriptor_);
  const bool linked =
      !nameless_ || linkat(AT_FDCWD, self.c_str(), AT_FDCWD, temporaryPath_.c_str(), AT_SYMLINK_FOLLOW) == 0;
  const bool closed = close(descriptor_) == 0;
  descriptor_ = -1;
  if (synced && linked && closed && renameFile(temporaryPath_, path_, replace_)) return;
  const int reason = errno;
  unlink(temporaryPath_.c_str());
  throw Failure(path_ + ": cannot be finished (" + systemError(reason) + ")" +
                (reason == EEXIST ? "; add --force to replace it" : "; check the disk"));
}

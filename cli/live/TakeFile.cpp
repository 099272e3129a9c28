// SPDX-License-Identifier: MIT
#include "cli/live/TakeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <vector>

#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"

namespace fs = std::filesystem;

void TakeFile::check(const std::string& path, bool replace) {
  const fs::path target(path);
  if (target.extension() != ".wav") throw Failure(path + ": a take is a WAV file; give it a name in .wav");
  std::error_code error;
  if (fs::exists(target, error) && !(replace && fs::is_regular_file(target, error))) {
    throw Failure(path + ": exists already; " + (replace ? "it is no file" : "add --force to replace it") +
                  ", or choose another name");
  }
}

TakeFile::TakeFile(const std::string& path, int rate, int channels, bool replace)
    : path_(path), replace_(replace), channels_(channels) {
  check(path, replace);
  const fs::path target(path);
  for (int number = 1; descriptor_ < 0; ++number) {
    std::string ending = ".unfinished";
    if (number > 1) ending.append("-").append(std::to_string(number));
    unfinishedPath_ = fs::path(target).replace_extension(ending.append(".wav")).string();
    descriptor_ = ::open(unfinishedPath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno != EEXIST) {
      throw Failure(path + ": cannot be written (" + systemError(errno) + "); check the folder and its permissions");
    }
  }
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = channels;
  info.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
  file_.reset(sf_open_fd(descriptor_, SFM_WRITE, &info, SF_FALSE));
  if (file_ == nullptr) {
    close(descriptor_);
    unlink(unfinishedPath_.c_str());
    throw Failure(path + ": cannot be written (" + sf_strerror(nullptr) + "); choose another place");
  }
  sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
  sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
}

TakeFile::~TakeFile() {
  file_.reset();
  if (descriptor_ >= 0) close(descriptor_);
}

void TakeFile::write(const float* samples, std::int64_t frames) {
  if (sf_writef_float(file_.get(), samples, frames) == frames) return;
  throw Failure(path_ + ": cannot be written any further (" + sf_strerror(file_.get()) +
                "); make room. What was played so far is in " + unfinishedPath_);
}

void TakeFile::writeSilence(std::int64_t frames) {
  constexpr std::int64_t kPiece = 4096;
  const std::vector<float> silence(static_cast<std::size_t>(kPiece * channels_));
  for (; frames > 0; frames -= kPiece) write(silence.data(), std::min(frames, kPiece));
}

bool TakeFile::isInPlace() const {
  struct stat own = {};
  struct stat named = {};
  return fstat(descriptor_, &own) == 0 && stat(unfinishedPath_.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
         own.st_ino == named.st_ino;
}

void TakeFile::finish() {
  const int result = sf_close(file_.release());
  const bool synced = fsync(descriptor_) == 0;  // replace an old file only by one that is on the disk
  const bool closed = close(descriptor_) == 0;
  descriptor_ = -1;
  if (result == SF_ERR_NO_ERROR && synced && closed && renameFile(unfinishedPath_, path_, replace_)) return;
  throw Failure(path_ + ": cannot be finished (" + systemError(errno) + "); the take is in " + unfinishedPath_);
}

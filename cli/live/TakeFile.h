// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

// A recording in progress: 32-bit floats in a WAV file (RF64 from 4 GiB up). Until finish() the file is called
// NAME.unfinished.wav, in the final folder, and can be read at any time up to the last write, so what was written
// survives however the process ends. Such a file is never overwritten; the next one is NAME.unfinished-2.wav.
class TakeFile {
 public:
  // Throws Failure unless `path` ends in .wav and either does not exist or, with `replace`, is a regular file.
  static void check(const std::string& path, bool replace);

  // `rate` in Hz. Throws Failure as check() does, or when the file cannot be written.
  TakeFile(const std::string& path, int rate, int channels, bool replace);
  TakeFile(const TakeFile&) = delete;
  TakeFile& operator=(const TakeFile&) = delete;
  ~TakeFile();  // without finish() the unfinished file stays

  // `frames` interleaved frames, then a header that counts them. Throws Failure when they find no room.
  void write(const float* samples, std::int64_t frames);
  void writeSilence(std::int64_t frames);

  // Whether the unfinished file is still under its name: false when it or its folder was removed or renamed.
  bool isInPlace() const;

  // Completes the file and gives it its name. Throws Failure, leaving the unfinished file, if the system refuses or,
  // without `replace`, the name has been taken in the meantime.
  void finish();

  const std::string& path() const noexcept { return path_; }
  const std::string& unfinishedPath() const noexcept { return unfinishedPath_; }

 private:
  struct Close {
    void operator()(SNDFILE* file) const noexcept { sf_close(file); }
  };

  std::string path_;
  bool replace_;
  int channels_;
  std::string unfinishedPath_;
  int descriptor_ = -1;
  std::unique_ptr<SNDFILE, Close> file_;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/audio/AudioFormat.h"
#include "cli/audio/Metadata.h"

// A sound file, or a stream on standard input, as interleaved doubles; full scale is -1 to 1.
class AudioReader {
 public:
  // `path` "-" stands for standard input. `raw` describes the samples of input that has no header. Throws Failure when
  // it is missing, unreadable or of no known format.
  AudioReader(const std::string& path, const std::optional<AudioFormat>& raw);

  // For messages: the path, or "standard input".
  const std::string& name() const noexcept { return name_; }

  const AudioFormat& format() const noexcept { return format_; }

  // Frames (one sample of each channel) in all, as the header tells; nothing when it does not, as in a stream.
  const std::optional<std::int64_t>& frames() const noexcept { return frames_; }

  // True when the same path can be opened and read again.
  bool isRereadable() const noexcept { return rereadable_; }

  // Reads up to `count` frames and answers how many; fewer only at the end. Throws Failure when the sound breaks off
  // before the header's length, is damaged, or holds a value that is not a number.
  int read(double* samples, int count);

  // What the file says beside its sound.
  Metadata metadata() const;

 private:
  struct Close {
    void operator()(SNDFILE* file) const noexcept { sf_close(file); }
  };

  std::string name_;
  SF_INFO info_ = {};
  AudioFormat format_;
  std::optional<std::int64_t> frames_;
  bool rereadable_ = false;
  std::int64_t framesRead_ = 0;
  std::vector<short> shorts_;
  std::unique_ptr<SNDFILE, Close> file_;
};

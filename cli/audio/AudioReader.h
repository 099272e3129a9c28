// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/audio/AudioFormat.h"
#include "cli/metadata/Metadata.h"
#include "cli/metadata/channelLayout.h"

// A sound file, or a stream on standard input, as interleaved doubles; full scale is -1 to 1. The channels are in the
// file's order, those of Ogg files in WAV's.
class AudioReader {
 public:
  // `path` "-" stands for standard input. `raw` describes the samples of input that has no header. Throws Failure if it
  // is missing, unreadable or of an unknown format.
  AudioReader(const std::string& path, const std::optional<AudioFormat>& raw);

  // For messages: the path, or "standard input".
  const std::string& name() const noexcept { return name_; }

  const AudioFormat& format() const noexcept { return format_; }

  // The number of frames (one sample of each channel) from the header; nothing if it has none, as in a stream.
  const std::optional<std::int64_t>& frames() const noexcept { return frames_; }

  // True when the same path can be opened and read again.
  bool isRereadable() const noexcept { return rereadable_; }

  // Reads up to `count` frames and returns how many; fewer only at the end. Throws Failure if the sound ends more than
  // a few samples before the header's length, is damaged, or contains a value that is not a number.
  int read(double* samples, int count);

  // A note for the user after the last read(), for example that the header was wrong. Usually empty.
  const std::string& note() const noexcept { return note_; }

  // Whether a file has its last frame, so that nothing was cut off. Not before or between read().
  bool isWhole();

  // What the file holds besides sound.
  Metadata metadata() const;

 private:
  struct Close {
    void operator()(SNDFILE* file) const noexcept { sf_close(file); }
  };

  // A file whose header was never completed.
  struct Unclosed {
    Unclosed() = default;
    Unclosed(const Unclosed&) = delete;
    Unclosed& operator=(const Unclosed&) = delete;
    ~Unclosed();

    int descriptor = -1;
    std::int64_t size = 0;  // bytes
    std::int64_t at = 0;
  };

  void openUnclosed(const std::string& path, SF_INFO& info, std::int64_t size);

  std::string name_;
  std::string note_;
  SF_INFO info_ = {};
  AudioFormat format_;
  std::optional<std::int64_t> frames_;
  bool rereadable_ = false;
  std::int64_t framesRead_ = 0;
  ChannelOrder order_;
  std::vector<short> shorts_;
  std::unique_ptr<Unclosed> unclosed_;  // what file_ reads from, if not from a file of its own
  std::unique_ptr<SNDFILE, Close> file_;
};

// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/audio/AudioFormat.h"
#include "cli/audio/Dither.h"
#include "cli/files/PendingFile.h"
#include "cli/metadata/Metadata.h"
#include "cli/metadata/channelLayout.h"

// Writes interleaved doubles to a sound file, or as a stream to standard output; full scale is -1 to 1.
//
// Channels are written in the format's speaker order. Their speakers come from the metadata, or else from WAV's order.
//
// For integer formats, each sample is multiplied by 2^(bits-1) and rounded to nearest, so a sample that was read from a
// file of the same format is written back unchanged. Samples out of range are clipped and counted.
class AudioWriter {
 public:
  struct Options {
    bool replace = false;           // an existing file
    bool dithers = true;            // integers of 16 bits and less
    std::optional<double> quality;  // 0 to 1, of Vorbis, Opus and MP3; nothing: the encoder's own choice
  };

  // `path` "-" stands for standard output, where `format` must be WAV, AU or raw in a linear sample format. `frames` is
  // the largest likely length, or nothing. It decides only whether a WAV file must be of the kind for more than 4 GiB
  // (with nothing, finish() decides), and which length a WAV stream's header gives. `metadata` is written to the file
  // as far as the format supports it. Throws Failure as PendingFile does, or if the library cannot write `format`.
  AudioWriter(const std::string& path, const AudioFormat& format, const Options& options,
              std::optional<std::int64_t> frames, const Metadata& metadata = {});

  // Whole frames. Throws Failure when they cannot be written.
  void write(std::span<const double> samples);

  // Completes the file, reads it back, and gives it its name. Throws Failure, leaving no file, when any of that fails.
  // Without this call the file is removed.
  void finish();

  // Lists, for the user, the metadata that the finished file lacks; empty if nothing is missing.
  const std::string& dropped() const noexcept { return dropped_; }

  // Samples so far that were clipped.
  std::int64_t clipped() const noexcept { return clipped_; }
  const AudioFormat& format() const noexcept { return format_; }

 private:
  struct Close {
    void operator()(SNDFILE* file) const noexcept { sf_close(file); }
  };

  static SF_VIRTUAL_IO operations() noexcept;
  void openLibrary(int format, std::optional<double> quality);
  void writeStreamHeader(std::int64_t frames);
  void checkAndCompare(const std::string& path);
  void checkLength(std::int64_t frames) const;
  void writeBytes(const void* bytes, std::size_t count);
  [[noreturn]] void fail(const std::string& reason) const;

  std::string name_;  // for messages
  AudioFormat format_;
  Metadata metadata_;
  ChannelOrder order_;
  std::string dropped_;
  std::optional<PendingFile> pending_;  // none for a stream
  int descriptor_;
  std::int64_t streamed_ = 0;  // bytes, in a stream
  std::int64_t framesWritten_ = 0;
  int writeError_ = 0;  // errno of the first write that failed
  std::int64_t clipped_ = 0;
  std::optional<Dither> dither_;
  std::vector<double> changed_;
  std::vector<int> integers_;
  std::vector<short> shorts_;
  std::unique_ptr<SNDFILE, Close> file_;
};

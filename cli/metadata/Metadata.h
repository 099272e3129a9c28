// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "cli/metadata/Tags.h"
#include "cli/metadata/channelLayout.h"
#include "cli/metadata/chunks.h"

// What a sound file says beside its sound: who is heard, when it was recorded, which channel is which, what is marked.
//
// From WAV to WAV (RF64 too), AIFF to AIFF and CAF to CAF the known chunks go over byte by byte, but for the loudness
// in a Broadcast-WAV's entries, which becomes "not measured". Tags and pictures go over between all formats that have
// them.
class Metadata {
 public:
  Metadata() = default;

  // Of an open file. `path` is where it is; empty for a stream, of which only the layout and some tags are known.
  Metadata(SNDFILE* file, const SF_INFO& info, const std::string& path);

  std::size_t size() const;  // bytes that it adds to a file, at most

  // Of three channels or more; empty when none is told. What is read from Ogg files is in WAV's order, as AudioReader
  // gives their sound.
  const ChannelLayout& layout() const noexcept { return layout_; }
  void setLayout(const ChannelLayout& layout);

  // For a result at another rate: what counts in the recording's samples cannot be kept, but for a Broadcast-WAV's time
  // reference, which is converted.
  void changeRate(int from, int to);

  // This without all but the channel layout.
  Metadata layoutAlone() const;

  // Into a file that was opened for writing, before its first sample.
  void putInto(SNDFILE* file) const;

  // Into the same file of libsndfile's `format` once it is complete; it is open as `descriptor`, and at `path`, too.
  // Throws Failure, without a file name, when that fails.
  void addTo(int descriptor, const std::string& path, int format) const;

  // What is here and not there, in a reader's words, like "cover picture, cue points"; empty when nothing is missing.
  std::string missingFrom(const Metadata& other) const;

 private:
  void readMarks(SNDFILE* file);
  bool isInHeader(const Chunk& chunk) const;
  std::set<std::string> names() const;

  Tags tags_;
  ChannelLayout layout_;
  ChunkFamily family_ = ChunkFamily::none;
  std::vector<Chunk> chunks_;               // to be kept within the family
  std::map<int, std::vector<char>> marks_;  // libsndfile's own records, by the command that sets them
  std::set<std::string> others_;            // names of what cannot be kept
};

// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/audio/channelLayout.h"

// What a sound file says beside its sound: who is heard, when it was recorded, which channel is which, what is marked.
//
// Kept from one file to another as far as libsndfile can write it: titles and the like, the channel layout, the
// Broadcast-WAV and radio (cart) entries, cue points, instrument with loops, iXML. The names of cue points, tempo,
// cover pictures and tags of other names are seen, but cannot be written.
class Metadata {
 public:
  Metadata() = default;

  // Of an open file. `path` is looked into for what the library does not tell; empty for a stream.
  Metadata(SNDFILE* file, const SF_INFO& info, const std::string& path);

  bool empty() const noexcept { return values_.empty(); }

  // Of three channels or more; empty when none is told. What is read from Ogg files is in WAV's order, as AudioReader
  // gives their sound.
  ChannelLayout layout() const;
  void setLayout(const ChannelLayout& layout);

  // This without all but the channel layout.
  Metadata layoutAlone() const;

  // Into a file that was opened for writing, before its first sample.
  void putInto(SNDFILE* file) const;

  // What is here and not there, in a reader's words, like "cue points, cover picture"; empty when nothing is missing.
  std::string missingFrom(const Metadata& other) const;

 private:
  using Bytes = std::vector<char>;

  void readTags(SNDFILE* file);
  void readLayout(SNDFILE* file, const SF_INFO& info);
  void readMarks(SNDFILE* file);
  void readChunks(SNDFILE* file, const SF_INFO& info);
  void readPicturesAndTags(const std::string& path, const SF_INFO& info);

  std::map<std::string, Bytes> values_;  // by what a reader calls it; the library's own record
};

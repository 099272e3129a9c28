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

// What a sound file holds besides sound: tags, recording data, the channel layout, markers.
//
// From WAV to WAV (RF64 too), AIFF to AIFF and CAF to CAF the known chunks are copied byte by byte, except the loudness
// in a Broadcast-WAV's entries, which becomes "not measured". Tags and pictures are copied between all formats that
// have them.
class Metadata {
 public:
  Metadata() = default;

  // Reads an open file at `path`. For a stream, `path` is empty; only the layout and some tags are then known.
  Metadata(SNDFILE* file, const SF_INFO& info, const std::string& path);

  std::size_t size() const;  // bytes that it adds to a file, at most

  // Only for three channels or more; empty if the file has none. The layout of Ogg files is in WAV's order, as
  // AudioReader returns their sound.
  const ChannelLayout& layout() const noexcept { return layout_; }
  void setLayout(const ChannelLayout& layout);

  // Adapts this to a result at another rate: whatever counts the recording's samples is dropped, except a
  // Broadcast-WAV's time reference, which is converted.
  void changeRate(int from, int to);

  // Only the channel layout of this.
  Metadata layoutAlone() const;

  // Writes into a file that was opened for writing, before its first sample.
  void putInto(SNDFILE* file) const;

  // Writes into the same file, of libsndfile's `format`, once it is complete; it is open as `descriptor` and can be
  // reached at `path`, too. Throws Failure, without a file name, if that fails.
  void addTo(int descriptor, const std::string& path, int format) const;

  // Lists what is here but not there, for the user, like "cover picture, cue points"; empty if nothing is missing.
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

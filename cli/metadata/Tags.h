// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>
#include <taglib/flacpicture.h>
#include <taglib/tpropertymap.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

// Titles, names and pictures of a recording, from and for every form in which files keep them: Vorbis comments, ID3v2,
// RIFF INFO, and the texts that libsndfile reads. Tags that are true only of the recording, not of what is rendered
// from it, are left out: the program that made it, and its loudness (ReplayGain and R128).
class Tags {
 public:
  bool empty() const { return properties_.isEmpty() && pictures_.empty() && others_.empty(); }
  std::size_t size() const;  // bytes, roughly

  // What is here, in lower case: "artist", "cover picture".
  std::set<std::string> names() const;

  // Each adds to what is there, and keeps silent about content that makes no sense. `path` is a FLAC, Ogg or MP3 file
  // of libsndfile's `format`; with any other format nothing is read.
  void readFile(const std::string& path, int format);
  void readId3(const std::string& chunk);   // an ID3v2 tag
  void readInfo(const std::string& chunk);  // the content of a RIFF LIST chunk of type INFO
  void readStrings(SNDFILE* file);          // of AIFF and CAF

  // The value of one tag, taken out; empty when there is none.
  std::string take(const char* name);

  // Writes them into a finished FLAC, Ogg or MP3 file. Throws Failure, without a file name, when that fails.
  void writeFile(const std::string& path, int format) const;
  // Chunks' contents. info() takes only what INFO has names for, and is empty when that is nothing; so is id3(), which
  // takes all.
  std::string id3() const;
  std::string info() const;
  bool fitInfo() const;                    // whether info() is all there is
  void writeStrings(SNDFILE* file) const;  // as far as CAF knows them, before the first sample

 private:
  void add(const TagLib::PropertyMap& properties);

  TagLib::PropertyMap properties_;
  std::vector<std::shared_ptr<TagLib::FLAC::Picture>> pictures_;
  std::set<std::string> others_;  // that were seen and cannot be kept
};

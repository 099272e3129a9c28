// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>
#include <taglib/flacpicture.h>
#include <taglib/tpropertymap.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

// Titles, names and pictures of a recording, read from and written to every form in which files keep them: Vorbis
// comments, ID3v2, RIFF INFO, and the texts that libsndfile reads. Tags that are true only of the recording, not of
// what is rendered from it, are left out: the program that made it, and its loudness (ReplayGain and R128).
class Tags {
 public:
  bool empty() const { return properties_.isEmpty() && pictures_.empty() && others_.empty(); }
  std::size_t size() const;  // bytes, roughly

  // The names of what is here, in lower case: "artist", "cover picture".
  std::set<std::string> names() const;

  // Each adds to the tags that are there, and ignores invalid content. `path` is a FLAC, Ogg or MP3 file of
  // libsndfile's `format`; with any other format nothing is read.
  void readFile(const std::string& path, int format);
  void readId3(const std::string& chunk);   // an ID3v2 tag
  void readInfo(const std::string& chunk);  // the content of a RIFF LIST chunk of type INFO
  void readStrings(SNDFILE* file);          // of AIFF and CAF

  // Removes one tag and returns its value; empty if there is none.
  std::string take(const char* name);

  // Writes them into a finished FLAC, Ogg or MP3 file. Throws Failure, without a file name, if that fails.
  void writeFile(const std::string& path, int format) const;
  // The contents of chunks. info() has only the tags that INFO has names for; id3() has all. Both are empty if there is
  // nothing to write.
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

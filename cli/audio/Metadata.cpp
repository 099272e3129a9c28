// SPDX-License-Identifier: MIT
#include "cli/audio/Metadata.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

struct Tag {
  int kind;
  const char* name;
};
// Not SF_STR_SOFTWARE: it was another one that made this file.
constexpr Tag kTags[] = {{SF_STR_TITLE, "title"},     {SF_STR_COPYRIGHT, "copyright"},
                         {SF_STR_ARTIST, "artist"},   {SF_STR_COMMENT, "comment"},
                         {SF_STR_DATE, "date"},       {SF_STR_ALBUM, "album"},
                         {SF_STR_LICENSE, "license"}, {SF_STR_TRACKNUMBER, "tracknumber"},
                         {SF_STR_GENRE, "genre"}};

// Records that the library reads and writes whole.
struct Record {
  int get, set;
  std::size_t size;
  const char* name;
};
using Broadcast = SF_BROADCAST_INFO_VAR(16000);  // the library takes a little less than 16384
using Cart = SF_CART_INFO_VAR(16000);
constexpr Record kRecords[] = {
    {SFC_GET_BROADCAST_INFO, SFC_SET_BROADCAST_INFO, sizeof(Broadcast), "broadcast entries"},
    {SFC_GET_CART_INFO, SFC_SET_CART_INFO, sizeof(Cart), "radio entries"},
    {SFC_GET_INSTRUMENT, SFC_SET_INSTRUMENT, sizeof(SF_INSTRUMENT), "instrument and loops"},
    {SFC_GET_LOOP_INFO, 0, sizeof(SF_LOOP_INFO), "tempo"},
};

constexpr const char* kLayout = "channel layout";
constexpr const char* kCues = "cue points";
constexpr const char* kCueNames = "names of cue points";
constexpr const char* kPicture = "cover picture";
constexpr const char* kChunks[] = {"iXML", "axml"};  // texts that say nothing of places in the file

template <class T>
std::vector<char> bytesOf(const T* values, std::size_t count) {
  const char* const begin = reinterpret_cast<const char*>(values);
  return {begin, begin + count * sizeof(T)};
}

bool hasChunks(int container) {
  return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64 ||
         container == SF_FORMAT_AIFF || container == SF_FORMAT_CAF;
}

// What the recording's loudness was is not true of the result: 0x7FFF stands for "not measured" (EBU Tech 3285).
void forgetLoudness(std::vector<char>& bytes) {
  Broadcast broadcast;
  std::memcpy(&broadcast, bytes.data(), sizeof broadcast);
  if (broadcast.version < 2) return;
  for (std::int16_t* const value :
       {&broadcast.loudness_value, &broadcast.loudness_range, &broadcast.max_true_peak_level,
        &broadcast.max_momentary_loudness, &broadcast.max_shortterm_loudness}) {
    *value = 0x7FFF;
  }
  std::memcpy(bytes.data(), &broadcast, sizeof broadcast);
}

// The tags, "NAME=value" each, of a Vorbis comment that begins at `at`: a vendor text, a number of tags, the tags; each
// with its length before it. What lies beyond the end of `bytes` is left out.
std::vector<std::string> vorbisTags(const std::string& bytes, std::size_t at) {
  std::vector<std::string> tags;
  const auto number = [&](std::uint32_t& value) {
    if (bytes.size() < at + 4) return false;
    value = 0;
    for (int i = 3; i >= 0; --i)
      value = value << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
    at += 4;
    return true;
  };
  std::uint32_t length = 0;
  std::uint32_t count = 0;
  if (!number(length)) return tags;
  at += length;
  if (!number(count)) return tags;
  for (; count > 0 && number(length) && at < bytes.size(); --count, at += length) {
    tags.push_back(bytes.substr(at, std::min<std::size_t>(length, 64)));
  }
  return tags;
}

}  // namespace

Metadata::Metadata(SNDFILE* file, const SF_INFO& info, const std::string& path) {
  readTags(file);
  readLayout(file, info);
  readMarks(file);
  for (const Record& record : kRecords) {
    Bytes bytes(record.size);
    if (sf_command(file, record.get, bytes.data(), static_cast<int>(record.size)) == SF_TRUE) {
      values_[record.name] = bytes;
    }
  }
  if (path.empty()) return;
  readChunks(file, info);
  readPicturesAndTags(path, info);
}

void Metadata::readTags(SNDFILE* file) {
  for (const Tag& tag : kTags) {
    const char* const text = sf_get_string(file, tag.kind);
    if (text != nullptr && *text != '\0') values_[tag.name] = bytesOf(text, std::strlen(text) + 1);
  }
}

void Metadata::readLayout(SNDFILE* file, const SF_INFO& info) {
  std::vector<int> map(static_cast<std::size_t>(info.channels));
  const bool isTold =
      sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) == SF_TRUE &&
      std::find(map.begin(), map.end(), SF_CHANNEL_MAP_INVALID) == map.end();
  setLayout(isTold ? map : inWavOrder(impliedLayout(info.format, info.channels)));
}

void Metadata::readMarks(SNDFILE* file) {
  std::uint32_t count = 0;
  if (sf_command(file, SFC_GET_CUE_COUNT, &count, sizeof count) != SF_TRUE || count == 0) return;
  Bytes bytes(sizeof count + count * sizeof(SF_CUE_POINT));
  if (sf_command(file, SFC_GET_CUE, bytes.data(), static_cast<int>(bytes.size())) != SF_TRUE) return;
  values_[kCues] = bytes;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t name = sizeof count + i * sizeof(SF_CUE_POINT) + offsetof(SF_CUE_POINT, name);
    if (bytes[name] != '\0') values_[kCueNames] = {};
  }
}

void Metadata::readChunks(SNDFILE* file, const SF_INFO& info) {
  if (!hasChunks(info.format & SF_FORMAT_TYPEMASK)) return;
  for (const char* const id : kChunks) {
    SF_CHUNK_INFO chunk = {};
    std::memcpy(chunk.id, id, 4);
    chunk.id_size = 4;
    SF_CHUNK_ITERATOR* const found = sf_get_chunk_iterator(file, &chunk);
    if (found == nullptr || sf_get_chunk_size(found, &chunk) != SF_ERR_NO_ERROR) continue;
    Bytes bytes(chunk.datalen);
    chunk.data = bytes.data();
    if (sf_get_chunk_data(found, &chunk) == SF_ERR_NO_ERROR) values_[id] = bytes;
  }
}

// The library tells neither of pictures nor of tags that it has no name for.
void Metadata::readPicturesAndTags(const std::string& path, const SF_INFO& info) {
  constexpr std::size_t kLookedAt = 1 << 18;
  const int container = info.format & SF_FORMAT_TYPEMASK;
  if (container != SF_FORMAT_FLAC && container != SF_FORMAT_OGG && container != SF_FORMAT_MPEG) return;
  std::string head(kLookedAt, '\0');
  std::ifstream stream(path, std::ios::binary);
  stream.read(head.data(), static_cast<std::streamsize>(head.size()));
  head.resize(static_cast<std::size_t>(stream.gcount()));
  const auto byte = [&head](std::size_t at) -> unsigned { return static_cast<unsigned char>(head[at]); };

  std::vector<std::string> tags;
  if (container == SF_FORMAT_MPEG) {
    if (head.rfind("ID3", 0) == 0 && head.find("APIC") != std::string::npos) values_[kPicture] = {};
  } else if (container == SF_FORMAT_FLAC) {
    constexpr unsigned kComment = 4, kPictureBlock = 6, kLast = 0x80;
    unsigned type = 0;
    for (std::size_t at = head.find("fLaC") + 4; at + 4 < head.size() && (type & kLast) == 0;) {
      type = byte(at);
      const std::size_t length = byte(at + 1) << 16U | byte(at + 2) << 8U | byte(at + 3);
      if ((type & ~kLast) == kPictureBlock) values_[kPicture] = {};
      if ((type & ~kLast) == kComment) tags = vorbisTags(head, at + 4);
      at += 4 + length;
    }
  } else {
    const bool isOpus = (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS;
    const std::string start = isOpus ? "OpusTags" : "\x03vorbis";
    const std::size_t at = head.find(start);
    if (at != std::string::npos) tags = vorbisTags(head, at + start.size());
  }
  for (const std::string& tag : tags) {
    std::string name = tag.substr(0, tag.find('='));
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    if (name == "metadata_block_picture" || name == "coverart") name = kPicture;
    if (name == "waveformatextensible_channel_mask") {  // as ffmpeg and flac write it, for other layouts than usual
      const ChannelLayout layout =
          layoutOf(std::strtoul(tag.c_str() + std::min(name.size() + 1, tag.size()), nullptr, 16));
      if (static_cast<int>(layout.size()) == info.channels) setLayout(layout);
      continue;
    }
    const bool isOurs = name == "encoder" || name == "encoder_options" || name == "software" || name == "description";
    if (!isOurs && name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_ -") == std::string::npos) {
      values_.try_emplace(name);
    }
  }
}

Metadata Metadata::layoutAlone() const {
  Metadata layout;
  if (const auto found = values_.find(kLayout); found != values_.end()) layout.values_.insert(*found);
  return layout;
}

ChannelLayout Metadata::layout() const {
  const auto found = values_.find(kLayout);
  if (found == values_.end()) return {};
  ChannelLayout layout(found->second.size() / sizeof(int));
  std::memcpy(layout.data(), found->second.data(), found->second.size());
  return layout;
}

void Metadata::setLayout(const ChannelLayout& layout) {
  if (layout.size() > 2) values_[kLayout] = bytesOf(layout.data(), layout.size());
}

void Metadata::putInto(SNDFILE* file) const {
  SF_INFO info = {};
  sf_command(file, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
  for (const auto& [name, value] : values_) {
    Bytes bytes = value;
    const int size = static_cast<int>(bytes.size());
    const auto tag =
        std::find_if(std::begin(kTags), std::end(kTags), [&n = name](const Tag& one) { return n == one.name; });
    const auto record = std::find_if(std::begin(kRecords), std::end(kRecords),
                                     [&n = name](const Record& one) { return n == one.name; });
    if (tag != std::end(kTags)) {
      if (!bytes.empty()) sf_set_string(file, tag->kind, bytes.data());
    } else if (record != std::end(kRecords)) {
      if (record->get == SFC_GET_BROADCAST_INFO) forgetLoudness(bytes);
      if (record->set != 0) sf_command(file, record->set, bytes.data(), size);
    } else if (name == kLayout) {
      sf_command(file, SFC_SET_CHANNEL_MAP_INFO, bytes.data(), size);
    } else if (name == kCues) {
      sf_command(file, SFC_SET_CUE, bytes.data(), size);
    } else if (std::find(std::begin(kChunks), std::end(kChunks), name) != std::end(kChunks) &&
               hasChunks(info.format & SF_FORMAT_TYPEMASK)) {
      SF_CHUNK_INFO chunk = {};
      std::memcpy(chunk.id, name.c_str(), 4);
      chunk.id_size = 4;
      chunk.data = bytes.data();
      chunk.datalen = static_cast<unsigned>(bytes.size());
      sf_set_chunk(file, &chunk);
    }
  }
}

std::string Metadata::missingFrom(const Metadata& other) const {
  std::string missing;
  for (const auto& [name, value] : values_) {
    const auto there = other.values_.find(name);
    const bool isKept = there != other.values_.end() && (name != kLayout || there->second == value);
    const bool isImplied = name == kCueNames && other.values_.find(kCues) == other.values_.end();
    if (isKept || isImplied) continue;
    if (!missing.empty()) missing.append(", ");
    missing.append(name);
  }
  return missing;
}

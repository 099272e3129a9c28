// SPDX-License-Identifier: MIT
#include "cli/metadata/Metadata.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kMostHeaderBytes = 32000;  // libsndfile loses the sound if its header approaches 100 KB

// Chunks that are valid for the result, too: positions are counted in samples at the file's rate, which stays the same.
struct KeptChunk {
  ChunkFamily family;
  const char* id;
  const char* name;       // for people
  bool isForAll = false;  // texts that mean the same in every family
};
constexpr KeptChunk kKept[] = {
    {ChunkFamily::wav, "bext", "broadcast entries"},
    {ChunkFamily::wav, "cart", "radio entries"},
    {ChunkFamily::wav, "cue ", "cue points"},
    {ChunkFamily::wav, "adtl", "names of cue points"},  // a LIST chunk of that type
    {ChunkFamily::wav, "smpl", "instrument and loops"},
    {ChunkFamily::wav, "inst", "instrument and loops"},
    {ChunkFamily::wav, "acid", "tempo"},
    {ChunkFamily::wav, "iXML", "iXML", true},
    {ChunkFamily::wav, "axml", "axml", true},
    {ChunkFamily::wav, "chna", "chna"},
    {ChunkFamily::wav, "_PMX", "XMP"},
    {ChunkFamily::aiff, "MARK", "cue points"},
    {ChunkFamily::aiff, "INST", "instrument and loops"},
    {ChunkFamily::aiff, "COMT", "comments with dates"},
    {ChunkFamily::aiff, "APPL", "application data"},
    {ChunkFamily::aiff, "iXML", "iXML", true},
    {ChunkFamily::aiff, "axml", "axml", true},
    {ChunkFamily::caf, "mark", "cue points"},
    {ChunkFamily::caf, "strg", "names of cue points"},
    {ChunkFamily::caf, "inst", "instrument and loops"},
    {ChunkFamily::caf, "iXML", "iXML", true},
    {ChunkFamily::caf, "axml", "axml", true},
};

// The type of a LIST chunk, or the letters of any other chunk.
std::string kindOf(const Chunk& chunk) { return chunk.id == "LIST" ? chunk.bytes.substr(0, 4) : chunk.id; }

const KeptChunk* keptAs(ChunkFamily family, const std::string& kind) {
  const auto* const kept = std::find_if(std::begin(kKept), std::end(kKept),
                                        [&](const KeptChunk& one) { return one.family == family && kind == one.id; });
  return kept != std::end(kKept) ? kept : nullptr;
}

// What libsndfile reads from an AIFF file's markers and writes to a WAV file.
struct Mark {
  int get, set;
  const char* name;
};
constexpr Mark kMarks[] = {{SFC_GET_CUE, SFC_SET_CUE, "cue points"},
                           {SFC_GET_INSTRUMENT, SFC_SET_INSTRUMENT, "instrument and loops"}};

// The recording's loudness is not that of the result: 0x7FFF stands for "not measured" (EBU Tech 3285). The five
// values, of two bytes each, are zero before version 2.
void forgetLoudness(std::string& broadcast) {
  constexpr std::size_t kVersionAt = 346, kLoudnessAt = 412, kLoudnessEnd = 422;
  if (broadcast.size() < kLoudnessEnd || (broadcast[kVersionAt] < 2 && broadcast[kVersionAt + 1] == 0)) return;
  for (std::size_t at = kLoudnessAt; at < kLoudnessEnd; at += 2) broadcast.replace(at, 2, "\xFF\x7F");
}

int containerOf(SNDFILE* file) {
  SF_INFO info = {};
  sf_command(file, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
  return info.format & SF_FORMAT_TYPEMASK;
}

}  // namespace

Metadata::Metadata(SNDFILE* file, const SF_INFO& info, const std::string& path)
    : family_(chunkFamily(info.format & SF_FORMAT_TYPEMASK)) {
  std::vector<int> map(static_cast<std::size_t>(info.channels));
  const bool isTold =
      sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(map.size() * sizeof(int))) == SF_TRUE &&
      std::find(map.begin(), map.end(), SF_CHANNEL_MAP_INVALID) == map.end();
  setLayout(isTold ? map : inWavOrder(impliedLayout(info.format, info.channels)));
  tags_.readStrings(file);
  if (path.empty()) return;

  std::set<std::string> contents = {"LIST", "id3 ", "ID3 "};
  for (const KeptChunk& kept : kKept) contents.insert(kept.id);
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  for (Chunk& chunk : readChunks(descriptor, family_, contents)) {
    const std::string kind = kindOf(chunk);
    if (kind == "INFO") {
      tags_.readInfo(chunk.bytes);
    } else if (kind == "id3 " || kind == "ID3 ") {
      tags_.readId3(chunk.bytes);
    } else if (keptAs(family_, kind) != nullptr) {
      chunks_.push_back(std::move(chunk));
    } else {
      others_.insert(kind);
    }
  }
  close(descriptor);
  tags_.readFile(path, info.format);
  if (family_ == ChunkFamily::aiff) readMarks(file);
  // As ffmpeg and flac write it for unusual layouts.
  const std::string mask = tags_.take("WAVEFORMATEXTENSIBLE_CHANNEL_MASK");
  const ChannelLayout layout = layoutOf(std::strtoul(mask.c_str(), nullptr, 16));
  if (static_cast<int>(layout.size()) == info.channels) setLayout(layout);
}

void Metadata::readMarks(SNDFILE* file) {
  std::uint32_t count = 0;
  sf_command(file, SFC_GET_CUE_COUNT, &count, sizeof count);
  for (const Mark& mark : kMarks) {
    const std::size_t size =
        mark.get == SFC_GET_CUE ? sizeof count + count * sizeof(SF_CUE_POINT) : sizeof(SF_INSTRUMENT);
    std::vector<char> record(std::max(size, sizeof count));
    if (size > 10 * kMostHeaderBytes || (mark.get == SFC_GET_CUE && count == 0)) continue;
    if (sf_command(file, mark.get, record.data(), static_cast<int>(record.size())) == SF_TRUE) {
      marks_[mark.set] = record;
    }
  }
}

std::size_t Metadata::size() const {
  std::size_t size = tags_.size();
  for (const Chunk& chunk : chunks_) size += chunk.bytes.size() + 16;
  return size;
}

void Metadata::changeRate(int from, int to) {
  constexpr std::size_t kTimeReferenceAt = 338, kTimeReferenceSize = 8;  // in "bext" (EBU Tech 3285)
  static const std::set<std::string> counted = {"cue ", "adtl", "smpl", "MARK", "INST", "mark", "strg"};
  for (const Mark& mark : kMarks) {
    if (marks_.erase(mark.set) != 0) others_.insert(mark.name);
  }
  for (auto chunk = chunks_.begin(); chunk != chunks_.end();) {
    if (counted.count(kindOf(*chunk)) != 0) {
      others_.insert(keptAs(family_, kindOf(*chunk))->name);
      chunk = chunks_.erase(chunk);
      continue;
    }
    if (chunk->id == "bext" && chunk->bytes.size() >= kTimeReferenceAt + kTimeReferenceSize) {
      std::uint64_t samples = 0;
      std::memcpy(&samples, &chunk->bytes[kTimeReferenceAt], kTimeReferenceSize);
      samples = static_cast<std::uint64_t>(std::llround(static_cast<long double>(samples) * to / from));
      std::memcpy(&chunk->bytes[kTimeReferenceAt], &samples, kTimeReferenceSize);
    }
    ++chunk;
  }
}

Metadata Metadata::layoutAlone() const {
  Metadata layout;
  layout.layout_ = layout_;
  return layout;
}

void Metadata::setLayout(const ChannelLayout& layout) {
  if (layout.size() > 2) layout_ = layout;
}

// Many programs look for these only before the sound.
bool Metadata::isInHeader(const Chunk& chunk) const {
  return family_ == ChunkFamily::wav && (chunk.id == "bext" || chunk.id == "cart") &&
         chunk.bytes.size() <= kMostHeaderBytes / 2 &&
         std::count_if(chunks_.begin(), chunks_.end(), [&](const Chunk& one) { return one.id == chunk.id; }) == 1;
}

void Metadata::putInto(SNDFILE* file) const {
  const int container = containerOf(file);
  const ChunkFamily family = chunkFamily(container);
  if (!layout_.empty()) {
    ChannelLayout layout = layout_;
    sf_command(file, SFC_SET_CHANNEL_MAP_INFO, layout.data(), static_cast<int>(layout.size() * sizeof(int)));
  }
  if (container == SF_FORMAT_CAF || container == SF_FORMAT_AIFF) tags_.writeStrings(file);
  if (family == ChunkFamily::wav) {
    for (auto [set, record] : marks_) sf_command(file, set, record.data(), static_cast<int>(record.size()));
  }
  if (family != family_) return;
  for (const Chunk& chunk : chunks_) {
    if (!isInHeader(chunk)) continue;
    std::string bytes = chunk.bytes;
    if (chunk.id == "bext") forgetLoudness(bytes);
    SF_CHUNK_INFO info = {};
    std::memcpy(info.id, chunk.id.data(), 4);
    info.id_size = 4;
    info.data = bytes.data();
    info.datalen = static_cast<unsigned>(bytes.size());
    sf_set_chunk(file, &info);
  }
}

void Metadata::addTo(int descriptor, const std::string& path, int format) const {
  const ChunkFamily family = chunkFamily(format & SF_FORMAT_TYPEMASK);
  if (family == ChunkFamily::none) return tags_.writeFile(path, format);
  std::vector<Chunk> chunks;
  for (const Chunk& chunk : chunks_) {
    if (family != family_ && !keptAs(family_, kindOf(chunk))->isForAll) continue;
    if (family == family_ && isInHeader(chunk)) continue;
    chunks.push_back(chunk);
    if (chunk.id == "bext") forgetLoudness(chunks.back().bytes);
  }
  if (family == ChunkFamily::wav) {
    if (std::string info = tags_.info(); !info.empty()) chunks.push_back({"LIST", std::move(info)});
  }
  if (family == ChunkFamily::aiff || (family == ChunkFamily::wav && !tags_.fitInfo())) {
    if (std::string id3 = tags_.id3(); !id3.empty()) chunks.push_back({"ID3 ", std::move(id3)});
  }
  appendChunks(descriptor, family, chunks);
}

std::set<std::string> Metadata::names() const {
  std::set<std::string> names = tags_.names();
  names.insert(others_.begin(), others_.end());
  for (const Chunk& chunk : chunks_) names.insert(keptAs(family_, kindOf(chunk))->name);
  for (const Mark& mark : kMarks) {
    if (marks_.count(mark.set) != 0) names.insert(mark.name);
  }
  if (!layout_.empty()) names.insert("channel layout");
  return names;
}

std::string Metadata::missingFrom(const Metadata& other) const {
  std::set<std::string> there = other.names();
  if (layout_ != other.layout_) there.erase("channel layout");
  if (there.count("cue points") == 0) there.insert("names of cue points");  // already listed with the cue points
  constexpr std::size_t kMostNames = 20;
  std::string missing;
  std::size_t count = 0;
  for (const std::string& name : names()) {
    if (there.count(name) != 0) continue;
    if (++count <= kMostNames) missing.append(missing.empty() ? "" : ", ").append(name);
  }
  if (count > kMostNames) missing.append(" and ").append(std::to_string(count - kMostNames)).append(" more");
  return missing;
}

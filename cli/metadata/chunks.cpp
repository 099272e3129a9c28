// SPDX-License-Identifier: MIT
#include "cli/metadata/chunks.h"

#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

#include "cli/text/Failure.h"

namespace {

constexpr std::size_t kMostChunks = 10000;

std::uint64_t number(const std::string& bytes, bool isBigEndian) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    value = value << 8U | static_cast<unsigned char>(bytes[isBigEndian ? i : bytes.size() - 1 - i]);
  }
  return value;
}

std::string bytesOf(std::uint64_t value, std::size_t size, bool isBigEndian) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[isBigEndian ? size - 1 - i : i] = static_cast<char>(value >> (8 * i) & 0xFFU);
  }
  return bytes;
}

// Returns fewer bytes at the end of the file.
std::string readAt(int descriptor, std::uint64_t offset, std::uint64_t size) {
  std::string bytes(size, '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = pread(descriptor, &bytes[done], bytes.size() - done, static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  bytes.resize(done);
  return bytes;
}

void writeAt(int descriptor, std::uint64_t offset, const std::string& bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t written =
        pwrite(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw Failure(systemError(errno));
    done += static_cast<std::size_t>(written);
  }
}

std::uint64_t fileSize(int descriptor) {
  const off_t size = lseek(descriptor, 0, SEEK_END);
  return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

}  // namespace

ChunkFamily chunkFamily(int container) noexcept {
  switch (container) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_RF64: return ChunkFamily::wav;
    case SF_FORMAT_AIFF: return ChunkFamily::aiff;
    case SF_FORMAT_CAF: return ChunkFamily::caf;
    default: return ChunkFamily::none;
  }
}

// Layouts: Multimedia Programming Interface 1.0 (RIFF), EBU Tech 3306 (RF64: 64-bit lengths in the chunk "ds64"), AIFF
// 1.3, Core Audio Format 1.0 (64-bit lengths, no padding).
std::vector<Chunk> readChunks(int descriptor, ChunkFamily family, const std::set<std::string>& contents) {
  constexpr std::uint64_t kIn64 = 0xFFFFFFFF;
  static const std::set<std::string> sound = {
      "fmt ", "data", "fact", "PEAK", "ds64", "JUNK", "junk", "FLLR", "PAD ", "pad ", "Fake", "levl", "COMM", "SSND",
      "FVER", "CHAN", "NAME", "AUTH", "(c) ", "ANNO", "desc", "chan", "pakt", "kuki", "info", "free", "ovvw", "peak"};
  std::vector<Chunk> chunks;
  if (family == ChunkFamily::none) return chunks;
  const bool isCaf = family == ChunkFamily::caf;
  const bool isBigEndian = family != ChunkFamily::wav;
  const std::size_t lengthSize = isCaf ? 8 : 4;
  const std::uint64_t end = fileSize(descriptor);
  std::uint64_t soundIn64 = 0;
  for (std::uint64_t at = isCaf ? 8 : 12; at + 4 + lengthSize <= end && chunks.size() < kMostChunks;) {
    const std::string head = readAt(descriptor, at, 4 + lengthSize);
    if (head.size() < 4 + lengthSize) break;
    const std::string id = head.substr(0, 4);
    std::uint64_t size = number(head.substr(4), isBigEndian);
    at += 4 + lengthSize;
    if (id == "ds64") soundIn64 = number(readAt(descriptor, at + 8, 8), false);
    if (id == "data" && size == kIn64) size = soundIn64;
    if (size > end - at) break;
    if (sound.count(id) == 0) {
      chunks.push_back({id, contents.count(id) != 0 ? readAt(descriptor, at, size) : std::string()});
    }
    at += size + (isCaf ? 0 : size % 2);
  }
  return chunks;
}

void appendChunks(int descriptor, ChunkFamily family, const std::vector<Chunk>& chunks) {
  constexpr std::uint64_t kMost32 = std::numeric_limits<std::uint32_t>::max();
  const bool isCaf = family == ChunkFamily::caf;
  const bool isBigEndian = family != ChunkFamily::wav;
  std::uint64_t end = fileSize(descriptor);
  for (const Chunk& chunk : chunks) {
    std::string bytes(isCaf ? 0 : end % 2, '\0');
    bytes += chunk.id + bytesOf(chunk.bytes.size(), isCaf ? 8 : 4, isBigEndian) + chunk.bytes;
    if (!isCaf && chunk.bytes.size() % 2 != 0) bytes += '\0';
    writeAt(descriptor, end, bytes);
    end += bytes.size();
  }
  if (isCaf || chunks.empty()) return;
  if (readAt(descriptor, 0, 4) == "RF64") return writeAt(descriptor, 20, bytesOf(end - 8, 8, false));
  if (end - 8 > kMost32) throw Failure("the file would be longer than 4 GiB");
  writeAt(descriptor, 4, bytesOf(end - 8, 4, isBigEndian));
}

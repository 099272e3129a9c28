// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

// A chunk of a WAV, RF64, AIFF or CAF file: four letters and its content.
struct Chunk {
  std::string id;
  std::string bytes;
};

// Families whose chunks mean the same: WAV (with RF64), AIFF and CAF.
enum class ChunkFamily { none, wav, aiff, caf };

// `container` is libsndfile's.
ChunkFamily chunkFamily(int container) noexcept;

// The chunks of an open file, in order, except those that hold the sound and its format. The content is read only for
// chunks whose letters are in `contents`. A chunk that claims to be longer than the file ends the list.
std::vector<Chunk> readChunks(int descriptor, ChunkFamily family, const std::set<std::string>& contents);

// Appends chunks to a complete file and corrects the length in its header. Throws Failure, without a file name, if they
// cannot be written.
void appendChunks(int descriptor, ChunkFamily family, const std::vector<Chunk>& chunks);

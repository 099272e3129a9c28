// SPDX-License-Identifier: MIT
#include "cli/audio/AudioReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <sstream>

#include "cli/samples/samples.h"
#include "cli/text/Failure.h"

namespace {

// Programs that write a header before they know the length put something near the largest 32-bit number of bytes.
constexpr std::int64_t kUnknownLengthBytes = 0x7FFFF000;
constexpr std::int64_t kMostHeaderBytes = 24;        // of a chunk
constexpr int kSlowest = 1000, kFastest = 10000000;  // Hz, of a recording
constexpr std::int64_t kFewFrames = 512;             // if no more are missing at the end, a note is enough

std::string seconds(std::int64_t frames, int rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", static_cast<double>(frames) / rate);
  return text;
}

int openForReading(const std::string& path) {
  if (path == "-") {
    if (isatty(STDIN_FILENO) != 0) {
      throw Failure("standard input is a terminal; pipe a sound into it, or name a file", Failure::usage);
    }
    return STDIN_FILENO;
  }
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    throw Failure(path + ": cannot be read (" + systemError(errno) + "); check the name and its permissions");
  }
  return descriptor;
}

std::int64_t bytesPerFrame(const AudioFormat& format) {
  const int bits = integerBits(format.format);
  const int bytes = bits != 0 ? (bits + 7) / 8 : format.sampleFormat() == SF_FORMAT_DOUBLE ? 8 : 4;
  return std::int64_t{bytes} * format.channels;
}

// The size of a chunk according to the file; 0 if there is none, or if the library does not provide it for this
// container.
std::int64_t chunkBytes(SNDFILE* file, int container, const char* id) {
  if (container != SF_FORMAT_WAV && container != SF_FORMAT_WAVEX && container != SF_FORMAT_AIFF) return 0;
  SF_CHUNK_INFO chunk = {};
  std::memcpy(chunk.id, id, 4);
  chunk.id_size = 4;
  SF_CHUNK_ITERATOR* const found = sf_get_chunk_iterator(file, &chunk);
  return found != nullptr && sf_get_chunk_size(found, &chunk) == SF_ERR_NO_ERROR ? chunk.datalen : 0;
}

// The same from the text of the library's log, the only source for RF64, W64 and AU.
std::int64_t loggedBytes(SNDFILE* file) {
  std::array<char, 4096> log{};
  sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
  std::istringstream lines(log.data());
  for (std::string line; std::getline(lines, line);) {
    std::array<char, 16> label{};
    long long bytes = 0;
    if (std::sscanf(line.c_str(), " %15[A-Za-z ]: %lld", label.data(), &bytes) != 2) continue;
    const std::string name(label.data());
    if (name == "data " || name == "Data Size   " || name == "Data size ") return bytes;
  }
  return 0;
}

// Bytes of sound according to the header of an uncompressed file; 0 if it does not say. The library itself treats what
// is left of a truncated file as the whole.
std::int64_t announcedBytes(SNDFILE* file, int container) {
  const bool is64 = container == SF_FORMAT_RF64 || container == SF_FORMAT_W64;
  std::int64_t bytes = chunkBytes(file, container, container == SF_FORMAT_AIFF ? "SSND" : "data");
  if (bytes == 0 && (is64 || container == SF_FORMAT_AU)) bytes = loggedBytes(file);
  return is64 || bytes < kUnknownLengthBytes ? bytes : 0;
}

// Looks at the start of the input without consuming it.
struct Beginning {
  bool isEmpty = false;
  bool isSeekingFormat = false;  // one that libsndfile reads from files only
};

Beginning lookAt(int descriptor, const struct stat& status) {
  if (S_ISREG(status.st_mode)) return {status.st_size == 0};
  int copy[2];
  std::array<char, 4> bytes{};
  if (!S_ISFIFO(status.st_mode) || pipe2(copy, O_CLOEXEC) != 0) return {};
  ssize_t got = tee(descriptor, copy[1], bytes.size(), 0);  // waits for the first bytes
  if (got > 0) got = read(copy[0], bytes.data(), bytes.size());
  close(copy[0]);
  close(copy[1]);
  const std::string letters(bytes.data(), bytes.size());
  return {got == 0, letters == "caff" || letters == "fLaC"};
}

// Quoted so that a shell reads one word, and no program takes it for an option.
std::string shellWord(const std::string& path) {
  std::string word = path.front() == '-' ? "./" + path : path;
  const auto isPlain = [](unsigned char c) { return std::isalnum(c) != 0 || c > 0x7F || std::strchr("_-./+,:@%", c); };
  if (std::all_of(word.begin(), word.end(), isPlain)) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

// Whether a file's name has an ending of sound or video.
bool isNamedAsSound(const std::string& path) {
  constexpr const char* kOthers[] = {"m4a", "mp4", "m4b", "m4v", "aac",  "ac3", "dts", "wma",  "wmv", "asf",
                                     "ape", "wv",  "mka", "mkv", "webm", "mov", "avi", "mpg",  "mp2", "3gp",
                                     "amr", "tta", "mpc", "flv", "ts",   "ogv", "dsf", "aifc", "spx", "ra"};
  const std::string ending = endingOf(path);
  return containerNamed(ending) || std::find(std::begin(kOthers), std::end(kOthers), ending) != std::end(kOthers);
}

// The message for a sound that the library cannot read.
std::string whyUnreadable(const std::string& path, bool isFile, const Beginning& beginning) {
  if (beginning.isEmpty) {
    return isFile ? "the file is empty; choose one that holds a sound"
                  : "no sound came through the pipe; look for an error of the program before it";
  }
  std::string reason = sf_strerror(nullptr);
  while (!reason.empty() && reason.back() == '.') reason.pop_back();
  const std::string text = "cannot be read as sound (" + reason + "); ";
  if (!isFile) return text + "a stream is WAV or AU, or say what it holds with --raw";
  if (!isNamedAsSound(path)) return text + "choose a recording, or say with --raw what samples it holds";
  return text + "other formats come through ffmpeg: ffmpeg -i " + shellWord(path) +
         " -f wav - | brumbler render - OUT.wav; samples without a header need --raw";
}

// Whether the bytes from `at` on are chunks up to the end of the file, rather than sound.
bool areChunks(int descriptor, std::int64_t at, std::int64_t end) {
  while (at < end) {
    std::array<unsigned char, 8> head{};
    if (pread(descriptor, head.data(), head.size(), at) != std::ssize(head)) return false;
    if (!std::all_of(head.begin(), head.begin() + 4, [](unsigned char c) { return std::isprint(c) != 0; }))
      return false;
    const std::int64_t size = head[4] | head[5] << 8 | head[6] << 16 | std::int64_t{head[7]} << 24;
    at += 8 + size + size % 2;
  }
  return at == end || at == end + 1;
}

// Whether a stream continues after its header, which has been read. Consumes a byte.
bool isMoreToRead(int descriptor) {
  char byte = 0;
  return read(descriptor, &byte, 1) == 1;
}

}  // namespace

AudioReader::AudioReader(const std::string& path, const std::optional<AudioFormat>& raw)
    : name_(path == "-" ? "standard input" : path) {
  const int descriptor = openForReading(path);
  struct stat status = {};
  fstat(descriptor, &status);
  if (S_ISDIR(status.st_mode)) {
    close(descriptor);
    throw Failure(path + ": is a folder; name the recordings in it, like " + path +
                  (path.back() == '/' ? "*.wav" : "/*.wav"));
  }
  rereadable_ = path != "-" && S_ISREG(status.st_mode);

  const Beginning beginning = lookAt(descriptor, status);
  if (beginning.isSeekingFormat && !raw) {
    throw Failure(name_ + ": CAF and FLAC cannot be read from a pipe; name the file itself, or send WAV or AU");
  }
  SF_INFO info = {};
  if (raw) {
    info.format = raw->format;
    info.samplerate = raw->rate;
    info.channels = raw->channels;
  }
  file_.reset(sf_open_fd(descriptor, SFM_READ, &info, path != "-" ? SF_TRUE : SF_FALSE));
  if (file_ != nullptr && info.frames == 0 && rereadable_ && !raw) openUnclosed(path, info, status.st_size);
  if (file_ == nullptr) {
    throw Failure(name_ + ": " + whyUnreadable(path, rereadable_, beginning));
  }
  if (info.samplerate < kSlowest || info.samplerate > kFastest) {
    throw Failure(name_ + ": its header gives a rate of " + std::to_string(info.samplerate) +
                  " Hz; rates from 1 kHz to 10 MHz are possible. Repair the header, or say what it holds with --raw");
  }
  info_ = info;
  format_ = {info.samplerate, info.channels, info.format};
  const ChannelLayout implied = impliedLayout(info.format, info.channels);
  order_ = ChannelOrder(implied, inWavOrder(implied));
  const bool known = info.frames >= 0 && info.frames < SF_COUNT_MAX / 2 &&
                     (info.seekable != 0 || (!raw && info.frames < kUnknownLengthBytes / bytesPerFrame(format_)));
  if (!known) return;
  frames_ = info.frames;
  if (info.frames == 0 && !rereadable_ && isMoreToRead(descriptor)) {
    throw Failure(name_ +
                  ": its header gives a length of 0, but more follows; have it written with an open length, as "
                  "sox and ffmpeg do, or say what it holds with --raw");
  }
  if (raw || !isLinear(info.format)) return;
  const std::int64_t announced = announcedBytes(file_.get(), format_.container());
  // Some programs count a header as sound.
  if (announced - kMostHeaderBytes > info.frames * bytesPerFrame(format_)) frames_ = announced / bytesPerFrame(format_);
}

// Recorders that crash leave a header with a length of 0. In a WAV file the library finds the sound by itself if the
// header's other length is that of an empty file, too, so this function presents it with such a header. Other formats
// are refused.
void AudioReader::openUnclosed(const std::string& path, SF_INFO& info, std::int64_t size) {
  constexpr std::int64_t kMostHeader = 1 << 16;
  const int container = info.format & SF_FORMAT_TYPEMASK;
  if (!isLinear(info.format)) return;
  if (container != SF_FORMAT_WAV && container != SF_FORMAT_WAVEX) {
    if (size < kMostHeader) return;
    throw Failure(name_ + ": its header gives a length of 0, but more follows; have it written again, or say what it " +
                  "holds with --raw");
  }
  SF_VIRTUAL_IO io = {};
  io.get_filelen = [](void* user) -> sf_count_t { return static_cast<const Unclosed*>(user)->size; };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    auto& unclosed = *static_cast<Unclosed*>(user);
    unclosed.at = offset + (whence == SEEK_CUR ? unclosed.at : whence == SEEK_END ? unclosed.size : 0);
    return unclosed.at;
  };
  io.read = [](void* data, sf_count_t count, void* user) -> sf_count_t {
    constexpr std::int64_t kLengthAt = 4;
    constexpr std::array<char, 4> kLength = {8, 0, 0, 0};  // of an empty file
    auto& unclosed = *static_cast<Unclosed*>(user);
    const ssize_t got = pread(unclosed.descriptor, data, static_cast<std::size_t>(count), unclosed.at);
    for (std::int64_t i = 0; i < std::ssize(kLength); ++i) {
      const std::int64_t place = kLengthAt + i - unclosed.at;
      if (place >= 0 && place < got) static_cast<char*>(data)[place] = kLength[static_cast<std::size_t>(i)];
    }
    unclosed.at += std::max<ssize_t>(got, 0);
    return std::max<ssize_t>(got, 0);
  };
  io.tell = [](void* user) -> sf_count_t { return static_cast<const Unclosed*>(user)->at; };

  auto unclosed = std::make_unique<Unclosed>();
  unclosed->descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  unclosed->size = size;
  SF_INFO found = {};
  std::unique_ptr<SNDFILE, Close> file(sf_open_virtual(&io, SFM_READ, &found, unclosed.get()));
  if (file == nullptr || found.frames == 0) return;
  const std::int64_t frameBytes = bytesPerFrame({found.samplerate, found.channels, found.format});
  for (std::int64_t rest = 0; rest < frameBytes; ++rest) {
    if (areChunks(unclosed->descriptor, size - found.frames * frameBytes - rest, size)) return;  // truly empty
  }
  file_ = std::move(file);
  unclosed_ = std::move(unclosed);
  info = found;
  note_ = "the recording was never closed, so it was read to the end of the file";
}

AudioReader::Unclosed::~Unclosed() { close(descriptor); }

int AudioReader::read(double* samples, int count) {
  int got = 0;
  if (format_.sampleFormat() == SF_FORMAT_PCM_16) {  // the library is slow with this format
    shorts_.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(format_.channels));
    got = static_cast<int>(sf_readf_short(file_.get(), shorts_.data(), count));
    fromIntegers(std::span(shorts_).first(static_cast<std::size_t>(got) * static_cast<std::size_t>(format_.channels)),
                 samples);
  } else {
    got = static_cast<int>(sf_readf_double(file_.get(), samples, count));
    order_.apply({samples, static_cast<std::size_t>(got) * static_cast<std::size_t>(format_.channels)});
  }
  const double* const end = samples + static_cast<std::ptrdiff_t>(got) * format_.channels;
  if (integerBits(format_.format) == 0 && !std::isfinite(peakOf({samples, end}))) {
    const double* const bad =
        std::find_if_not(static_cast<const double*>(samples), end, [](double x) { return std::isfinite(x); });
    throw Failure(name_ + ": holds a sample that is not a number at " +
                  seconds(framesRead_ + (bad - samples) / format_.channels, format_.rate) +
                  "; repair the file, or cut that part out");
  }
  framesRead_ += got;
  if (got < count) {
    // The length of an MP3 is an estimate.
    const bool exact = format_.container() != SF_FORMAT_MPEG;
    const std::int64_t missing = exact && frames_ ? *frames_ - framesRead_ : 0;
    if (missing > kFewFrames) {
      throw Failure(name_ + ": ends early, after " + seconds(framesRead_, format_.rate) + " of " +
                    seconds(*frames_, format_.rate) + "; it is damaged or was cut off, fetch it again");
    }
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR) {
      throw Failure(name_ + ": is damaged after " + seconds(framesRead_, format_.rate) + " (" +
                    sf_strerror(file_.get()) + "); fetch it again");
    }
    if (missing > 0) {
      note_ = "the recording's header announces " + std::to_string(missing) + (missing == 1 ? " sample" : " samples") +
              " more than there are";
    }
  }
  return got;
}

bool AudioReader::isWhole() {
  if (!note_.empty() || !frames_ || *frames_ > info_.frames) return false;
  if (info_.frames == 0) return true;
  std::vector<double> frame(static_cast<std::size_t>(info_.channels));
  return sf_seek(file_.get(), info_.frames - 1, SEEK_SET) == info_.frames - 1 &&
         sf_readf_double(file_.get(), frame.data(), 1) == 1;
}

Metadata AudioReader::metadata() const { return {file_.get(), info_, rereadable_ ? name_ : ""}; }

// SPDX-License-Identifier: MIT
#include "cli/audio/AudioWriter.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "cli/samples/samples.h"
#include "cli/text/Failure.h"

namespace {

constexpr std::int64_t kMostBytes32 = 0xFFFFFFFF - 0x10000;  // of sound, in formats with 32-bit lengths
constexpr std::uint32_t kUnknownLength = 0xFFFFFFFF;
// The length that sox writes for streams and accepts as unknown without a warning. Other readers may stop there, so a
// sound that is certainly longer gets kUnknownLength.
constexpr std::uint32_t kUnknownWavLength = 0x7FFFF000;

int bytesPerSample(const AudioFormat& format) {
  const int bits = integerBits(format.format);
  if (bits != 0) return (bits + 7) / 8;
  switch (format.sampleFormat()) {
    case SF_FORMAT_FLOAT: return 4;
    case SF_FORMAT_DOUBLE: return 8;
    default: return 1;  // compressed
  }
}

std::int64_t mostFrames32(const AudioFormat& format, const Metadata& metadata) {
  const auto beside = static_cast<std::int64_t>(metadata.size());
  return (kMostBytes32 - beside) / (std::int64_t{bytesPerSample(format)} * format.channels);
}

// WAV changes to its 64-bit kind where the length asks for it, or is not known.
AudioFormat forLength(AudioFormat format, std::optional<std::int64_t> frames, const Metadata& metadata) {
  const bool isWav = format.container() == SF_FORMAT_WAV || format.container() == SF_FORMAT_WAVEX;
  if (isWav && (!frames || *frames > mostFrames32(format, metadata)))
    format.format = SF_FORMAT_RF64 | format.sampleFormat();
  return format;
}

class ByteString {
 public:
  explicit ByteString(bool bigEndian) : bigEndian_(bigEndian) {}
  ByteString& text(const char* four) {
    bytes_.insert(bytes_.end(), four, four + 4);
    return *this;
  }
  ByteString& number(std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) {
      const int place = bigEndian_ ? size - 1 - i : i;
      bytes_.push_back(static_cast<char>((value >> (8 * place)) & 0xFF));
    }
    return *this;
  }
  const std::vector<char>& bytes() const noexcept { return bytes_; }

 private:
  bool bigEndian_;
  std::vector<char> bytes_;
};

}  // namespace

// The library writes through these, so that every failed write is noticed, even if the codec ignores it. A stream
// cannot seek, so seeks only pretend to succeed.
SF_VIRTUAL_IO AudioWriter::operations() noexcept {
  SF_VIRTUAL_IO io = {};
  io.get_filelen = [](void* user) -> sf_count_t {
    const auto& writer = *static_cast<AudioWriter*>(user);
    if (!writer.pending_) return writer.streamed_;
    const off_t here = lseek(writer.descriptor_, 0, SEEK_CUR);
    const off_t length = lseek(writer.descriptor_, 0, SEEK_END);
    lseek(writer.descriptor_, here, SEEK_SET);
    return length;
  };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    const auto& writer = *static_cast<AudioWriter*>(user);
    return writer.pending_ ? lseek(writer.descriptor_, offset, whence) : writer.streamed_;
  };
  io.read = [](void* data, sf_count_t count, void* user) -> sf_count_t {
    const auto& writer = *static_cast<AudioWriter*>(user);
    return writer.pending_ ? ::read(writer.descriptor_, data, static_cast<std::size_t>(count)) : 0;
  };
  io.write = [](const void* data, sf_count_t count, void* user) -> sf_count_t {
    auto& writer = *static_cast<AudioWriter*>(user);
    writer.writeBytes(data, static_cast<std::size_t>(count));
    return writer.writeError_ == 0 ? count : 0;
  };
  io.tell = [](void* user) -> sf_count_t {
    const auto& writer = *static_cast<AudioWriter*>(user);
    return writer.pending_ ? lseek(writer.descriptor_, 0, SEEK_CUR) : writer.streamed_;
  };
  return io;
}

AudioWriter::AudioWriter(const std::string& path, const AudioFormat& format, const Options& options,
                         std::optional<std::int64_t> frames, const Metadata& metadata)
    : name_(path == "-" ? "standard output" : path),
      format_(format),
      metadata_(metadata),
      order_(orderInto(format.format, metadata.layout(), format.channels)) {
  metadata_.setLayout(orderedFor(format.format, metadata.layout()));
  const int bits = integerBits(format.format);
  if (options.dithers && bits != 0 && bits <= 16) dither_.emplace(bits);
  if (path == "-") {
    if (isatty(STDOUT_FILENO) != 0) {
      throw Failure("standard output is a terminal; pipe it into a player, or name a file", Failure::usage);
    }
    descriptor_ = STDOUT_FILENO;
    const bool bigEndian = format.container() == SF_FORMAT_AU;
    writeStreamHeader(frames.value_or(0));
    openLibrary(SF_FORMAT_RAW | format.sampleFormat() | (bigEndian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE), {});
  } else {
    format_ = forLength(format, frames, metadata_);
    checkLength(frames.value_or(0));
    pending_.emplace(path, options.replace);
    descriptor_ = pending_->descriptor();
    openLibrary(format_.format, options.quality);
    if (!frames) sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    metadata_.putInto(file_.get());
  }
}

void AudioWriter::openLibrary(int format, std::optional<double> quality) {
  SF_INFO info = {};
  info.samplerate = format_.rate;
  info.channels = format_.channels;
  info.format = format;
  SF_VIRTUAL_IO io = operations();
  file_.reset(sf_open_virtual(&io, SFM_WRITE, &info, this));
  if (file_ == nullptr) fail(sf_strerror(nullptr));
  sf_command(file_.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
  if (quality) {
    int mode = SF_BITRATE_MODE_VARIABLE;  // MP3's other modes have a bit rate instead of a quality
    sf_command(file_.get(), SFC_SET_BITRATE_MODE, &mode, sizeof mode);
    sf_command(file_.get(), SFC_SET_VBR_ENCODING_QUALITY, &*quality, sizeof *quality);
  }
  // It contains the time of day, but the same sound should give the same file.
  sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
}

void AudioWriter::writeStreamHeader(std::int64_t frames) {
  const int sampleBytes = bytesPerSample(format_);
  const auto frameBytes = static_cast<std::uint32_t>(sampleBytes * format_.channels);
  const auto rate = static_cast<std::uint32_t>(format_.rate);
  const auto channels = static_cast<std::uint32_t>(format_.channels);
  const bool isFloat = integerBits(format_.format) == 0;
  const std::uint32_t mask = speakerMask(metadata_.layout()).value_or(0);
  if (format_.container() == SF_FORMAT_WAV || format_.container() == SF_FORMAT_WAVEX) {
    const bool hasMask = format_.container() == SF_FORMAT_WAVEX && mask != 0;
    const std::uint32_t kind = isFloat ? 3 : 1;
    const std::uint32_t length = frames > kUnknownWavLength / frameBytes ? kUnknownLength : kUnknownWavLength;
    ByteString header(false);
    header.text("RIFF").number(length, 4).text("WAVE").text("fmt ");
    header.number(hasMask ? 40 : 16, 4).number(hasMask ? 0xFFFE : kind, 2);
    header.number(channels, 2).number(rate, 4).number(rate * frameBytes, 4).number(frameBytes, 2);
    header.number(static_cast<std::uint32_t>(sampleBytes) * 8, 2);
    if (hasMask) {  // the extension: valid bits, mask, and the kind as a GUID
      header.number(22, 2).number(static_cast<std::uint32_t>(sampleBytes) * 8, 2).number(mask, 4).number(kind, 4);
      header.number(0x00100000, 4).number(0xAA000080, 4).number(0x719B3800, 4);
    }
    header.text("data").number(length, 4);
    writeBytes(header.bytes().data(), header.bytes().size());
  } else if (format_.container() == SF_FORMAT_AU) {
    // Codes 2 to 5 are integers of 8 to 32 bits, 6 and 7 the floats.
    const int code = isFloat ? (sampleBytes == 4 ? 6 : 7) : sampleBytes + 1;
    ByteString header(true);
    header.text(".snd").number(24, 4).number(kUnknownLength, 4).number(static_cast<std::uint32_t>(code), 4);
    header.number(rate, 4).number(channels, 4);
    writeBytes(header.bytes().data(), header.bytes().size());
  }
}

void AudioWriter::writeBytes(const void* bytes, std::size_t count) {
  const char* next = static_cast<const char*>(bytes);
  while (count > 0 && writeError_ == 0) {
    const ssize_t written = ::write(descriptor_, next, count);
    if (written < 0) {
      if (errno != EINTR) writeError_ = errno;
      continue;
    }
    next += written;
    count -= static_cast<std::size_t>(written);
    streamed_ += written;
  }
}

// The library would write a wrong length without an error.
void AudioWriter::checkLength(std::int64_t frames) const {
  const bool has32Bits = format_.container() == SF_FORMAT_AIFF || format_.container() == SF_FORMAT_AU;
  if (has32Bits && frames > mostFrames32(format_, metadata_)) {
    throw Failure(name_ + ": this format ends at 4 GiB; choose .wav, .caf or .flac");
  }
}

void AudioWriter::write(std::span<const double> samples) {
  if (order_.isChange() || dither_) {
    changed_.assign(samples.begin(), samples.end());
    order_.apply(changed_);
    if (dither_) dither_->apply(changed_);
    samples = changed_;
  }
  const auto size = static_cast<sf_count_t>(samples.size());
  framesWritten_ += size / format_.channels;
  if (pending_) checkLength(framesWritten_);
  const int bits = integerBits(format_.format);
  sf_count_t written = 0;
  if (bits == 0) {
    if (!isLinear(format_.format)) {
      clipped_ += std::count_if(samples.begin(), samples.end(), [](double x) { return std::fabs(x) > 1.0; });
    }
    written = sf_write_double(file_.get(), samples.data(), size);
  } else if (bits == 16) {
    shorts_.resize(samples.size());
    clipped_ += toIntegers(samples, bits, shorts_.data());
    written = sf_write_short(file_.get(), shorts_.data(), size);
  } else {
    integers_.resize(samples.size());
    clipped_ += toIntegers(samples, bits, integers_.data());
    written = sf_write_int(file_.get(), integers_.data(), size);
  }
  if (writeError_ != 0) fail(systemError(writeError_));
  if (written != size) fail(sf_strerror(file_.get()));
}

void AudioWriter::finish() {
  const int result = sf_close(file_.release());
  if (writeError_ != 0) fail(systemError(writeError_));
  if (result != SF_ERR_NO_ERROR) fail(sf_error_number(result));
  if (!pending_) {
    const bool hasLayout = format_.container() == SF_FORMAT_WAVEX;
    dropped_ = metadata_.missingFrom(hasLayout ? metadata_.layoutAlone() : Metadata());
    return;
  }
  const std::string path = "/proc/self/fd/" + std::to_string(descriptor_);
  try {
    metadata_.addTo(descriptor_, path, format_.format);
  } catch (const Failure& failure) {
    fail(failure.what());
  }
  checkAndCompare(path);
  pending_->commit();
}

// Reads the file's end and everything besides the sound, because neither library reports every failed write.
void AudioWriter::checkAndCompare(const std::string& path) {
  SF_INFO info = {};
  lseek(descriptor_, 0, SEEK_SET);
  const std::unique_ptr<SNDFILE, Close> file(sf_open_fd(descriptor_, SFM_READ, &info, SF_FALSE));
  if (file == nullptr) fail(std::string("it could not be read back: ") + sf_strerror(nullptr));
  std::vector<double> frame(static_cast<std::size_t>(format_.channels));
  const bool isExact = info.format != (SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III);
  const bool isWhole = info.channels == format_.channels && (info.frames == framesWritten_ || !isExact) &&
                       (info.frames == 0 || (sf_seek(file.get(), info.frames - 1, SEEK_SET) == info.frames - 1 &&
                                             sf_readf_double(file.get(), frame.data(), 1) == 1));
  if (!isWhole) fail("its end could not be read back");
  dropped_ = metadata_.missingFrom(Metadata(file.get(), info, path));
}

void AudioWriter::fail(const std::string& reason) const {
  const std::string prefix = "Error : ";  // of some of the library's messages
  const std::string bare = reason.rfind(prefix, 0) == 0 ? reason.substr(prefix.size()) : reason;
  throw Failure(name_ + ": cannot be written (" + bare + "); " +
                (writeError_ == ENOSPC || writeError_ == EDQUOT || writeError_ == EFBIG
                     ? "make room, or write to another disk"
                     : "make room, or choose another place or format"));
}

// SPDX-License-Identifier: MIT
#pragma once

#include <sndfile.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

struct Sound {
  int rate = 44100;
  int channels = 1;
  int format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;
  std::vector<double> samples;  // interleaved
};

// Whether `condition` holds within a minute: long enough for a slow machine that is busy.
inline bool eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

// A separate folder for one test, in which the built command runs.
class CommandLine {
 public:
  CommandLine() {
    char name[] = "/tmp/brumbler-test-XXXXXX";
    folder = mkdtemp(name);
  }
  CommandLine(CommandLine&&) = delete;
  ~CommandLine() { fs::remove_all(folder); }

  // Runs `brumbler ARGUMENTS` as the shell reads them, preceded by `before` (such as a pipe into it). Returns the exit
  // status.
  int run(const std::string& arguments, const std::string& before = "") {
    const std::string line = "cd " + folder.string() + " && { " + before + " '" BRUMBLER_COMMAND "' " + arguments +
                             "; } >../" + out().filename().string() + " 2>../" + err().filename().string();
    const int status = std::system(line.c_str());  // NOLINT(concurrency-mt-unsafe): one thread
    outText = text(out());
    errText = text(err());
    fs::remove(out());
    fs::remove(err());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void write(const std::string& name, const Sound& sound) const {
    SF_INFO info{0, sound.rate, sound.channels, sound.format, 0, 0};
    SNDFILE* const file = sf_open((folder / name).c_str(), SFM_WRITE, &info);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    sf_write_double(file, sound.samples.data(), static_cast<sf_count_t>(sound.samples.size()));
    sf_close(file);
  }

  // Empty when there is no such file.
  Sound read(const std::string& name) const {
    SF_INFO info{};
    SNDFILE* const file = sf_open((folder / name).c_str(), SFM_READ, &info);
    if (file == nullptr) return {};
    Sound sound{info.samplerate, info.channels, info.format, {}};
    sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
    sf_read_double(file, sound.samples.data(), info.frames * info.channels);
    sf_close(file);
    return sound;
  }

  void writeText(const std::string& name, const std::string& content) const { std::ofstream(folder / name) << content; }
  // Empty when there is no such file.
  static std::string text(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string readText(const std::string& name) const { return text(folder / name); }

  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
    return names;
  }

  fs::path folder;
  std::string outText;
  std::string errText;

 private:
  fs::path out() const { return folder.string() + ".out"; }
  fs::path err() const { return folder.string() + ".err"; }
};

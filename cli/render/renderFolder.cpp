// SPDX-License-Identifier: MIT
#include "cli/render/renderFolder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

#include "cli/render/FileRenderer.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"

namespace {

namespace fs = std::filesystem;

std::string target(const std::string& file, const std::string& directory) {
  return (fs::path(directory) / fs::path(file).filename()).string();
}

void checkList(const std::vector<std::string>& files, const std::string& directory) {
  std::map<std::string, std::string> byTarget;
  std::error_code error;
  for (const std::string& file : files) {
    if (file == "-") throw Failure("--out-dir takes files, not a stream; leave - away", Failure::usage);
    const std::string to = target(file, directory);
    const auto [other, isNew] = byTarget.emplace(to, file);
    if (!isNew) {
      std::string message = file;
      message.append(" and ").append(other->second).append(": both would become ").append(to);
      throw Failure(message.append("; render them into two folders"), Failure::usage);
    }
    if (fs::equivalent(file, to, error)) {
      throw Failure(file + ": --out-dir is the folder of the recording itself; choose another", Failure::usage);
    }
  }
  fs::create_directories(directory, error);
  if (!fs::is_directory(directory, error)) {
    throw Failure(directory + ": is no folder and cannot be made one; choose another for --out-dir");
  }
}

// What the threads share.
class Batch {
 public:
  Batch(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& files,
        const std::string& directory, unsigned jobs)
      : renderer_(module, settings, jobs), settings_(settings), files_(files), directory_(directory) {
    for (const std::string& file : files) renderer_.announce(file, progress_);
  }

  void work() {
    for (std::size_t i = next_++; i < files_.size(); i = next_++) {
      const std::string out = target(files_[i], directory_);
      try {
        containerFor(out);
        take(renderer_.render(files_[i], out, progress_));
      } catch (const std::exception& error) {
        const std::string reason = error.what();
        const bool isNamed = reason.rfind(files_[i] + ":", 0) == 0 || reason.rfind(out + ":", 0) == 0;
        report(reason, isNamed ? "" : files_[i] + ": ");
        ++failed_;
      }
    }
  }

  void summarise(double secondsTaken) {
    progress_.clear();
    const std::size_t done = files_.size() - failed_;
    std::printf("%zu of %zu files in %s: %.2f s in %.2f s, %.0f times real time", done, files_.size(),
                directory_.c_str(), seconds_, secondsTaken, seconds_ / std::max(secondsTaken, 1e-6));
    std::puts(clippingText(clipped_, settings_).c_str());
    if (failed_ > 0) throw Failure(std::to_string(failed_) + " of " + std::to_string(files_.size()) + " files failed");
  }

 private:
  void take(const RenderResult& result) {
    if (!result.note.empty()) report(result.note, "note: ");
    const std::lock_guard guard(mutex_);
    seconds_ += result.seconds();
    clipped_ += result.clipped;
  }

  void report(const std::string& message, const std::string& before) {
    progress_.clear();
    const std::lock_guard guard(mutex_);
    std::fprintf(stderr, "brumbler: %s%s\n", before.c_str(), message.c_str());
  }

  FileRenderer renderer_;
  const RenderSettings& settings_;
  const std::vector<std::string>& files_;
  const std::string& directory_;
  Progress progress_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> failed_{0};
  std::mutex mutex_;
  double seconds_ = 0.0;
  std::int64_t clipped_ = 0;
};

}  // namespace

void renderFolder(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& files,
                  const std::string& directory) {
  checkList(files, directory);
  const auto begin = std::chrono::steady_clock::now();
  const auto jobs = static_cast<unsigned>(std::min<std::size_t>(FileRenderer::cores(), files.size()));
  Batch batch(module, settings, files, directory, jobs);
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < jobs; ++i) threads.emplace_back([&batch] { batch.work(); });
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  batch.summarise(taken.count());
}

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

#include "cli/files/PendingFolder.h"
#include "cli/render/FileRenderer.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"
#include "cli/text/numbers.h"

namespace {

namespace fs = std::filesystem;

// Where the result of `file` goes: under its own name, with the ending of --out-type.
std::string target(const std::string& file, const std::string& directory, const RenderSettings& settings) {
  fs::path name = fs::path(file).filename();
  if (settings.container) name.replace_extension(endingFor(*settings.container));
  return (fs::path(directory) / name).string();
}

void checkList(const std::vector<std::string>& files, const std::string& directory, const RenderSettings& settings) {
  std::map<std::string, std::string> byTarget;
  std::error_code error;
  for (const std::string& file : files) {
    if (file == "-") throw Failure("--out-dir takes files, not a stream; remove the -", Failure::usage);
    const std::string to = target(file, directory, settings);
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
}

// What the threads share.
class Batch {
 public:
  Batch(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& files,
        const std::string& directory, unsigned jobs)
      : renderer_(module, settings, jobs),
        settings_(settings),
        files_(files),
        directory_(directory),
        progress_(!settings.quiet) {
    for (const std::string& file : files) renderer_.announce(file, progress_);
  }

  void work() {
    for (std::size_t i = next_++; i < files_.size(); i = next_++) {
      const std::string& file = files_[i];
      const std::string out = target(file, directory_, settings_);
      try {
        if (settings_.skipExisting && fs::exists(out)) {
          ++skipped_;
        } else {
          take(file, renderer_.render(file, out, progress_));
        }
      } catch (const std::exception& error) {
        const std::string reason = error.what();
        report(reason.rfind(file + ":", 0) == 0 ? reason : file + ": " + reason);
        ++failed_;
      }
    }
  }

  void summarise(double secondsTaken) {
    progress_.clear();
    if (!settings_.quiet) {
      const std::size_t done = files_.size() - failed_ - skipped_;
      std::printf("%zu of %s", done, counted(files_.size(), "file").c_str());
      if (done > 0) {
        std::printf(" in %s: %.2f s in %.2f s, %.0f times real time", directory_.c_str(), seconds_, secondsTaken,
                    seconds_ / std::max(secondsTaken, 1e-6));
      }
      if (skipped_ > 0) std::printf(", %zu existed already", skipped_.load());
      std::puts(clippingText(clipped_, settings_).c_str());
      if (hot_ > 0) {
        std::fprintf(
            stderr,
            "brumbler: note: far above a guitar's own level, so that the fuzz is quieter: %zu of %s; --trim auto "
            "makes up for it\n",
            hot_, counted(done, "recording").c_str());
      }
    }
    if (failed_ > 0) throw Failure(std::to_string(failed_) + " of " + counted(files_.size(), "file") + " failed");
  }

 private:
  void take(const std::string& file, const RenderResult& result) {
    if (!settings_.quiet) {
      if (!result.note.empty()) report("note: " + file + ": " + result.note);
      const std::string clipping = clippingText(result.clipped, settings_);
      if (!clipping.empty()) report("note: " + file + ": " + clipping.substr(2));
    }
    const std::lock_guard guard(mutex_);
    seconds_ += result.seconds();
    if (result.missingTrim > 0.0) ++hot_;
    clipped_ += result.clipped;
  }

  void report(const std::string& message) {
    progress_.clear();
    const std::lock_guard guard(mutex_);
    std::fprintf(stderr, "brumbler: %s\n", message.c_str());
  }

  FileRenderer renderer_;
  const RenderSettings& settings_;
  const std::vector<std::string>& files_;
  const std::string& directory_;
  Progress progress_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> failed_{0};
  std::atomic<std::size_t> skipped_{0};
  std::mutex mutex_;
  std::size_t hot_ = 0;  // recordings that want a trim
  double seconds_ = 0.0;
  std::int64_t clipped_ = 0;
};

}  // namespace

void renderFolder(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& files,
                  const std::string& directory) {
  checkList(files, directory, settings);
  const PendingFolder folder(directory);
  const auto begin = std::chrono::steady_clock::now();
  const unsigned wanted = settings.jobs != 0 ? settings.jobs : FileRenderer::cores();
  const auto jobs = static_cast<unsigned>(std::min<std::size_t>(wanted, files.size()));
  Batch batch(module, settings, files, directory, jobs);
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < jobs; ++i) threads.emplace_back([&batch] { batch.work(); });
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  batch.summarise(taken.count());
}

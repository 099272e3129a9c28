// SPDX-License-Identifier: MIT
#include "cli/render/renderFolder.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include "cli/render/FileRenderer.h"
#include "cli/text/Failure.h"
#include "cli/text/Progress.h"
#include "cli/text/numbers.h"
#include "cli/text/printable.h"

namespace {

namespace fs = std::filesystem;

// A file's identity, whatever its name.
using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return Identity(status.st_dev, status.st_ino);
}

// The sounds in a folder and its subfolders, sorted. Links to folders are not followed, and results are not sources.
std::vector<std::string> soundsIn(const std::string& folder, const std::string& results) {
  std::vector<std::string> files;
  std::error_code error;
  for (auto entry = fs::recursive_directory_iterator(folder); entry != fs::recursive_directory_iterator(); ++entry) {
    if (entry->is_directory(error) && fs::equivalent(entry->path(), results, error)) entry.disable_recursion_pending();
    const std::string path = entry->path().string();
    if (entry->is_regular_file(error) && containerNamed(endingOf(path))) files.push_back(path);
  }
  std::sort(files.begin(), files.end());
  return files;
}

struct Job {
  std::string in, out;
};

// The result for each file: the same name, with the suffix, and the ending of --out-type. A name that an earlier result
// has gets a number. With `recursive`, folders stand for the sounds in them, which keep their relative paths.
std::vector<Job> planJobs(const std::vector<std::string>& paths, const std::string& directory,
                          const RenderSettings& settings, bool recursive) {
  std::vector<Job> jobs;
  std::map<std::string, std::string> byTarget;
  std::set<std::string> sources;
  const auto add = [&](const std::string& file, const fs::path& place) {
    if (!sources.insert(file).second) return;
    std::string ending = place.extension().string();
    if (settings.container) ending.assign(1, '.').append(endingFor(*settings.container));
    const std::string stem = (fs::path(directory) / place.parent_path() / place.stem()).string() + settings.suffix;
    std::string out = stem + ending;
    for (int number = 2; !byTarget.emplace(out, file).second; ++number) {
      out = stem;
      out.append("-").append(std::to_string(number)).append(ending);
    }
    jobs.push_back({file, out});
  };
  std::error_code error;
  for (const std::string& path : paths) {
    if (path == "-") throw Failure("--out-dir takes files, not a stream; remove the -", Failure::usage);
    if (!recursive || !fs::is_directory(path, error)) {
      add(path, fs::path(path).filename());
      continue;
    }
    for (const std::string& file : soundsIn(path, directory)) add(file, fs::path(file).lexically_relative(path));
  }
  if (jobs.empty()) throw Failure("there is no recording in the folders; name others", Failure::usage);

  std::map<Identity, std::string> recordings;
  for (const Job& job : jobs) {
    if (const auto identity = identityOf(job.in)) recordings.emplace(*identity, job.in);
  }
  for (const Job& job : jobs) {
    const auto identity = identityOf(job.out);
    if (!identity || recordings.count(*identity) == 0) continue;
    throw Failure(job.in + ": its result would replace the recording " + recordings[*identity] +
                      "; choose another --out-dir, or add a --suffix",
                  Failure::usage);
  }
  return jobs;
}

// Makes folders when they are needed, and at the end removes those it made that are still empty.
class MadeFolders {
 public:
  MadeFolders() = default;
  MadeFolders(const MadeFolders&) = delete;
  MadeFolders& operator=(const MadeFolders&) = delete;
  ~MadeFolders() {
    std::error_code error;
    for (auto folder = made_.rbegin(); folder != made_.rend(); ++folder) fs::remove(*folder, error);
  }

  // Throws Failure if there is no such folder and none can be made.
  void make(const fs::path& path) {
    const std::lock_guard guard(mutex_);
    std::error_code error;
    for (fs::path missing = path; !missing.empty() && !fs::exists(missing, error); missing = missing.parent_path()) {
      made_.insert(missing);
    }
    fs::create_directories(path, error);
    if (fs::is_directory(path)) return;
    throw Failure(path.string() + ": " + (error ? "cannot be made (" + error.message() + ")" : "is not a folder") +
                  "; choose another folder");
  }

 private:
  std::mutex mutex_;
  std::set<fs::path> made_;  // a folder comes before those in it
};

// The state that the threads share.
class Batch {
 public:
  Batch(const EffectModule& module, const RenderSettings& settings, const std::vector<Job>& jobs,
        const std::string& directory, unsigned threads)
      : renderer_(module, settings, threads),
        settings_(settings),
        jobs_(jobs),
        directory_(directory),
        progress_(!settings.quiet) {
    folders_.make(fs::path(directory + "/").parent_path());
    for (const Job& job : jobs) renderer_.announce(job.in, progress_);
  }

  void work() {
    for (std::size_t i = next_++; i < jobs_.size(); i = next_++) {
      const auto& [file, out] = jobs_[i];
      try {
        folders_.make(fs::path(out).parent_path());
        if (settings_.skipExisting && renderer_.isDone(out)) {
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
      const std::size_t done = jobs_.size() - failed_ - skipped_;
      std::printf("%zu of %s", done, counted(jobs_.size(), "file").c_str());
      if (done > 0) {
        std::printf(" in %s: %.2f s in %.2f s, %.0f times real time", printable(directory_).c_str(), seconds_,
                    secondsTaken, seconds_ / std::max(secondsTaken, 1e-6));
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
    if (failed_ > 0) throw Failure(std::to_string(failed_) + " of " + counted(jobs_.size(), "file") + " failed");
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
    std::fprintf(stderr, "brumbler: %s\n", printable(message).c_str());
  }

  FileRenderer renderer_;
  const RenderSettings& settings_;
  const std::vector<Job>& jobs_;
  const std::string& directory_;
  MadeFolders folders_;
  Progress progress_;
  std::atomic<std::size_t> next_{0};
  std::atomic<std::size_t> failed_{0};
  std::atomic<std::size_t> skipped_{0};
  std::mutex mutex_;
  std::size_t hot_ = 0;  // recordings that need a trim
  double seconds_ = 0.0;
  std::int64_t clipped_ = 0;
};

}  // namespace

void renderFolder(const EffectModule& module, const RenderSettings& settings, const std::vector<std::string>& paths,
                  const std::string& directory, bool recursive) {
  const std::vector<Job> jobs = planJobs(paths, directory, settings, recursive);
  const auto begin = std::chrono::steady_clock::now();
  const unsigned wanted = settings.jobs != 0 ? settings.jobs : FileRenderer::cores();
  const auto count = static_cast<unsigned>(std::min<std::size_t>(wanted, jobs.size()));
  Batch batch(module, settings, jobs, directory, count);
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 0; i < count; ++i) threads.emplace_back([&batch] { batch.work(); });
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
  batch.summarise(taken.count());
}

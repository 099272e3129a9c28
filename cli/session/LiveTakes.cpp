// SPDX-License-Identifier: MIT
#include "cli/session/LiveTakes.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <utility>

#include "cli/session/secondsText.h"
#include "cli/text/Failure.h"

namespace {

namespace fs = std::filesystem;
constexpr auto kBetweenLines = std::chrono::seconds(1);

// take.wav, then take-2.wav and so on.
std::string partPath(const std::string& path, int part) {
  if (part == 1) return path;
  const fs::path whole(path);
  return (whole.parent_path() / (whole.stem().string() + "-" + std::to_string(part) + whole.extension().string()))
      .string();
}

bool isSamePlace(const std::string& a, const std::string& b) {
  return fs::weakly_canonical(fs::absolute(a)) == fs::weakly_canonical(fs::absolute(b));
}

}  // namespace

LiveTakes::LiveTakes(std::string dryPath, std::string wetPath, bool replace, LivePlayer& player, LiveMessages& messages)
    : replace_(replace), player_(player), messages_(messages) {
  takes_[0].path = std::move(dryPath);
  takes_[1].path = std::move(wetPath);
  for (const Take& take : takes_) {
    if (!take.path.empty()) TakeFile::check(take.path, replace_);
  }
  if (!takes_[0].path.empty() && !takes_[1].path.empty() && isSamePlace(takes_[0].path, takes_[1].path)) {
    throw Failure("--record and --record-dry name the same file; give each its own", Failure::usage);
  }
}

void LiveTakes::start() {
  player_.record(nullptr, nullptr);
  for (Take& take : takes_) {
    if (take.recorder != nullptr && take.recorder->rate() != player_.rate()) end(take, false);
    if (take.path.empty() || take.recorder != nullptr) continue;
    while (take.part > 1 && fs::exists(partPath(take.path, take.part))) ++take.part;
    try {
      take.recorder = std::make_unique<TakeRecorder>(partPath(take.path, take.part), player_.rate(), player_.channels(),
                                                     replace_ && take.part == 1);
    } catch (const std::exception& failure) {
      if (!hasStarted_) throw;
      fail(failure.what(), false);  // a further file; the playing goes on without it
    }
  }
  hasStarted_ = true;
  player_.record(takes_[0].recorder.get(), takes_[1].recorder.get());
}

void LiveTakes::fail(const std::string& text, bool isTold) {
  if (!isTold || !failure_.empty()) messages_.say(text);
  if (failure_.empty()) failure_ = text;
}

void LiveTakes::end(Take& take, bool isLast) {
  if (take.recorder == nullptr) return;
  try {
    take.recorder->finish();
    messages_.say("Wrote " + take.recorder->file().path());
  } catch (const std::exception& failure) {
    fail(failure.what(), isLast);
  }
  take = {take.path, nullptr, 0, {}, false, take.part + 1};
}

void LiveTakes::end() {
  player_.record(nullptr, nullptr);
  for (Take& take : takes_) end(take, true);
}

void LiveTakes::check() {
  for (Take& take : takes_) {
    if (take.recorder == nullptr) continue;
    const std::int64_t lost = take.recorder->lostFrames();
    const std::string failure = take.recorder->failure();
    if (!failure.empty() && !take.failureTold) {
      take.failureTold = true;
      messages_.say(failure);
    } else if (failure.empty() && lost > take.lostTold && Clock::now() - take.lostTime >= kBetweenLines) {
      take.lostTime = Clock::now();
      messages_.say(take.recorder->file().path() + ": the disk is too slow; " +
                    secondsText(lost - take.lostTold, take.recorder->rate()) +
                    " are silent in the file, not in what you hear");
      take.lostTold = lost;
    }
  }
  const bool isOldRate = std::any_of(takes_.begin(), takes_.end(), [this](const Take& take) {
    return take.recorder != nullptr && take.recorder->rate() != player_.rate();
  });
  if (!isOldRate) return;
  messages_.say("The sample rate has changed: the take goes on in a file of its own");
  start();
}

std::vector<std::string> LiveTakes::lines() const {
  std::vector<std::string> lines;
  for (const Take& take : takes_) {
    if (take.recorder != nullptr) lines.push_back("Recording " + take.recorder->file().path());
  }
  return lines;
}

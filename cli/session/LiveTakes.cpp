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
constexpr auto kBetweenTries = std::chrono::seconds(2);  // to write again

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
    try {
      open(take);
    } catch (const std::exception& failure) {
      if (!hasStarted_) throw;
      fail(failure.what(), false);  // for a new file; playing continues without it
    }
  }
  hasStarted_ = true;
  attach();
}

// Throws what TakeRecorder throws. False if there is too little space for a new file.
bool LiveTakes::open(Take& take) {
  take.tryTime = Clock::now() + kBetweenTries;
  while (take.part > 1 && fs::exists(partPath(take.path, take.part))) ++take.part;
  const std::string path = partPath(take.path, take.part);
  std::error_code error;
  if (hasStarted_ && fs::space(fs::absolute(path).parent_path(), error).available < kLeastRoom) return false;
  take.recorder = std::make_unique<TakeRecorder>(path, player_.rate(), player_.channels(), replace_ && take.part == 1);
  return true;
}

void LiveTakes::attach() { player_.record(takes_[0].recorder.get(), takes_[1].recorder.get()); }

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
  take = {take.path, nullptr, 0, {}, take.part + 1, Clock::now() + kBetweenTries};
}

void LiveTakes::end() {
  player_.record(nullptr, nullptr);
  for (Take& take : takes_) end(take, true);
}

void LiveTakes::check() {
  if (!hasStarted_) return;
  const auto now = Clock::now();
  bool isOldRate = false;
  for (Take& take : takes_) {
    if (take.path.empty()) continue;
    if (take.recorder == nullptr) {
      if (now < take.tryTime) continue;
      try {
        if (!open(take)) continue;
        messages_.say("Recording again, in " + take.recorder->file().path());
        attach();
      } catch (const std::exception&) {
        continue;  // reported when it first failed
      }
    }
    if (!take.recorder->failure().empty()) {
      player_.record(nullptr, nullptr);
      end(take, false);
      attach();
      continue;
    }
    isOldRate = isOldRate || take.recorder->rate() != player_.rate();
    const std::int64_t lost = take.recorder->lostFrames();
    if (lost > take.lostTold && now - take.lostTime >= LiveMessages::kBetweenLines) {
      take.lostTime = now;
      messages_.say(take.recorder->file().path() + ": the disk is too slow; the file has " +
                    secondsText(lost - take.lostTold, take.recorder->rate()) + " of silence that you did not hear");
      take.lostTold = lost;
    }
  }
  if (!isOldRate) return;
  start();
  messages_.say("The sample rate has changed: takes go on in further files, without the first " +
                secondsText(player_.framesPlayed() - player_.framesAtRateChange(), player_.rate()));
}

std::vector<std::string> LiveTakes::lines() const {
  std::vector<std::string> lines;
  for (const Take& take : takes_) {
    if (take.recorder != nullptr) lines.push_back("Recording " + take.recorder->file().path());
  }
  return lines;
}

std::vector<std::string> LiveTakes::warnings() const {
  std::vector<std::string> lines;
  for (const Take& take : takes_) {
    if (hasStarted_ && !take.path.empty() && take.recorder == nullptr) {
      lines.push_back("NOT recording " + take.path + ": make room, or bring its folder back");
    }
  }
  return lines;
}

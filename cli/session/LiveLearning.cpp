// SPDX-License-Identifier: MIT
#include "cli/session/LiveLearning.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"

LiveLearning::LiveLearning(std::string path, bool isToLearn) : path_(std::move(path)) {
  const bool isNew = isToLearn && !std::filesystem::exists(path_);
  maps_.push_back(path_.empty() || isNew ? MidiMap() : MidiMap(path_));
}

void LiveLearning::start(LivePlayer& player, LiveMessages& messages) {
  if (path_.empty()) return messages.say("There is no file for what is learned; start with --midi-map FILE.json");
  learner_.emplace(maps_.back());
  player.listen(true);
  messages.say(learner_->request());
}

void LiveLearning::proceed(LivePlayer& player, LiveMessages& messages) {
  if (!learner_) return;
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  for (MidiControl control; player.nextHeard(control);) {
    const std::string learned = learner_->take(control, seconds);
    if (!learned.empty()) messages.say(learned + (learner_->isDone() ? "" : ". " + learner_->request()));
  }
  if (learner_->isDone()) finish(player, messages);
}

void LiveLearning::skip(LivePlayer& player, LiveMessages& messages) {
  learner_->skip();
  if (learner_->isDone()) return finish(player, messages);
  messages.say(learner_->request());
}

void LiveLearning::cancel(LivePlayer& player, LiveMessages& messages) {
  player.listen(false);
  learner_.reset();
  messages.say("Nothing is learned; the map is as it was");
}

void LiveLearning::finish(LivePlayer& player, LiveMessages& messages) {
  player.listen(false);
  maps_.push_back(learner_->map());
  learner_.reset();
  LiveChange change{LiveChange::Kind::useMap};
  change.map = &maps_.back();
  player.send(change);
  try {
    PendingFile file(path_, true);
    file.write(maps_.back().text());
    file.commit();
    messages.say("Wrote " + path_);
  } catch (const Failure& failure) {
    messages.say(failure.what());
  }
}

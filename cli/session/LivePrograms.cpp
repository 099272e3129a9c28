// SPDX-License-Identifier: MIT
#include "cli/session/LivePrograms.h"

#include <utility>
#include <vector>

#include "cli/effect/EffectParameter.h"
#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"

LivePrograms::LivePrograms(const EffectModule& module, const EffectSettings& settings, File file, LivePlayer& player,
                           LiveMessages& messages)
    : prototype_(module.createEffect(48000, 1)), file_(std::move(file)), player_(player), messages_(messages) {
  std::vector<std::string> names;
  for (int p = 0; p < LivePlayer::kNumParameters; ++p) names.emplace_back(catalog::kParameters[p].name);
  if (prototype_->record().numPrograms != LivePlayer::kNumPrograms || namesOf(parametersOf(*prototype_)) != names) {
    throw Failure("live plays the fuzz alone, and this module is something else; give the path of brumbler.so");
  }
  settings.applyTo(*prototype_);
  load();
  player_.landChanges();
}

// From the prototype into the player.
void LivePrograms::load() {
  const auto selected = static_cast<int>(prototype_->ask(EffectOpcode::getProgram));
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
    prototype_->setProgram(i);
    names_[static_cast<std::size_t>(i)] = askText(*prototype_, EffectOpcode::getProgramName);
    LiveChange change{LiveChange::Kind::storeProgram, i};
    for (int p = 0; p < LivePlayer::kNumParameters; ++p) {
      change.values[static_cast<std::size_t>(p)] = prototype_->parameter(p);
    }
    saved_[static_cast<std::size_t>(i)] = change.values;
    player_.send(change);
  }
  prototype_->setProgram(selected);
  player_.send({LiveChange::Kind::selectProgram, selected});
  fileTime_ = fileTime();
}

LivePrograms::AllValues LivePrograms::played() const {
  AllValues values;
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) values[static_cast<std::size_t>(i)] = player_.values(i);
  return values;
}

// Into the prototype.
void LivePrograms::update(const AllValues& values) {
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
    prototype_->setProgram(i);
    for (int p = 0; p < LivePlayer::kNumParameters; ++p) {
      prototype_->setParameter(p, values[static_cast<std::size_t>(i)][static_cast<std::size_t>(p)]);
    }
  }
  prototype_->setProgram(player_.program());
}

std::filesystem::file_time_type LivePrograms::fileTime() const {
  std::error_code error;
  return file_.path.empty() ? std::filesystem::file_time_type() : std::filesystem::last_write_time(file_.path, error);
}

void LivePrograms::readBank() {
  if (file_.path.empty()) return messages_.say("There is no bank to read again; start with --bank FILE.json");
  try {
    const Bank bank(file_.path, *prototype_);
    update(played());
    const int selected = player_.program();
    bank.restore(*prototype_);
    prototype_->setProgram(selected);
    load();
    messages_.say("Read " + file_.path);
  } catch (const Failure& failure) {
    messages_.say(std::string(failure.what()) + ". Nothing is changed");
  }
}

void LivePrograms::writeBank() {
  if (file_.path.empty()) return messages_.say("There is no file to write to; start with --bank FILE.json");
  try {
    write(played());
    messages_.say("Wrote " + file_.path);
  } catch (const Failure& failure) {
    messages_.say(failure.what());
  }
}

void LivePrograms::write(const AllValues& values) {
  update(values);
  PendingFile file(file_.path, true);
  file.write(Bank(*prototype_).text());
  file.commit();
  saved_ = values;
  fileTime_ = fileTime();
  isRefusalTold_ = false;
}

void LivePrograms::check() {
  if (std::exchange(storesDone_, player_.storeRequests()) != player_.storeRequests()) {
    if (file_.path.empty()) {
      messages_.say("There is no file to store the program in; start with --bank FILE.json");
    } else {
      const int program = player_.program();
      AllValues values = saved_;
      values.at(static_cast<std::size_t>(program)) = player_.values(program);
      try {
        write(values);
        messages_.say("Stored program " + std::to_string(program + 1) + " in " + file_.path);
      } catch (const Failure& failure) {
        messages_.say(failure.what());
      }
    }
  }
  if (!file_.keep) return;
  const AllValues now = played();
  if (now == saved_) return;
  if (std::exchange(seen_, now) != now) {
    changeTime_ = Clock::now();
  } else if (Clock::now() - changeTime_ >= kRest) {
    changeTime_ = Clock::now();
    keep();
  }
}

void LivePrograms::end() {
  if (file_.keep && played() != saved_) keep();
}

void LivePrograms::keep() {
  std::string refusal;
  if (fileTime() != fileTime_) {
    refusal = file_.path + ": another program has changed it, so it is not written; press w to write it all the same";
  } else {
    try {
      return write(played());
    } catch (const Failure& failure) {
      refusal = failure.what();
    }
  }
  if (!std::exchange(isRefusalTold_, true)) messages_.say(refusal);
}

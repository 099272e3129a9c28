// SPDX-License-Identifier: MIT
#include "cli/session/LivePrograms.h"

#include <utility>
#include <vector>

#include "cli/effect/Parameter.h"
#include "cli/files/PendingFile.h"
#include "cli/text/Failure.h"

LivePrograms::LivePrograms(const EffectModule& module, const EffectSettings& settings, std::string bankPath,
                           LivePlayer& player, LiveMessages& messages)
    : prototype_(module.createEffect(48000, 1)), bankPath_(std::move(bankPath)), player_(player), messages_(messages) {
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
    player_.send(change);
  }
  prototype_->setProgram(selected);
  player_.send({LiveChange::Kind::selectProgram, selected});
}

// From the player into the prototype.
void LivePrograms::update() {
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
    prototype_->setProgram(i);
    for (int p = 0; p < LivePlayer::kNumParameters; ++p) prototype_->setParameter(p, player_.value(i, p));
  }
  prototype_->setProgram(player_.program());
}

void LivePrograms::readBank() {
  if (bankPath_.empty()) return messages_.say("There is no bank to read again; start with --bank FILE.json");
  try {
    const Bank bank(bankPath_, *prototype_);
    update();
    const int selected = player_.program();
    bank.restore(*prototype_);
    prototype_->setProgram(selected);
    load();
    messages_.say("Read " + bankPath_);
  } catch (const Failure& failure) {
    messages_.say(std::string(failure.what()) + ". Nothing is changed");
  }
}

void LivePrograms::writeBank() {
  if (bankPath_.empty()) return messages_.say("There is no file to write to; start with --bank FILE.json");
  try {
    update();
    PendingFile file(bankPath_, true);
    file.write(Bank(*prototype_).text());
    file.commit();
    messages_.say("Wrote " + bankPath_);
  } catch (const Failure& failure) {
    messages_.say(failure.what());
  }
}

// SPDX-License-Identifier: MIT
#include "cli/session/LiveSession.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <thread>
#include <utility>

#include "cli/session/secondsText.h"
#include "cli/text/Failure.h"
#include "player/decibels.h"

namespace {

constexpr auto kTick = std::chrono::milliseconds(40);
constexpr auto kBetweenJoins = std::chrono::milliseconds(500);
constexpr auto kBetweenTunerLines = std::chrono::milliseconds(500);
constexpr auto kLongestFade = std::chrono::milliseconds(500);  // for the longest periods

std::string peakText(float peak) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f dBFS", decibels(static_cast<double>(peak)));
  return peak > 0.0F ? text : "silence";
}

}  // namespace

LiveSession::LiveSession(const EffectModule& module, const LiveSettings& settings)
    : wait_(settings.wait),
      learn_(settings.learn),
      learning_(settings.midiMapPath, settings.learn),
      player_(module, settings.stereo ? 2 : 1, settings.trim, settings.midiChannel, learning_.map()),
      programs_(module, settings.effect, settings.bank, player_, messages_),
      takes_(settings.recordDryPath, settings.recordPath, settings.replace, player_, messages_),
      tuner_(player_),
      jack_(player_, settings.jack) {}

void LiveSession::run() {
  signals_ = std::make_unique<LiveSignals>();
  if (!join() && !wait_) {
    throw Failure("no JACK server runs here; start one (jackd, or PipeWire with its JACK library), or add --wait");
  }
  screen_ = LiveScreen::open();
  messages_.showOnScreen(screen_ != nullptr);
  drawTime_ = Clock::now();
  if (learn_) learning_.start(player_, messages_);
  while (!signals_->hasQuit()) {
    pollfd keyboard = {screen_ != nullptr ? STDIN_FILENO : -1, POLLIN, 0};  // poll() ignores negative descriptors
    poll(&keyboard, 1, static_cast<int>(kTick.count()));
    if (signals_->takeReload()) programs_.readBank();
    if ((keyboard.revents & (POLLHUP | POLLERR)) != 0) signals_->quit();  // the terminal was closed
    if (screen_ != nullptr) readKeys();
    checkServer();
    learning_.proceed(player_, messages_);
    takes_.check();
    programs_.check();
    tuner_.listen();
    readPeaks();
    tellLatePeriods();
    tellPauses();
    tellTuner();
    if (screen_ != nullptr) draw();
  }
  fadeOut();
  finish();
  if (!takes_.failure().empty()) throw Failure(takes_.failure());
}

void LiveSession::fadeOut() {
  if (!jack_.isAlive()) return;
  player_.fadeOut();
  const auto begin = Clock::now();
  while (!player_.hasEnded() && jack_.isAlive() && Clock::now() - begin < kLongestFade) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void LiveSession::finish() {
  readPeaks();
  screen_.reset();
  messages_.showOnScreen(false);
  signals_->setPatient(true);  // with a slow disk
  takes_.end();
  programs_.end();
  tellEnd();
  signals_->setPatient(false);
}

bool LiveSession::join() {
  joinTime_ = Clock::now();
  try {
    if (!jack_.open()) {
      if (wait_ && waiting_.empty()) tellWaiting("Waiting for a JACK server");
      return false;
    }
  } catch (const Failure& failure) {  // the server refuses, or quits at this moment
    jack_.close();
    if (!wait_) throw;
    tellWaiting(std::string(failure.what()) + ". Trying again");
    return false;
  }
  waiting_.clear();
  const std::vector<std::string> misfits = jack_.misfits();
  if (!wait_ && jack_.lacksSound()) throw Failure(misfits.front());
  takes_.start();
  tellStart();
  for (const std::string& misfit : misfits) messages_.say(misfit);
  return true;
}

// Prints each text once, until there is a server.
void LiveSession::tellWaiting(const std::string& text) {
  if (std::exchange(waiting_, text) != text) messages_.say(text);
}

void LiveSession::checkServer() {
  if (jack_.isAlive() && !jack_.hasStalled()) return jack_.tend();
  if (waiting_.empty()) {
    std::string loss = "has stopped: it has asked for nothing in two seconds";
    if (!jack_.hasStalled()) {
      const std::string reason = jack_.lossReason();
      loss = "has gone" + (reason.empty() ? "" : " (" + reason + ")");
    }
    if (!wait_) {
      signals_->quit();  // a server that hangs gets the usual time to end
      finish();
      if (!takes_.failure().empty()) messages_.say(takes_.failure());
      throw Failure("the JACK server " + loss + "; start it again, or add --wait to wait for it");
    }
    jack_.close();
    tellWaiting("The JACK server " + loss + "; waiting for it");
  }
  player_.landChanges();
  if (Clock::now() - joinTime_ >= kBetweenJoins) join();
}

void LiveSession::readKeys() {
  for (int key = screen_->readKey(); key != LiveScreen::kNone; key = screen_->readKey()) obeyKey(key);
}

void LiveSession::obeyKey(int key) {
  using Kind = LiveChange::Kind;
  const auto turn = [this](float hundredths) { player_.send({Kind::turn, chosenKnob_, {hundredths}}); };
  if (learning_.isOn() && key == LiveScreen::kEscape) return learning_.cancel(player_, messages_);
  if (learning_.isOn() && key == LiveScreen::kEnter) return learning_.skip(player_, messages_);
  if (key >= '0' && key <= '9') {
    player_.send({Kind::selectProgram, key == '0' ? 9 : key - '1'});
    return;
  }
  switch (key) {
    case ' ': player_.send({Kind::toggle}); break;
    case LiveScreen::kUp: chosenKnob_ = LivePlayer::kFuzz; break;
    case LiveScreen::kDown: chosenKnob_ = LivePlayer::kVolume; break;
    case LiveScreen::kLeft: turn(-1.0F); break;
    case LiveScreen::kRight: turn(1.0F); break;
    case LiveScreen::kFarLeft: turn(-10.0F); break;
    case LiveScreen::kFarRight: turn(10.0F); break;
    case LiveScreen::kPageUp: player_.send({Kind::stepProgram, -1}); break;
    case LiveScreen::kPageDown: player_.send({Kind::stepProgram, 1}); break;
    case 'w': programs_.writeBank(); break;
    case 't': player_.send({Kind::tuner}); break;
    case 'm': learning_.start(player_, messages_); break;
    case '?': help_ = !help_; break;
    case 'c':
      lateCleared_ = jack_.latePeriods();
      clippedInCleared_ = player_.clippedIn();
      clippedOutCleared_ = player_.clippedOut();
      break;
    case 'q': signals_->quit(); break;
    default: break;
  }
}

void LiveSession::tellLatePeriods() {
  if (screen_ != nullptr) return;
  const int late = jack_.latePeriods();
  if (late == lateTold_ || Clock::now() - lateTime_ < LiveMessages::kBetweenLines) return;
  lateTime_ = Clock::now();
  const int more = late - std::exchange(lateTold_, late);
  messages_.say(std::to_string(more) + (more == 1 ? " period late, " : " periods late, ") + std::to_string(late) +
                " in all");
}

void LiveSession::tellPauses() {
  const std::int64_t paused = player_.framesPaused();
  const std::int64_t more = paused - std::exchange(pausedTold_, paused);
  if (more > 0)
    messages_.say("The server changed its period or rate: " + secondsText(more, player_.rate()) + " of silence");
  const int lost = player_.messagesLost();
  const int moreLost = lost - std::exchange(messagesLostTold_, lost);
  if (moreLost > 0) messages_.say(std::to_string(moreLost) + " MIDI messages were lost meanwhile");
}

void LiveSession::tellTuner() {
  const bool isOn = player_.isTuning();
  if (std::exchange(tuningTold_, isOn) != isOn) {
    messages_.say(isOn ? "Tuner on; the output is muted" : "Tuner off");
    tunerTold_.clear();
  }
  if (!isOn || screen_ != nullptr || Clock::now() - tunerTime_ < kBetweenTunerLines) return;
  const std::string text = tuner_.text();
  if (std::exchange(tunerTold_, text) == text) return;
  tunerTime_ = Clock::now();
  messages_.say("Tuner: " + text);
}

void LiveSession::tellStart() {
  char text[96];
  std::snprintf(text, sizeof text, "%d Hz, periods of %d samples (%.1f ms)", player_.rate(), jack_.period(),
                1000.0 * jack_.period() / player_.rate());
  messages_.say("Playing program " + std::to_string(player_.program() + 1) + ", " + programs_.name(player_.program()) +
                ", at " + text + ": " + jack_.connectionsText());
  if (!jack_.isRealTime()) messages_.say("No real-time priority, so expect late periods (docs/stompbox.md)");
}

void LiveSession::tellEnd() const {
  LiveMessages::print("Played " + secondsText(player_.framesPlayed(), player_.rate()) + ", peak in " +
                      peakText(highestIn_) + ", out " + peakText(highestOut_) +
                      ", late periods: " + std::to_string(jack_.latePeriods()));
}

void LiveSession::readPeaks() {
  peaks_ = player_.takePeaks();
  for (std::size_t c = 0; c < LivePlayer::kMostChannels; ++c) {
    highestIn_ = std::max(highestIn_, peaks_.in[c]);
    highestOut_ = std::max(highestOut_, peaks_.out[c]);
  }
}

void LiveSession::draw() {
  const auto now = Clock::now();
  LiveView view;
  view.isPlaying = jack_.isAlive();
  view.rate = player_.rate();
  view.period = jack_.period();
  view.load = jack_.load();
  view.latePeriods = jack_.latePeriods() - lateCleared_;
  view.program = player_.program();
  view.programName = programs_.name(view.program);
  view.values = player_.values(view.program);
  view.chosenKnob = chosenKnob_;
  view.channels = player_.channels();
  view.peaks = peaks_;
  view.clippedIn = player_.clippedIn() > clippedInCleared_;
  view.clippedOut = player_.clippedOut() > clippedOutCleared_;
  view.lines = takes_.lines();
  view.lines.insert(view.lines.begin(), jack_.connectionsText());
  view.warnings = takes_.warnings();
  view.isTuning = player_.isTuning();
  view.note = tuner_.note();
  view.help = help_;
  view.message = messages_.newest(learning_.isOn());
  screen_->draw(view, std::chrono::duration<double>(now - drawTime_).count());
  drawTime_ = now;
}

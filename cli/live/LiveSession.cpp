// SPDX-License-Identifier: MIT
#include "cli/live/LiveSession.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iterator>
#include <thread>
#include <utility>

#include "cli/effect/Parameter.h"
#include "cli/files/PendingFile.h"
#include "cli/live/TakeRecorder.h"
#include "cli/text/Failure.h"
#include "cli/text/numbers.h"

namespace {

constexpr auto kTick = std::chrono::milliseconds(40);
constexpr auto kBetweenJoins = std::chrono::milliseconds(500);
constexpr auto kBetweenLines = std::chrono::seconds(1);
constexpr auto kMessageStays = std::chrono::seconds(6);
constexpr timespec kLongestEnd = {3, 0};                       // of a server that does not answer
constexpr auto kLongestFade = std::chrono::milliseconds(500);  // with the longest of periods

std::string peakText(float peak) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f dBFS", decibels(static_cast<double>(peak)));
  return peak > 0.0F ? text : "silence";
}

std::string secondsText(std::int64_t frames, int rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", static_cast<double>(frames) / std::max(rate, 1));
  return text;
}

// take.wav, then take-2.wav and so on.
std::string partPath(const std::string& path, int part) {
  if (part == 1) return path;
  const std::filesystem::path whole(path);
  return (whole.parent_path() / (whole.stem().string() + "-" + std::to_string(part) + whole.extension().string()))
      .string();
}

MidiMap firstMap(const LiveSettings& settings) {
  const bool isNew = settings.learn && !std::filesystem::exists(settings.midiMapPath);
  return settings.midiMapPath.empty() || isNew ? MidiMap() : MidiMap(settings.midiMapPath);
}

}  // namespace

LiveSession::LiveSession(const EffectModule& module, LiveSettings settings)
    : prototype_(module.createEffect(48000, 1)),
      settings_(std::move(settings)),
      maps_({firstMap(settings_)}),
      player_(module, settings_.stereo ? 2 : 1, settings_.trim, settings_.midiChannel, maps_.front()),
      jack_(player_, settings_.jack) {
  std::vector<std::string> names;
  for (int p = 0; p < LivePlayer::kNumParameters; ++p) names.emplace_back(catalog::kParameters[p].name);
  if (prototype_->record().numPrograms != LivePlayer::kNumPrograms || namesOf(parametersOf(*prototype_)) != names) {
    throw Failure("live plays the fuzz alone, and this module is something else; give the path of brumbler.so");
  }
  dry_.path = settings_.recordDryPath;
  wet_.path = settings_.recordPath;
  for (const Take* take : {&dry_, &wet_}) {
    if (!take->path.empty()) TakeFile::check(take->path, settings_.replace);
  }
  const auto place = [](const std::string& path) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path));
  };
  if (!dry_.path.empty() && !wet_.path.empty() && place(dry_.path) == place(wet_.path)) {
    throw Failure("--record and --record-dry name the same file; give each its own", Failure::usage);
  }
  settings_.effect.applyTo(*prototype_);
  loadPrograms();
  player_.landChanges();
}

LiveSession::~LiveSession() = default;

// From the prototype into the player.
void LiveSession::loadPrograms() {
  const auto selected = static_cast<int>(prototype_->ask(EffectOpcode::getProgram));
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
    prototype_->setProgram(i);
    names_[static_cast<std::size_t>(i)] = askText(*prototype_, EffectOpcode::getProgramName);
    LiveChange change{LiveChange::Kind::storeProgram, i};
    for (int p = 0; p < LivePlayer::kNumParameters; ++p) {
      change.values[static_cast<std::size_t>(p)] = prototype_->parameter(p);
    }
    send(change);
  }
  prototype_->setProgram(selected);
  send({LiveChange::Kind::selectProgram, selected});
}

// From the player into the prototype.
void LiveSession::syncPrototype() {
  for (int i = 0; i < LivePlayer::kNumPrograms; ++i) {
    prototype_->setProgram(i);
    for (int p = 0; p < LivePlayer::kNumParameters; ++p) prototype_->setParameter(p, player_.value(i, p));
  }
  prototype_->setProgram(player_.program());
}

void LiveSession::readBankAgain() {
  if (settings_.bankPath.empty()) return say("There is no bank to read again; start with --bank FILE.json");
  try {
    const Bank bank(settings_.bankPath, *prototype_);
    syncPrototype();
    const int selected = player_.program();
    bank.restore(*prototype_);
    prototype_->setProgram(selected);
    loadPrograms();
    say("Read " + settings_.bankPath);
  } catch (const Failure& failure) {
    say(std::string(failure.what()) + ". Nothing is changed");
  }
}

void LiveSession::writeBank() {
  if (settings_.bankPath.empty()) return say("There is no file to write to; start with --bank FILE.json");
  try {
    syncPrototype();
    PendingFile file(settings_.bankPath, true);
    file.write(Bank(*prototype_).text());
    file.commit();
    say("Wrote " + settings_.bankPath);
  } catch (const Failure& failure) {
    say(failure.what());
  }
}

// The audio thread takes changes out at every period. As long as there is none, this thread lands them itself.
void LiveSession::send(const LiveChange& change) {
  for (int tries = 0; tries < 100 && !player_.send(change); ++tries) {
    if (!jack_.isAlive()) player_.landChanges();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

LiveSession::Signals::Signals() {
  // Blocked for all threads that come.
  sigemptyset(&set_);
  for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) sigaddset(&set_, signal);
  pthread_sigmask(SIG_BLOCK, &set_, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // of a server that goes while it is written to
  thread_ = std::thread([this] { run(); });
}

LiveSession::Signals::~Signals() {
  done_ = true;
  pthread_kill(thread_.native_handle(), SIGHUP);
  thread_.join();
}

void LiveSession::Signals::run() {
  for (;;) {
    const int step = step_;
    const int signal = quit_ ? sigtimedwait(&set_, nullptr, &kLongestEnd) : sigwaitinfo(&set_, nullptr);
    if (done_) return;
    if (signal == SIGHUP) {
      reload_ = true;
    } else if (signal > 0 && !quit_) {
      quit_ = true;
    } else if (signal > 0 || (errno == EAGAIN && !patient_ && step == step_)) {
      LiveScreen::giveBack();
      std::fprintf(
          stderr, "brumbler: %s\n",
          signal > 0 ? "ended at once by a second signal" : "the JACK server does not answer; ended without it");
      _exit(Failure::failed);
    }
  }
}

void LiveSession::run() {
  signals_ = std::make_unique<Signals>();
  if (!join() && !settings_.wait) {
    throw Failure("no JACK server runs here; start one (jackd, or PipeWire with its JACK library), or add --wait");
  }
  screen_ = LiveScreen::open();
  drawTime_ = Clock::now();
  if (settings_.learn) startLearning();
  while (!signals_->hasQuit()) {
    // The descriptor of a keyboard that is none is left out by its sign.
    pollfd keyboard = {screen_ != nullptr ? STDIN_FILENO : -1, POLLIN, 0};
    poll(&keyboard, 1, static_cast<int>(kTick.count()));
    if (signals_->takeReload()) readBankAgain();
    if ((keyboard.revents & (POLLHUP | POLLERR)) != 0) signals_->quit();  // the terminal was closed
    if (screen_ != nullptr) readKeys();
    checkServer();
    learn();
    checkTakes();
    readPeaks();
    tellLatePeriods();
    if (screen_ != nullptr) draw();
  }
  if (jack_.isAlive()) {
    player_.fadeOut();
    const auto begin = Clock::now();
    while (!player_.hasEnded() && jack_.isAlive() && Clock::now() - begin < kLongestFade) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  finish();
  jack_.close();  // last, because a server that hangs answers never
  if (!takeFailure_.empty()) throw Failure(takeFailure_);
}

void LiveSession::finish() {
  readPeaks();
  screen_.reset();
  signals_->setPatient(true);  // with a slow disk
  player_.record(nullptr, nullptr);
  endTakes();
  tellEnd();
  signals_->setPatient(false);
}

bool LiveSession::join() {
  joinTime_ = Clock::now();
  try {
    if (!jack_.open()) {
      if (settings_.wait) tellWaiting("Waiting for a JACK server");
      return false;
    }
  } catch (const Failure& failure) {  // it refuses, or goes at this moment
    jack_.close();
    if (!settings_.wait) throw;
    tellWaiting(std::string(failure.what()) + ". Trying again");
    return false;
  }
  waiting_.clear();
  const std::vector<std::string> misfits = jack_.misfits();
  if (!settings_.wait && jack_.lacksSound()) throw Failure(misfits.front());
  startTakes();
  hasJoined_ = true;
  tellStart();
  for (const std::string& misfit : misfits) say(misfit);
  return true;
}

// Each text once, until a server is there.
void LiveSession::tellWaiting(const std::string& text) {
  if (std::exchange(waiting_, text) != text) say(text);
}

void LiveSession::checkServer() {
  if (jack_.isAlive()) return jack_.tend();
  if (waiting_.empty()) {
    jack_.close();
    std::string reason = jack_.lossReason();
    if (!reason.empty()) reason = " (" + reason + ")";
    if (!settings_.wait) {
      finish();
      throw Failure("the JACK server has gone" + reason + "; start it again, or add --wait to wait for it");
    }
    tellWaiting("The JACK server has gone" + reason + "; waiting for it");
  }
  player_.landChanges();
  if (Clock::now() - joinTime_ >= kBetweenJoins) join();
}

// A take of another rate goes on in a part of its own. Once it plays, a part that cannot be written ends no playing.
void LiveSession::startTakes() {
  player_.record(nullptr, nullptr);
  for (Take* take : {&dry_, &wet_}) {
    if (take->recorder != nullptr && take->recorder->rate() != player_.rate()) endTake(*take);
    if (take->path.empty() || take->recorder != nullptr) continue;
    while (take->part > 1 && std::filesystem::exists(partPath(take->path, take->part))) ++take->part;
    try {
      take->recorder = std::make_unique<TakeRecorder>(partPath(take->path, take->part), player_.rate(),
                                                      player_.channels(), settings_.replace && take->part == 1);
    } catch (const std::exception& failure) {
      if (!hasJoined_) throw;
      tellTakeFailure(failure.what());
    }
  }
  player_.record(dry_.recorder.get(), wet_.recorder.get());
}

void LiveSession::tellTakeFailure(const std::string& text) {
  if (takeFailure_.empty()) takeFailure_ = text;
  if (!signals_->hasQuit()) say(text);
}

void LiveSession::endTake(Take& take) {
  if (take.recorder == nullptr) return;
  try {
    take.recorder->finish();
    say("Wrote " + take.recorder->file().path());
  } catch (const std::exception& failure) {
    tellTakeFailure(failure.what());
  }
  take = {take.path, nullptr, 0, {}, false, take.part + 1};
}

void LiveSession::endTakes() {
  for (Take* take : {&dry_, &wet_}) endTake(*take);
}

void LiveSession::checkTakes() {
  Take* const takes[] = {&dry_, &wet_};
  for (Take* take : takes) {
    if (take->recorder == nullptr) continue;
    const std::int64_t lost = take->recorder->lostFrames();
    const std::string failure = take->recorder->failure();
    if (!failure.empty() && !take->failureTold) {
      take->failureTold = true;
      say(failure);
    } else if (failure.empty() && lost > take->lostTold && Clock::now() - take->lostTime >= kBetweenLines) {
      take->lostTime = Clock::now();
      say(take->recorder->file().path() + ": the disk is too slow; " +
          secondsText(lost - take->lostTold, take->recorder->rate()) + " are silent in the file, not in what you hear");
      take->lostTold = lost;
    }
  }
  const bool isOldRate = std::any_of(std::begin(takes), std::end(takes), [this](const Take* take) {
    return take->recorder != nullptr && take->recorder->rate() != player_.rate();
  });
  if (!isOldRate) return;
  say("The rate is another now: the take goes on in a file of its own");
  startTakes();
}

void LiveSession::startLearning() {
  if (settings_.midiMapPath.empty())
    return say("There is no file for what is learned; start with --midi-map FILE.json");
  learner_.emplace(maps_.back());
  player_.listen(true);
  say(learner_->request());
}

void LiveSession::learn() {
  if (!learner_) return;
  const double seconds = std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
  for (MidiControl control; player_.nextHeard(control);) {
    const std::string learned = learner_->take(control, seconds);
    if (!learned.empty()) say(learned + (learner_->isDone() ? "" : ". " + learner_->request()));
  }
  if (learner_->isDone()) endLearning(true);
}

void LiveSession::endLearning(bool write) {
  player_.listen(false);
  const MidiMap map = learner_->map();
  learner_.reset();
  if (!write) return say("Nothing is learned; the map is as it was");
  maps_.push_back(map);
  LiveChange change{LiveChange::Kind::useMap};
  change.map = &maps_.back();
  send(change);
  try {
    PendingFile file(settings_.midiMapPath, true);
    file.write(map.text());
    file.commit();
    say("Wrote " + settings_.midiMapPath);
  } catch (const Failure& failure) {
    say(failure.what());
  }
}

void LiveSession::readKeys() {
  for (int key = screen_->readKey(); key != LiveScreen::kNone; key = screen_->readKey()) obeyKey(key);
}

void LiveSession::obeyKey(int key) {
  using Kind = LiveChange::Kind;
  const auto turn = [this](float hundredths) { send({Kind::turn, chosenKnob_, {hundredths}}); };
  if (learner_ && key == LiveScreen::kEscape) return endLearning(false);
  if (learner_ && key == LiveScreen::kEnter) {
    learner_->skip();
    return learner_->isDone() ? endLearning(true) : say(learner_->request());
  }
  if (key >= '0' && key <= '9') return send({Kind::selectProgram, key == '0' ? 9 : key - '1'});
  switch (key) {
    case ' ': return send({Kind::toggle});
    case LiveScreen::kUp: chosenKnob_ = LivePlayer::kFuzz; break;
    case LiveScreen::kDown: chosenKnob_ = LivePlayer::kVolume; break;
    case LiveScreen::kLeft: return turn(-1.0F);
    case LiveScreen::kRight: return turn(1.0F);
    case LiveScreen::kFarLeft: return turn(-10.0F);
    case LiveScreen::kFarRight: return turn(10.0F);
    case LiveScreen::kPageUp: return send({Kind::stepProgram, -1});
    case LiveScreen::kPageDown: return send({Kind::stepProgram, 1});
    case 'w': return writeBank();
    case 'm': return startLearning();
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

void LiveSession::say(const std::string& text) {
  message_ = text;
  messageTime_ = Clock::now();
  if (screen_ != nullptr) return;
  std::printf("brumbler: %s\n", text.c_str());
  std::fflush(stdout);
}

void LiveSession::tellLatePeriods() {
  if (screen_ != nullptr) return;
  const int late = jack_.latePeriods();
  if (late == lateTold_ || Clock::now() - lateTime_ < kBetweenLines) return;
  lateTime_ = Clock::now();
  const int more = late - std::exchange(lateTold_, late);
  say(std::to_string(more) + (more == 1 ? " period late, " : " periods late, ") + std::to_string(late) + " in all");
}

void LiveSession::tellStart() {
  char text[96];
  std::snprintf(text, sizeof text, "%d Hz, periods of %d samples (%.1f ms)", player_.rate(), jack_.period(),
                1000.0 * jack_.period() / player_.rate());
  say("Playing program " + std::to_string(player_.program() + 1) + ", " +
      names_[static_cast<std::size_t>(player_.program())] + ", at " + text + ": " + jack_.connectionsText());
  if (!jack_.isRealTime()) say("No real-time priority, so expect late periods (docs/stompbox.md)");
}

void LiveSession::tellEnd() const {
  std::printf("brumbler: Played %s, peak in %s, out %s, late periods: %d\n",
              secondsText(player_.framesPlayed(), player_.rate()).c_str(), peakText(highestIn_).c_str(),
              peakText(highestOut_).c_str(), jack_.latePeriods());
  std::fflush(stdout);
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
  view.programName = names_[static_cast<std::size_t>(view.program)];
  view.values = player_.values(view.program);
  view.chosenKnob = chosenKnob_;
  view.channels = player_.channels();
  view.peaks = peaks_;
  view.clippedIn = player_.clippedIn() > clippedInCleared_;
  view.clippedOut = player_.clippedOut() > clippedOutCleared_;
  view.lines.push_back(jack_.connectionsText());
  for (const Take* take : {&dry_, &wet_}) {
    if (take->recorder != nullptr) view.lines.push_back("Recording " + take->recorder->file().path());
  }
  view.help = help_;
  if (learner_ || now - messageTime_ < kMessageStays) view.message = message_;
  screen_->draw(view, std::chrono::duration<double>(now - drawTime_).count());
  drawTime_ = now;
}

#include "Playback.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Commands.h"
#include "Failure.h"
#include "Interruption.h"
#include "OrvCoreAudio/OrvAudioDeviceNotifications.h"
#include "OrvPlatform/Log.h"
#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/VirtualHardware.h"
#include "PositionLine.h"
#include "Text.h"
#include "TimeText.h"

namespace orv::cli {
namespace {

using namespace std::chrono_literals;

constexpr bool kOutput = false;
constexpr auto kUpdateInterval = 40ms;
/// A device that takes nothing for so long is not coming back.
constexpr auto kPatience = 5s;
constexpr double kStep = 5;       // seconds
constexpr double kLongStep = 30;  // seconds

/// Only a virtual device has a clock that can wait, and it does not mind.
OutputClock::Pace paceOfHardware() {
  const auto hardware = std::dynamic_pointer_cast<VirtualHardware>(audioHardware());
  const bool isFast = hardware != nullptr && (hardware->clock() == VirtualClock::accelerated ||
                                              hardware->clock() == VirtualClock::asFastAsItGoes);
  return isFast ? OutputClock::Pace::ofDeck : OutputClock::Pace::ofDevice;
}

}  // namespace

Playback::Playback(PlayRequest request)
    : request_(std::move(request)),
      deviceName_(printable(request_.device->description())),
      terminal_(Terminal::open()),
      line_(!request_.isQuiet),
      pace_(paceOfHardware()),
      pausedAt_(request_.from) {
  const auto note = [this](const Notification&) { hasChanged_ = true; };
  NotificationCenter& center = NotificationCenter::defaultCenter();
  formatChanges_ = center.addObserver(OrvAudioDeviceStreamFormatDidChangeNotification, request_.device, note);
  rateChanges_ = center.addObserver(OrvAudioDeviceNominalSampleRateDidChangeNotification, request_.device, note);
}

Playback::~Playback() {
  halt();
}

void Playback::run() {
  start(request_.from);
  const auto update = RunLoop::main().every(kUpdateInterval, [this] { attend(); });
  RunLoop::main().runUntil(
      [this] {
        advance();
        return state_ == State::done || state_ == State::quit || interruption();
      },
      std::chrono::nanoseconds::max());
  halt();
  finish();
}

/// The clock is asked before the deck in every cycle, the levels are taken behind it.
void Playback::start(std::uint32_t from) {
  OrvAudioDevice& device = *request_.device;
  if (deck_ == nullptr) {
    deck_ = Deck::make(request_.kind, request_.device, request_.path, request_.decibels);
  }
  clock_ = std::make_shared<OutputClock>(deck_, pace_);
  device.addAudioIOSubscriber_forInput(clock_, kOutput);
  // The graph's cycles are not those of this object, and would be over before these begin.
  const bool isClockFirst = request_.kind == Deck::Kind::graph && pace_ == OutputClock::Pace::ofDeck;
  if (isClockFirst) {
    device.start();
  }
  const bool plays = deck_->play(from, request_.to);
  if (!isClockFirst) {
    device.start();  // a second time: it goes on when the deck has ended, until all has been heard
  }
  isHeld_ = true;
  clock_->arm();
  device.addAudioIOSubscriber_forInput(tap_, kOutput);
  cyclesSeen_ = 0;
  lastCycle_ = std::chrono::steady_clock::now();
  pausedAt_ = from;
  state_ = State::playing;
  if (!plays || !device.isRunning()) {
    fail(device.isAlive() ? "the device can't be started" : "the device is gone");
  }
}

/// Afterwards the deck stands still, at `pausedAt_`.
void Playback::halt() {
  if (!isHeld_) {
    return;
  }
  OrvAudioDevice& device = *request_.device;
  clock_->release();
  deck_->stop();
  device.stop();
  isHeld_ = false;
  device.removeAudioIOSubscriber_forInput(tap_, kOutput);
  device.removeAudioIOSubscriber_forInput(clock_, kOutput);
  pausedAt_ = deck_->position();
  // The end that a cycle has noticed stops the device here.
  while (RunLoop::main().pump() > 0) {
  }
}

/// At every update.
void Playback::attend() {
  if (terminal_ != nullptr) {
    for (const Key key : terminal_->keys()) {
      perform(key);
    }
    if (terminal_->isSuspensionWanted()) {
      suspend();
    }
  }
  checkDevice();
  draw();
}

void Playback::advance() {
  if (state_ == State::playing && !deck_->isPlaying()) {
    if (!request_.device->isAlive()) {
      return fail("the device is gone");
    }
    // The last frame is with the device, and is heard that much later.
    const OrvAudioDevice& device = *request_.device;
    end_ = clock_->frames() + device.latency(kOutput) + device.safetyOffset(kOutput) + device.bufferFrameSize(kOutput);
    clock_->endAt(end_);
    state_ = State::ending;
  }
  if (state_ == State::ending && clock_->frames() >= end_) {
    state_ = State::done;
  }
}

void Playback::checkDevice() {
  const auto now = std::chrono::steady_clock::now();
  if (state_ == State::quit || state_ == State::done) {
    return;
  }
  if (!request_.device->isAlive()) {
    fail("the device is gone");
    return;
  }
  if (state_ != State::playing && state_ != State::ending) {
    return;
  }
  if (hasChanged_) {
    changeDeck();
  }
  if (clock_->cycles() != cyclesSeen_) {
    cyclesSeen_ = clock_->cycles();
    lastCycle_ = now;
  } else if (now - lastCycle_ > kPatience) {
    fail("the device takes nothing");
  }
}

/// The old one goes on making samples for what the device was before.
void Playback::changeDeck() {
  hasChanged_ = false;
  if (state_ != State::playing) {
    return;
  }
  halt();
  lateCycles_ += deck_->lateCycles();
  deck_ = nullptr;
  start(pausedAt_);
}

void Playback::perform(Key key) {
  if (state_ != State::playing && state_ != State::paused) {
    return;
  }
  switch (key) {
    case Key::pause:
      if (state_ == State::paused) {
        start(pausedAt_);
      } else {
        halt();
        state_ = State::paused;
      }
      break;
    case Key::left:
      return seek(-kStep);
    case Key::right:
      return seek(kStep);
    case Key::down:
      return seek(-kLongStep);
    case Key::up:
      return seek(kLongStep);
    case Key::quit:
      state_ = State::quit;
      break;
  }
}

void Playback::seek(double seconds) {
  const double wanted = position() + std::round(seconds * request_.sampleRate);
  const auto frame = static_cast<std::uint32_t>(
      std::clamp(wanted, static_cast<double>(request_.from), static_cast<double>(request_.to)));
  if (state_ == State::paused) {
    pausedAt_ = frame;
  } else if (!deck_->play(frame, request_.to)) {
    fail("the device can't be started");
  }
}

/// What was playing goes on when the shell lets the program go on.
void Playback::suspend() {
  const bool wasPlaying = state_ == State::playing;
  if (wasPlaying) {
    halt();
  }
  line_.clear();
  terminal_->suspend();
  if (wasPlaying) {
    start(pausedAt_);
  }
}

void Playback::fail(const std::string& problem) {
  problem_ = problem;
  state_ = State::quit;
}

void Playback::draw() {
  if (!line_.isShown() || state_ == State::quit) {
    return;
  }
  PlayPosition shown;
  shown.seconds = (static_cast<double>(position()) - request_.begin) / request_.sampleRate;
  shown.length = request_.length / request_.sampleRate;
  shown.isPaused = state_ == State::paused;
  shown.peak = latestPeak();
  line_.show(positionLine(shown, LiveLine::columns()));
}

/// What the graph plays does not come by here.
std::optional<float> Playback::latestPeak() {
  if (request_.kind == Deck::Kind::graph) {
    return std::nullopt;
  }
  Levels levels;
  LevelTap::Cycle cycle;
  while (tap_->take(&cycle)) {
    levels.add(cycle);
  }
  return hold_.loudestAfter(levels, std::chrono::steady_clock::now());
}

std::uint32_t Playback::position() const {
  return isHeld_ ? deck_->position() : pausedAt_;
}

std::string Playback::timeOf(std::uint32_t frame) const {
  return timeText((static_cast<double>(frame) - request_.begin) / request_.sampleRate);
}

void Playback::finish() {
  line_.clear();
  lateCycles_ += deck_->lateCycles();
  const std::string reached = "played up to " + timeOf(std::min(pausedAt_, request_.to));
  if (!problem_.empty()) {
    throw Failure(deviceName_, problem_ + "; " + reached);
  }
  if (state_ != State::done && interruption()) {
    throw Cancelled(reached);
  }
  if (state_ == State::done && !deck_->wasComplete(request_.to)) {
    throw Failure(request_.path, "can't be read to its end any more");
  }
  if (!request_.isQuiet) {
    print(printable(request_.path) + ": " + (state_ == State::done ? "played to the end, " : "stopped at ") +
          timeOf(std::min(pausedAt_, request_.to)) + "\n");
  }
  if (lateCycles_ > 0) {
    throw Failure(
        formatText("%llu cycles were silent because the disk was late", static_cast<unsigned long long>(lateCycles_)));
  }
}

}  // namespace orv::cli

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Deck.h"
#include "LevelDisplay.h"
#include "LevelTap.h"
#include "LiveLine.h"
#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OutputClock.h"
#include "Terminal.h"

namespace orv::cli {

/// What is played, and on what.
struct PlayRequest {
  std::string path;
  std::uint32_t from = 0;    ///< frame
  std::uint32_t to = 0;      ///< the frame behind the last
  std::uint32_t begin = 0;   ///< the frame that is shown as the time 0
  std::uint32_t length = 0;  ///< frames that are shown as the whole
  double sampleRate = 0;     ///< of the recording
  std::shared_ptr<OrvAudioDevice> device;
  std::optional<double> decibels;  ///< nothing: as it is
  bool isQuiet = false;            ///< no live line, no closing line
  Deck::Kind kind = Deck::Kind::direct;
};

/// One run of the player, from its first frame until the last one was heard or the person had enough. Main thread.
class Playback {
 public:
  explicit Playback(PlayRequest request);
  Playback(const Playback&) = delete;
  Playback& operator=(const Playback&) = delete;
  ~Playback();

  /// Throws `Failure` where something is in the way, and `Cancelled` where the person interrupts.
  void run();

 private:
  enum class State { playing, paused, ending, quit, done };

  void start(std::uint32_t from);
  void halt();
  void attend();
  void advance();
  void checkDevice();
  void changeDeck();
  void perform(Key key);
  void seek(double seconds);
  void suspend();
  void fail(const std::string& problem);

  void draw();
  std::optional<float> latestPeak();
  std::uint32_t position() const;
  std::string timeOf(std::uint32_t frame) const;
  void finish();

  const PlayRequest request_;
  const std::string deviceName_;  ///< asked while it is there
  const std::unique_ptr<Terminal> terminal_;
  LiveLine line_;
  const OutputClock::Pace pace_;
  std::shared_ptr<Deck> deck_;
  std::shared_ptr<OutputClock> clock_;
  const std::shared_ptr<LevelTap> tap_ = std::make_shared<LevelTap>(LevelTap::Side::output);
  PeakHold hold_;
  Observation formatChanges_;
  Observation rateChanges_;
  State state_ = State::playing;
  bool isHeld_ = false;      ///< the device runs for this object, too
  bool hasChanged_ = false;  ///< the device
  std::uint32_t pausedAt_ = 0;
  std::uint64_t end_ = 0;  ///< frames of the clock
  std::uint64_t lateCycles_ = 0;
  std::uint64_t cyclesSeen_ = 0;
  std::chrono::steady_clock::time_point lastCycle_;
  std::string problem_;
};

}  // namespace orv::cli

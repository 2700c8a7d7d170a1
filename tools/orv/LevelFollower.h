#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "LevelDisplay.h"
#include "LevelTap.h"

class OrvAudioDevice;

namespace orv::cli {

/// Follows the level of a device's input from one update to the next, and notices when nothing comes any more. Main
/// thread.
class LevelFollower {
 public:
  static constexpr std::uint64_t kNoEnd = std::numeric_limits<std::uint64_t>::max();

  explicit LevelFollower(std::shared_ptr<OrvAudioDevice> device);
  LevelFollower(const LevelFollower&) = delete;
  LevelFollower& operator=(const LevelFollower&) = delete;
  ~LevelFollower();

  /// Takes the cycles that have come since the update before, up to the one that reaches the frame `end`. Whether there
  /// were any.
  bool update(std::uint64_t end = kNoEnd);
  /// Levels since `restart`, and since the beginning.
  const Levels& latest() const { return latest_; }
  const Levels& total() const { return total_; }
  void restart() { latest_.restart(); }

  /// Frames that the device left out, and before which of those that came it did so first. Hardware does that where the
  /// machine is too late for it.
  std::uint64_t missing() const { return missing_; }
  std::uint64_t firstMissingBefore() const { return firstMissingBefore_; }
  /// Cycles that `update` was too late for.
  std::uint64_t lost() const { return tap_->lost(); }
  /// Why nothing will come any more, as far as one can tell: the device is gone, or has delivered nothing for seconds.
  /// Empty: no reason to think so.
  std::string problem() const;

 private:
  const std::shared_ptr<OrvAudioDevice> device_;
  const std::shared_ptr<LevelTap> tap_ = std::make_shared<LevelTap>();
  std::chrono::steady_clock::time_point lastCycle_ = std::chrono::steady_clock::now();
  Levels latest_;
  Levels total_;
  std::uint64_t missing_ = 0;
  std::uint64_t firstMissingBefore_ = 0;
};

}  // namespace orv::cli

#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "Deck.h"
#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"

namespace orv::cli {

/// Counts what a device's output takes. A device that runs faster than audio is heard, which only a virtual one does,
/// is held where the deck has fallen behind: then what it plays has no gaps, as it has none in real time.
class OutputClock final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  enum class Pace {
    ofDevice,  ///< cycles come when they come: nothing is waited for
    ofDeck,    ///< cycles wait
  };

  OutputClock(std::shared_ptr<const Deck> deck, Pace pace) : deck_(std::move(deck)), pace_(pace) {}

  /// Thread-safe.
  std::uint64_t frames() const noexcept { return frames_.load(std::memory_order_relaxed); }
  std::uint64_t cycles() const noexcept { return cycles_.load(std::memory_order_relaxed); }

  /// Until then, cycles are held up but not kept waiting. Thread-safe.
  void arm() noexcept { isArmed_ = true; }
  /// The device is not needed any more once it has taken so many frames: the main loop wakes up. Thread-safe.
  void endAt(std::uint64_t frames) noexcept { end_ = frames; }
  /// From now on nothing is waited for. Needed before the device, or the deck, is stopped. Thread-safe.
  void release() noexcept { isReleased_ = true; }

  /// Real-time safe where the pace is the device's.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;

 private:
  void waitForDeck() const noexcept;

  const std::shared_ptr<const Deck> deck_;
  const Pace pace_;
  std::atomic<std::uint64_t> frames_{0};
  std::atomic<std::uint64_t> cycles_{0};
  std::atomic<std::uint64_t> end_{std::numeric_limits<std::uint64_t>::max()};
  std::atomic<bool> isArmed_{false};
  std::atomic<bool> isReleased_{false};
};

}  // namespace orv::cli

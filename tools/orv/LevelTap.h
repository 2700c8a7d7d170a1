#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "OrvCoreAudio/OrvCoreAudioIOSubscriber.h"
#include "OrvCoreAudio/OrvObject.h"

namespace orv::cli {

/// Hears every cycle of a device's input, or of what the subscribers before it left in the output, and hands the peaks
/// of each to the main thread: no cycle is passed over, so that what a meter says of a stretch is true of all of it.
/// (The framework's own meter tells the latest cycle only.)
class LevelTap final : public OrvObject, public OrvCoreAudioIOSubscriber {
 public:
  static constexpr std::uint32_t kChannels = 8;
  enum class Side { input, output };

  /// One cycle: the largest sample of each channel, 0 or above, and the largest magnitude.
  struct Cycle {
    std::uint32_t frames = 0;
    std::uint32_t channels = 0;
    std::uint64_t missing = 0;  ///< frames that the device left out before it
    std::array<float, kChannels> peaks{};
    std::array<float, kChannels> magnitudes{};
  };

  explicit LevelTap(Side side = Side::input) : side_(side) {}

  /// The oldest cycle that was not taken yet. Whether there was one. Main thread.
  bool take(Cycle* cycle) noexcept;
  /// Cycles that the main thread was too late for. Thread-safe.
  std::uint64_t lost() const noexcept { return lost_.load(std::memory_order_relaxed); }

  /// Real-time safe.
  OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept override;

 private:
  /// Half a minute of cycles of 512 frames at 44.1 kHz. A power of two.
  static constexpr std::size_t kCapacity = 4096;

  std::uint64_t missingBefore(const AudioTimeStamp& time, const AudioBufferList& list) noexcept;

  const Side side_;
  double nextSampleTime_ = -1;  // I/O thread; below 0: not known
  std::array<Cycle, kCapacity> cycles_;
  alignas(64) std::atomic<std::size_t> put_{0};    // written by the I/O thread
  alignas(64) std::atomic<std::size_t> taken_{0};  // written by the main thread
  std::atomic<std::uint64_t> lost_{0};
};

}  // namespace orv::cli

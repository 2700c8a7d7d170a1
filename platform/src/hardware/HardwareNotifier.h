#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvPlatform/AudioHardwareBackend.h"
#include "OrvPlatform/RunLoop.h"

namespace orv {

/// Tells listeners what backends say has changed: on a thread of its own, in order, nothing left out. Also does there
/// what a cycle asked for and must not do itself. Never destroyed.
class HardwareNotifier : public HardwareEvents {
 public:
  HardwareNotifier();
  ~HardwareNotifier() override;

  void hardwareChanged(AudioHardwarePropertyID property) noexcept override;
  void deviceChanged(AudioDeviceID device, std::uint32_t channel, bool isInput,
                     AudioDevicePropertyID property) noexcept override;

  /// One listener is known by all of its fields.
  struct Listener {
    AudioHardwarePropertyListenerProc hardwareProc = nullptr;
    AudioDevicePropertyListenerProc deviceProc = nullptr;
    AudioDeviceID device = kAudioDeviceUnknown;
    std::uint32_t channel = 0;
    std::uint8_t section = 0;
    std::uint32_t property = 0;
    void* clientData = nullptr;
    bool operator==(const Listener&) const = default;
  };
  void add(const Listener& listener);
  /// Waits until the listener has returned, unless it is called from a listener.
  void remove(const Listener& listener);

  /// Has a call made on the notification thread. Real-time safe.
  void handOver(LoopCall call) noexcept;

  /// Returns when everything that was told or handed over until now is done; at once on the notification thread.
  void waitUntilTold();

 private:
  struct Change {
    bool isOfDevice = false;
    AudioDeviceID device = kAudioDeviceUnknown;
    std::uint32_t channel = 0;
    bool isInput = false;
    std::uint32_t property = 0;
  };
  void tell(const Change& change);
  static bool wants(const Listener& listener, const Change& change);
  bool isPresent(const Listener& listener);
  bool isOnThread() const;

  RunLoop loop_;
  std::mutex listenersMutex_;
  std::vector<Listener> listeners_;  // guarded by listenersMutex_
  std::mutex tellingMutex_;          // held while a listener is called; taken before listenersMutex_
  std::thread thread_;
};

}  // namespace orv

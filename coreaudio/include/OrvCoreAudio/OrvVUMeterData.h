#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/Export.h"

/// Peaks of up to eight channels, for a level display: what travels in a meter's notification.
///
/// An I/O thread writes the values while the main thread reads them, without a lock: a reader may see some of a later
/// cycle already. Never half a value.
class ORV_API OrvVUMeterData final : public OrvObject {
 public:
  static constexpr std::uint32_t kChannels = 8;

  static std::shared_ptr<OrvVUMeterData> init();
  /// With the first eight of `length` values; null gives zeros.
  static std::shared_ptr<OrvVUMeterData> initWithData_length(const float* data, std::uint32_t length);
  /// `scaler` is kept only where there are values.
  static std::shared_ptr<OrvVUMeterData> initWithData_length_scaler(const float* data, std::uint32_t length,
                                                                    float scaler);

  /// Takes over the first eight of `length` values; null changes nothing. Thread-safe; real-time safe.
  void setData_length(const float* data, std::uint32_t length);

  /// The eight values, channel 1 first, for one who fills them in directly. Writing through the pointer is not
  /// synchronised with other threads.
  float* data() { return _data; }

  /// Peak of a channel, counted from 1: the largest sample of the stretch that was metered, full scale is 1.0, 0 when
  /// there was none above zero. 0 for channel 0 and beyond 8. Thread-safe; real-time safe.
  float floatValueForChannel(std::uint32_t channel) const;

  /// For the display to make of it what it likes; 0 unless it was given.
  float scaler() const { return scaler_; }

  /// `OrvVUMeterDataProviderNewDataIsAvailableNotification`, always.
  std::string name() const;

 private:
  OrvVUMeterData() = default;

  mutable float _data[kChannels] = {};
  float scaler_ = 0;
};

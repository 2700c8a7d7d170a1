#include "OrvCoreAudio/OrvVUMeterData.h"

#include <algorithm>

#include "OrvCoreAudio/OrvVUMeterDataProvider.h"

std::shared_ptr<OrvVUMeterData> OrvVUMeterData::init() {
  return std::shared_ptr<OrvVUMeterData>(new OrvVUMeterData);
}

std::shared_ptr<OrvVUMeterData> OrvVUMeterData::initWithData_length(const float* data, std::uint32_t length) {
  auto made = init();
  made->setData_length(data, length);
  return made;
}

std::shared_ptr<OrvVUMeterData> OrvVUMeterData::initWithData_length_scaler(const float* data, std::uint32_t length,
                                                                           float scaler) {
  auto made = initWithData_length(data, length);
  made->scaler_ = data != nullptr ? scaler : 0;
  return made;
}

void OrvVUMeterData::setData_length(const float* data, std::uint32_t length) {
  const std::uint32_t count = data == nullptr ? 0 : std::min(length, kChannels);
  for (std::uint32_t i = 0; i < count; ++i) {
    std::atomic_ref(_data[i]).store(data[i], std::memory_order_relaxed);
  }
}

float OrvVUMeterData::floatValueForChannel(std::uint32_t channel) const {
  return channel == 0 || channel > kChannels ? 0 : std::atomic_ref(_data[channel - 1]).load(std::memory_order_relaxed);
}

std::string OrvVUMeterData::name() const {
  return OrvVUMeterDataProviderNewDataIsAvailableNotification;
}

#include <algorithm>
#include <vector>

#include "hardware/model/Property.h"

namespace orv::hardwaremodel {
namespace {

using Place = PropertyPlace;
using Write = PropertyWrite;

const DataSource* sourceOf(const SectionState& section, std::uint32_t id) {
  const auto found = std::find_if(section.dataSources.begin(), section.dataSources.end(),
                                  [&](const DataSource& source) { return source.id == id; });
  return found == section.dataSources.end() ? nullptr : &*found;
}

OSStatus readSource(const Place& at, Answer& to) {
  return at.section.dataSources.empty() ? kAudioHardwareUnknownPropertyError : to.value(at.section.currentDataSource);
}

OSStatus writeSource(const Write& to) {
  const auto id = to.value<std::uint32_t>();
  if (sourceOf(to.section, id) == nullptr) {
    return kAudioHardwareIllegalOperationError;
  }
  if (to.section.currentDataSource != id) {
    to.section.currentDataSource = id;
    to.tell(kAudioDevicePropertyDataSource);
  }
  return noErr;
}

OSStatus readSources(const Place& at, Answer& to) {
  if (at.section.dataSources.empty()) {
    return kAudioHardwareUnknownPropertyError;
  }
  std::vector<std::uint32_t> ids;
  ids.reserve(at.section.dataSources.size());
  for (const DataSource& source : at.section.dataSources) {
    ids.push_back(source.id);
  }
  return to.list(ids);
}

/// The text goes into the caller's room; where that is too small, its size says how much is needed.
OSStatus readSourceName(const Place& at, Answer& to) {
  if (at.section.dataSources.empty()) {
    return kAudioHardwareUnknownPropertyError;
  }
  AudioValueTranslation translation = {};
  if (to.isSizeOnly()) {
    return to.value(translation);
  }
  std::uint32_t id = 0;
  if (!to.passedIn(&translation) || translation.mInputDataSize < sizeof id || translation.mInputData == nullptr) {
    return kAudioHardwareBadPropertySizeError;
  }
  std::memcpy(&id, translation.mInputData, sizeof id);
  const DataSource* const source = sourceOf(at.section, id);
  if (source == nullptr || !source->name) {
    return kAudioHardwareUnknownPropertyError;
  }
  const auto length = static_cast<std::uint32_t>(source->name->size());
  const bool hasRoom = translation.mOutputDataSize >= length && (translation.mOutputData != nullptr || length == 0);
  if (hasRoom && length > 0) {
    std::memcpy(translation.mOutputData, source->name->data(), length);
  }
  translation.mOutputDataSize = length;
  const OSStatus status = to.value(translation);
  return hasRoom ? status : kAudioHardwareBadPropertySizeError;
}

OSStatus readJack(const Place& at, Answer& to) {
  return at.section.jackIsConnected ? to.flag(*at.section.jackIsConnected) : kAudioHardwareUnknownPropertyError;
}

constexpr DeviceProperty kProperties[] = {
    {kAudioDevicePropertyDataSource, Scope::section, readSource, writeSource},
    {kAudioDevicePropertyDataSources, Scope::section, readSources},
    {kAudioDevicePropertyDataSourceNameForIDCFString, Scope::section, readSourceName},
    {kAudioDevicePropertyJackIsConnected, Scope::firstChannel, readJack},
};

}  // namespace

std::span<const DeviceProperty> sourceProperties() {
  return kProperties;
}

void changeJack(DeviceState& device, bool isInput, bool isConnected, PropertyChanges& changes) {
  SectionState& section = device.section(isInput);
  if (section.jackIsConnected != isConnected) {
    section.jackIsConnected = isConnected;
    changes.push_back({1, isInput, kAudioDevicePropertyJackIsConnected});
  }
}

}  // namespace orv::hardwaremodel

#include "hardware/model/Property.h"

#include <algorithm>

namespace orv::hardwaremodel {

const DeviceProperty* findDeviceProperty(AudioDevicePropertyID id) {
  for (const auto& group :
       {identityProperties(), cycleProperties(), formatProperties(), controlProperties(), sourceProperties()}) {
    const auto found =
        std::find_if(group.begin(), group.end(), [&](const DeviceProperty& property) { return property.id == id; });
    if (found != group.end()) {
      return &*found;
    }
  }
  return nullptr;
}

bool isInScope(const DeviceProperty& property, const PropertyPlace& place) {
  const bool hasStreams = !place.section.streams.empty();
  switch (property.scope) {
    case Scope::device:
    case Scope::anySection:
      return place.channel == 0;
    case Scope::section:
      return hasStreams && place.channel == 0;
    case Scope::firstChannel:
      return hasStreams && place.channel == 1;
    case Scope::sectionChannel:
      return hasStreams && place.channel <= place.section.channels;
  }
  return false;
}

void tellSections(const DeviceState& device, AudioDevicePropertyID property, PropertyChanges& changes) {
  for (const bool isInput : {true, false}) {
    if (!device.section(isInput).streams.empty()) {
      changes.push_back({0, isInput, property});
    }
  }
}

}  // namespace orv::hardwaremodel

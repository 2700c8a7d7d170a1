#include "OrvPlatform/VirtualHardware.h"

#include "OrvPlatform/Log.h"
#include "hardware/virtual/Backend.h"
#include "hardware/virtual/DescriptionReader.h"

namespace orv {

using virtualhardware::Backend;

VirtualHardware::~VirtualHardware() = default;

std::shared_ptr<VirtualHardware> VirtualHardware::make(const VirtualHardwareOptions& options) {
  return std::make_shared<Backend>(options);
}

std::shared_ptr<VirtualHardware> VirtualHardware::makeDefaultSet(const VirtualHardwareOptions& options) {
  auto hardware = make(options);
  for (const VirtualDevice& device :
       {virtualStereoInterface(), virtualEightChannelInterface(), virtualSixChannelOutput()}) {
    std::string problem;
    if (hardware->plug(device, &problem) == kAudioDeviceUnknown) {
      logf("virtual hardware: %s", problem.c_str());
    }
  }
  return hardware;
}

std::shared_ptr<VirtualHardware> VirtualHardware::fromJSON(const std::string& text, std::string* problem) {
  return virtualhardware::makeFromJSON(text, {}, problem);
}

std::shared_ptr<VirtualHardware> VirtualHardware::fromJSONFile(const std::string& path, std::string* problem) {
  return virtualhardware::makeFromJSONFile(path, problem);
}

}  // namespace orv

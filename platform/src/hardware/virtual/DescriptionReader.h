#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvPlatform/VirtualHardware.h"

namespace orv::virtualhardware {

/// What a JSON file says: `docs/virtual-hardware.md` describes it.
struct HardwareDescription {
  VirtualHardwareOptions options;
  std::vector<VirtualDevice> devices;
};

/// Nothing, and one line in `*problem`, when the text is not understood as a whole. Paths of files that are not
/// absolute are taken from `folder`; an empty one is the process's own.
std::optional<HardwareDescription> readDescription(const std::string& text, const std::string& folder,
                                                   std::string* problem);

std::shared_ptr<VirtualHardware> makeFromJSON(const std::string& text, const std::string& folder, std::string* problem);
std::shared_ptr<VirtualHardware> makeFromJSONFile(const std::string& path, std::string* problem);

}  // namespace orv::virtualhardware

#pragma once

#include <string>

namespace orv::fuzz {

/// Descriptions of virtual devices, into the folder "devices" of `directory`.
void makeDevicesSeeds(const std::string& directory);

}  // namespace orv::fuzz

#pragma once

#include <cstdint>
#include <string>

#include "OrvPlatform/VirtualHardware.h"

namespace orv::virtualhardware {

// More than any device has; what says more is a mistake.
inline constexpr std::uint32_t kMostChannels = 256;  ///< of a section
inline constexpr std::size_t kMostStreams = 64;      ///< of a section
inline constexpr std::size_t kMostDevices = 1024;
inline constexpr double kHighestRate = 10e6;           ///< frames a second
inline constexpr double kLargestCycle = 65536.0;       ///< frames
inline constexpr std::uint32_t kMostFrames = 1000000;  ///< of latency and safety offset
inline constexpr std::size_t kMostEntries = 256;       ///< of rates, formats, data sources
inline constexpr std::size_t kLongestText = 1000;      ///< bytes
inline constexpr std::size_t kMostFiles = 100000;
// Seconds of audio a second.
inline constexpr double kSlowestClock = 1e-3;
inline constexpr double kFastestClock = 1e6;

/// What is wrong with a description, as the place in it and the reason ("output.latency: 2000000 is not between 0 and
/// 1000000"). Empty: nothing. What has passed is safe to build a device from.
std::string problemOf(const VirtualDevice& device);
std::string problemOf(const VirtualInput& source);

}  // namespace orv::virtualhardware

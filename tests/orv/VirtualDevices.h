#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OrvProgram.h"

namespace orv::test {

/// What a run hears and plays, as a description of virtual devices that run faster than a clock.
struct VirtualDevices {
  std::string heard;          ///< file that the input hears; none: silence
  std::uint32_t inputs = 2;   ///< channels
  std::uint32_t outputs = 2;  ///< channels
  bool areOne = false;        ///< one device, "in", has input and output; otherwise the output is "out"
  double rate = 8000;         ///< Hz
  double outputRate = 8000;   ///< Hz
  double acceleration = 20;
  std::string played;  ///< file that keeps what the output plays; none: nothing does

  /// Writes the description to `path`, and returns the options that have it used.
  std::vector<std::string> options(const std::string& path) const;
};

/// `orv` with these arguments, on these devices, described in a file in `folder`.
ProcessResult runOrvOn(const VirtualDevices& devices, const std::string& folder, std::vector<std::string> arguments);

}  // namespace orv::test

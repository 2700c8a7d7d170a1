#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Track.h"

namespace orv::cli {

/// What a method is asked for. Each one uses the settings that mean something to it.
struct DetectionSettings {
  int sensitivity = 0;     ///< crossings per fifth of a second that make a block busy
  double silence = 0;      ///< milliseconds that a gap lasts at least
  int zeroOffset = 0;      ///< the level whose crossings are counted, of 32,768
  int numberOfTracks = 0;  ///< 0: as many as there are gaps
  const std::atomic<bool>* cancel = nullptr;
  std::function<void(double fraction)> progress;
};

/// A way to find the tracks of a recording.
struct DetectionMethod {
  std::string_view name;  ///< what --method calls it
  int mostTracks;         ///< that can be asked for
  /// None of the tracks is empty; there may be fewer than asked for. Throws `Failure` or `Cancelled`.
  std::vector<Track> (*detect)(const std::string& path, const DetectionSettings& settings);
};

/// All there are, the default first.
std::span<const DetectionMethod> detectionMethods();

/// The settings that a run has when nothing is said.
DetectionSettings defaultDetectionSettings();

}  // namespace orv::cli

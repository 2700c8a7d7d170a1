#pragma once

#include <functional>
#include <string>
#include <vector>

#include "accuracy/Truth.h"

namespace orv::accuracy {

/// A recording to be cut, and what is known of it.
struct Recording {
  std::string name;
  std::string path;
  std::string scratchFolder;  ///< empty, for what a detector writes
  double seconds = 0;
  Truth truth;
};

/// Where a detector says that the next track begins.
struct Cut {
  double at = 0;     ///< seconds
  std::string note;  ///< why, if it says so
};

/// Something that cuts recordings.
struct Detector {
  std::string name;
  std::string parameters;      ///< for the reader of the report
  bool needsGuidance = false;  ///< makes no sense on a recording that is one track
  std::function<std::vector<Cut>(const Recording&)> cuts;
};

/// Ours: by levels and by crossings, without guidance and with it.
std::vector<Detector> ownDetectors();

/// Other programs, run as they are.
std::vector<Detector> peerDetectors();

}  // namespace orv::accuracy

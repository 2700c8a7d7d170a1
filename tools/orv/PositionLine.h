#pragma once

#include <optional>
#include <string>

namespace orv::cli {

/// Where playing is.
struct PlayPosition {
  double seconds = 0;
  double length = 0;  ///< seconds
  bool isPaused = false;
  std::optional<float> peak{};  ///< amplitude; nothing: not known
};

/// The same as one line without its end, shorter than `columns`.
std::string positionLine(const PlayPosition& position, int columns);

}  // namespace orv::cli

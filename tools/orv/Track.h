#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orv::cli {

class JsonWriter;

/// A track of a recording: frames from `begin` up to the one before `end`.
struct Track {
  std::string name;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  bool active = false;
};

/// Adds an array of tracks, as every report has it.
void writeTracks(const std::vector<Track>& tracks, JsonWriter& json);

}  // namespace orv::cli

#pragma once

#include <cstdint>
#include <string>

namespace orv::cli {

/// A track that was found: frames from `begin` up to the one before `end`.
struct Track {
  std::string name;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  bool active = false;
};

}  // namespace orv::cli

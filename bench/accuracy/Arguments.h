#pragma once

#include <string>
#include <vector>

#include "accuracy/Sides.h"

namespace orv::accuracy {

/// What both programs are told on their command lines.
struct Arguments {
  SideSelection selection;
  std::string cacheFolder;
  std::string keepFolder;  ///< where the sides stay; empty: they are deleted
  std::vector<std::string> positional;
  std::string sides;  ///< a folder of sides that are scored instead of made ones
  std::string side;   ///< a recording of the user's to score, with
  std::string truth;  ///< what it really holds
  unsigned threads = 2;
  bool details = false;  ///< each side's cuts too
  bool withoutPeers = false;
};

/// Throws `std::runtime_error` whose text says what is wrong.
Arguments parseArguments(const std::vector<std::string>& words);

}  // namespace orv::accuracy

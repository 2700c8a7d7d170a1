#pragma once

#include <cstdio>
#include <cstdlib>

namespace orv::fuzz {

/// Ends the run with a line that says which promise was broken.
inline void require(bool holds, const char* promise) {
  if (!holds) {
    std::fprintf(stderr, "broken: %s\n", promise);
    std::abort();
  }
}

}  // namespace orv::fuzz

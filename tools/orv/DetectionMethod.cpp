#include "DetectionMethod.h"

#include <algorithm>

namespace orv::cli {

const Detection::Boundary* Detection::boundaryAt(std::uint64_t frame) const {
  const auto found = std::ranges::find(boundaries, frame, &Boundary::frame);
  return found == boundaries.end() ? nullptr : &*found;
}

}  // namespace orv::cli

// Under a sanitizer, which stands between the program and the C library itself.
#include "support/RealTimeInterposer.h"

namespace orv::test {

AllowInCycle::AllowInCycle() noexcept = default;
AllowInCycle::~AllowInCycle() = default;

std::size_t realTimeViolations() noexcept {
  return 0;
}

std::size_t forgiveRealTimeViolations() noexcept {
  return 0;
}

}  // namespace orv::test

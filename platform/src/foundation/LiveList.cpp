#include "OrvPlatform/LiveList.h"

namespace orv {

int& liveWalkDepth() noexcept {
  // In the block that every thread has from its begin: the first access must not allocate one.
  [[gnu::tls_model("initial-exec")]] static thread_local int depth = 0;
  return depth;
}

}  // namespace orv

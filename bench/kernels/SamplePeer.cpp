#include "kernels/SamplePeer.h"

#include <stdexcept>

namespace orv::bench {

bool isNative(const simd::SampleLayout& layout) {
  const bool isByte = layout.container == simd::SampleContainer::int8;
  const bool isFull = isFloat(layout.container) || layout.bits == 8 * simd::bytesOf(layout.container);
  return isFull && layout.order == simd::SampleOrder::native && layout.isUnsigned == isByte &&
         layout.container != simd::SampleContainer::int24;
}

void fail(const char* what) {
  throw std::runtime_error(what);
}

}  // namespace orv::bench

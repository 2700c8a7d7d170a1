#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "vector/SampleKernels.h"

namespace orv::bench {

/// One conversion of a block of samples.
struct Conversion {
  simd::SampleLayout from;
  simd::SampleLayout to;
  std::vector<std::uint8_t> input;
  std::size_t count = 0;  ///< samples in the input

  std::size_t outputBytes() const { return count * simd::bytesOf(to.container); }
};

/// What converts the block once, into memory of its own. Empty where the peer can't.
using PeerRun = std::function<void()>;

PeerRun swresampleRun(const Conversion& conversion);
/// libavcodec's PCM codecs, which go between the bytes of a file and the codec's own native samples.
PeerRun avcodecRun(const Conversion& conversion);
/// libsndfile on a raw file in memory.
PeerRun sndfileRun(const Conversion& conversion);

/// Native samples that fill their containers and are signed (8 bits: unsigned), as the peers know them.
bool isNative(const simd::SampleLayout& layout);
[[noreturn]] void fail(const char* what);

}  // namespace orv::bench

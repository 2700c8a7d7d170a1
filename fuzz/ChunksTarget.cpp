#include <cstddef>
#include <cstdint>

#include "TrackFuzzing.h"

/// The first byte is the script; then comes the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0) {
    orv::fuzz::exerciseChunks({data + 1, data + size}, data[0]);
  }
  return 0;
}

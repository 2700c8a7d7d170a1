#include <cstddef>
#include <cstdint>

#include "TrackFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orv::fuzz::exerciseArchive({data, data + size});
  return 0;
}

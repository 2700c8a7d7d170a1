#include <cstddef>
#include <cstdint>

#include "CompanionFuzzing.h"

/// The first byte is the script; then comes the companion of a Sound Designer II file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0) {
    orv::fuzz::exerciseCompanion({data + 1, data + size}, data[0]);
  }
  return 0;
}

#include <cstddef>
#include <cstdint>

#include "TrackFuzzing.h"

/// The first byte is the script; then comes the file, whose FORM is made true: any other is refused at once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 13) {
    return 0;
  }
  orv::test::Bytes file(data + 1, data + size);
  for (std::size_t i = 0; i < 4; ++i) {
    file[i] = static_cast<std::uint8_t>("FORM"[i]);
    file[4 + i] = static_cast<std::uint8_t>((file.size() - 8) >> (24 - 8 * i));
    file[8 + i] = static_cast<std::uint8_t>("AIFF"[i]);
  }
  orv::fuzz::exerciseTracks(file, data[0]);
  return 0;
}

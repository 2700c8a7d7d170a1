#include <cstddef>
#include <cstdint>

#include "AudioFileFuzzing.h"

/// The first byte is the script, bit 7 of which also chooses between AIFF and AIFC; then comes the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 13) {
    return 0;
  }
  orv::test::Bytes file(data + 1, data + size);
  for (std::size_t i = 0; i < 4; ++i) {
    file[i] = static_cast<std::uint8_t>("FORM"[i]);
    file[8 + i] = static_cast<std::uint8_t>((data[0] & 0x80) != 0 ? "AIFC"[i] : "AIFF"[i]);
  }
  orv::fuzz::exerciseAudioFile(file, data[0]);
  return 0;
}

#pragma once

#include <cstdint>
#include <memory>

#include "ConversionOptions.h"
#include "SourceFile.h"

namespace orv::cli {

/// Linear PCM, interleaved and packed, as AIFF has it: big-endian, integers with a sign.
std::shared_ptr<OrvAudioStreamBasicDescription> linearFormat(double rate, std::uint32_t channels, std::uint32_t bits,
                                                             bool isFloat);

/// The format of the new file's samples. Throws `Failure` where it can't be made of the source's.
std::shared_ptr<OrvAudioStreamBasicDescription> conversionFormat(const SourceFile& source,
                                                                 const ConversionOptions& options);

}  // namespace orv::cli

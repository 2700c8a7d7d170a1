#pragma once

#include <cstdint>
#include <memory>

#include "ConversionOptions.h"
#include "SourceFile.h"

namespace orv::cli {

/// Throws `Failure` about `subject` where its rate can't be made the one that is wanted. Both in Hz.
void checkRates(const std::string& subject, double given, double wanted);

/// Linear PCM, interleaved and packed, as AIFF has it: big-endian, integers with a sign.
std::shared_ptr<OrvAudioStreamBasicDescription> linearFormat(double rate, std::uint32_t channels, std::uint32_t bits,
                                                             bool isFloat);

/// The format of the new file's samples. Throws `Failure` where it can't be made of the source's.
std::shared_ptr<OrvAudioStreamBasicDescription> conversionFormat(const SourceFile& source,
                                                                 const ConversionOptions& options);

}  // namespace orv::cli

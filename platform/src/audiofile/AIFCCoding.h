#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "audiofile/PCMFormat.h"

namespace orv::audiofile {

/// One way in which an AIFC file codes plain samples: the compression code of its COMM chunk.
struct AIFCCoding {
  FourCharCode code;
  SampleKind kind;
  ByteOrder order;
  std::uint32_t fixedBits;  ///< bits of a sample whatever COMM's sampleSize says; 0 = as it says
  std::string_view name;    ///< what COMM says for people
};

/// Nothing when the code stands for compressed or unknown data.
std::optional<AIFCCoding> aifcCodingOf(FourCharCode code);

/// How a new file codes samples of this format. Nothing when AIFC can't hold it.
std::optional<AIFCCoding> aifcCodingFor(const PCMFormat& format);

/// What a compression code that can't be read is called, for a problem line. Empty when not known.
std::string_view aifcCompressionName(FourCharCode code);

}  // namespace orv::audiofile

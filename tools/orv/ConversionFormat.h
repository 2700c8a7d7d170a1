#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "SourceFile.h"

namespace orv::cli {

/// What is to become of a recording's samples, as the person asks for it. Nothing: as they are.
struct ConversionOptions {
  std::optional<double> rate;  ///< Hz
  std::optional<std::uint32_t> bits;
  bool isFloat = false;  ///< floats of 32 bits
  std::optional<std::uint32_t> channels;
};

/// The format of the new file's samples. Throws `Failure` where it can't be made of the source's.
std::shared_ptr<OrvAudioStreamBasicDescription> conversionFormat(const SourceFile& source,
                                                                 const ConversionOptions& options);

}  // namespace orv::cli

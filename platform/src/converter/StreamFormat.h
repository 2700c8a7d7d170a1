#pragma once

#include <cstdint>
#include <optional>

#include "OrvPlatform/AudioTypes.h"
#include "vector/SampleKernels.h"

namespace orv::converter {

enum class Coding { linear, muLaw, aLaw, ima4 };

/// A stream format that the converter knows, with every doubt resolved.
struct StreamFormat {
  Coding coding = Coding::linear;
  simd::SampleLayout layout;  ///< of linear samples; of compressed ones, what they are decoded to
  double sampleRate = 0;
  std::uint32_t channels = 0;
  std::uint32_t framesPerPacket = 1;
  std::uint32_t bytesPerPacket = 0;
};

inline constexpr std::uint32_t kMostChannels = 1024;

/// Nothing where the description contradicts itself or names what the converter does not do.
std::optional<StreamFormat> streamFormatOf(const AudioStreamBasicDescription& description);

}  // namespace orv::converter

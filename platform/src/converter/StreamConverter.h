#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "OrvPlatform/AudioConverter.h"
#include "converter/ConversionSizes.h"
#include "converter/Resampler.h"
#include "converter/SourceDecoder.h"
#include "converter/StreamFormat.h"

namespace orv::converter {

/// The built-in conversion.
///
/// Where neither the channels nor the rate change, source samples become destination samples in one pass over the whole
/// buffer. Otherwise the audio goes in blocks that stay in the first-level cache through
///
///   decode ─► fewer channels ─► resample ─► more channels ─► encode
///
/// so that the resampler has as few channels as possible to work on.
class StreamConverter final : public Converter {
 public:
  /// Throws `std::bad_alloc`. Call `open` before anything else.
  StreamConverter(const StreamFormat& source, const StreamFormat& destination);

  /// Makes ready to convert. False where the rates are too far apart, or memory ran out.
  bool open();

  OSStatus convert(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize) override;
  OSStatus drain(void* output, std::uint32_t* outputSize) override;
  OSStatus reset() override;
  OSStatus property(AudioConverterPropertyID property, std::uint32_t* size, void* data) override;
  OSStatus setProperty(AudioConverterPropertyID property, std::uint32_t size, const void* data) override;

 private:
  using Block = std::vector<std::byte>;

  /// Output frames under way: where the next ones go, how many were made and how many there may be.
  struct Output {
    std::byte* next;
    std::size_t made;
    std::size_t most;
  };

  std::uint32_t frameBytes() const { return destination_.bytesPerPacket; }
  bool mapsChannels() const { return source_.channels != destination_.channels; }
  std::uint32_t resampledChannels() const;

  std::size_t mostFrames(std::size_t frames, std::size_t capacityFrames) const;
  /// The value of a property; of those that calculate, for the one that is given.
  std::optional<std::uint32_t> valueOf(AudioConverterPropertyID property, std::uint32_t given) const;
  bool prepare();
  void convertBlocks(const std::byte* input, std::size_t packets, Output* output);
  bool resampleBlocks(const std::byte* input, std::size_t packets, Output* output);
  bool resample(const std::byte* frames, std::size_t count, Output* output);
  const std::byte* decode(const std::byte* input, std::size_t packets);
  const std::byte* withFewerChannels(const std::byte* frames, std::size_t count);
  void encode(const std::byte* frames, std::uint32_t channels, std::size_t count, Output* output);

  const StreamFormat source_;
  const StreamFormat destination_;
  const ConversionSizes sizes_;
  SourceDecoder decoder_;
  std::uint32_t quality_ = kAudioConverterQuality_High;

  simd::SampleLayout working_;  ///< of all samples between decoding and encoding
  std::size_t blockPackets_ = 0;
  std::size_t blockFrames_ = 0;  ///< of `blockPackets_`, and of a block that leaves the resampler
  Block decoded_;
  Block narrowed_;
  Block resampled_;
  Block widened_;

  std::unique_ptr<Resampler> resampler_;  ///< null where the rate stays
  std::uint64_t framesIn_ = 0;            ///< since the stream's begin; only of streams that are resampled
  bool isDraining_ = false;
};

}  // namespace orv::converter

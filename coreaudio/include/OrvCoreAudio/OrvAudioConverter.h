#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "OrvCoreAudio/OrvAudioStreamBasicDescription.h"
#include "OrvCoreAudio/OrvObject.h"
#include "OrvPlatform/AudioConverter.h"

/// Converts audio from one stream format to another, buffer to buffer.
///
/// One thread at a time. Sizes are bytes.
class ORV_API OrvAudioConverter : public OrvObject {
 public:
  /// Null when the pair of formats can't be converted, or one is missing.
  static std::shared_ptr<OrvAudioConverter> initWithSourceFormat_destinationFormat(
      std::shared_ptr<OrvAudioStreamBasicDescription> source,
      std::shared_ptr<OrvAudioStreamBasicDescription> destination);
  ~OrvAudioConverter() override;

  /// The platform's handle, owned by this object.
  AudioConverterRef converter() const { return audioConverter; }

  /// Converts all of the input. `*outputBufferSize`: capacity, then bytes produced. A null input or output is logged
  /// and answered with 0, nothing done. Otherwise the platform's status; a failure is logged.
  OSStatus convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(const void* input, std::uint32_t inputSize,
                                                                       void* output, std::uint32_t* outputSize);
  /// Delivers what the resampler still holds at the end of a stream, until it produces 0 bytes. Without it the last
  /// milliseconds of a stream whose rate is converted are missing.
  OSStatus drainIntoBuffer_outputBufferSize(void* output, std::uint32_t* outputSize);

  /// 0 where it can't be read.
  std::uint32_t minimumInputBufferSize() const;
  std::uint32_t minimumOutputBufferSize() const;
  /// Input bytes that yield `outputSize` bytes; `outputSize` itself where that can't be read.
  std::uint32_t calculateInputBufferSize(std::uint32_t outputSize) const;
  /// Output bytes that `inputSize` bytes yield at most; `inputSize` itself where that can't be read.
  std::uint32_t calculateOutputBufferSize(std::uint32_t inputSize) const;

  /// 0 (fastest) to 127 (best).
  std::uint32_t sampleRateConverterQuality() const;
  void setSampleRateConverterQuality(std::uint32_t quality);
  /// Sets the quality to 0 and hands nothing to the converter: linear PCM has no cookie.
  void setMagicCookie_length(const void* cookie, std::uint32_t length);
  /// Forgets all that was converted.
  void reset();

  std::string description() const override;

  /// Logs one line that names the status.
  static void printOSStatusCode(OSStatus status);

 protected:
  OrvAudioConverter() = default;

 private:
  std::uint32_t property(AudioConverterPropertyID propertyID, std::uint32_t value) const;

  AudioConverterRef audioConverter = nullptr;
  std::shared_ptr<OrvAudioStreamBasicDescription> mSourceFormat;
  std::shared_ptr<OrvAudioStreamBasicDescription> mDestinationFormat;
};

#pragma once

#include <cstdint>
#include <memory>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// The converter service: turns interleaved audio of one format into another, buffer to buffer.
///
///   source bytes ─► decode ─► channel mapping ─► resampling ─► encode ─► destination bytes
///
/// Source: linear PCM of 8 to 32 bits integer, 32 or 64 bits float, either byte order, packed or aligned; μ-law, A-law,
/// IMA 4:1. Destination: linear PCM. Anything else is 'fmt?'.
///
/// A step that a pair of formats does not need is left out; where only the byte order or the sample format differs the
/// conversion is one pass. Integer to a wider integer and back, and 16 or 24 bits to float and back, are bit-exact.
/// Integer from float rounds to nearest and saturates; NaN becomes 0. Mono to stereo duplicates, stereo to mono
/// averages; otherwise channels map by position, extra destination channels are silent.

using AudioConverterPropertyID = FourCharCode;

inline constexpr OSStatus kAudioConverterErr_FormatNotSupported = orv::statusCC("fmt?");
inline constexpr OSStatus kAudioConverterErr_OperationNotSupported = orv::statusCC("op??");
inline constexpr OSStatus kAudioConverterErr_PropertyNotSupported = orv::statusCC("prop");
inline constexpr OSStatus kAudioConverterErr_InvalidInputSize = orv::statusCC("insz");
inline constexpr OSStatus kAudioConverterErr_InvalidOutputSize = orv::statusCC("otsz");
inline constexpr OSStatus kAudioConverterErr_BadPropertySize = orv::statusCC("!siz");

/// uint32: bytes of the smallest input that can be converted (one source packet). Read only.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyMinimumInputBufferSize = orv::fourCC("mibs");
/// uint32: bytes of the smallest output that can be made (one destination packet). Read only.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyMinimumOutputBufferSize = orv::fourCC("mobs");
/// uint32, in: output bytes; out: input bytes that yield them. Without resampling exact, rounded to whole packets.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyCalculateInputBufferSize = orv::fourCC("cibs");
/// uint32, in: input bytes; out: output bytes that no single conversion of that much input exceeds. Without resampling
/// exact.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyCalculateOutputBufferSize = orv::fourCC("cobs");
/// uint32, 0 (fastest) to 127 (best): quality of the resampling. Setting it starts the resampler afresh.
inline constexpr AudioConverterPropertyID kAudioConverterSampleRateConverterQuality = orv::fourCC("srcq");

/// Values of the quality property; what lies between counts as the next one below.
inline constexpr std::uint32_t kAudioConverterQuality_Min = 0;      ///< cubic interpolation
inline constexpr std::uint32_t kAudioConverterQuality_Low = 32;     ///< 16-bit quality, wide roll-off
inline constexpr std::uint32_t kAudioConverterQuality_Medium = 64;  ///< 16-bit quality, medium roll-off
inline constexpr std::uint32_t kAudioConverterQuality_High = 96;    ///< 20-bit quality; the default
inline constexpr std::uint32_t kAudioConverterQuality_Max = 127;    ///< 28-bit quality

namespace orv {

/// One conversion, with the state of its resampler. One thread at a time; converts without allocating once it has seen
/// a block of the size in question.
class ORV_API Converter {
 public:
  Converter() = default;
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  virtual ~Converter();

  /// Converts all of the input. `*outputSize`: capacity in bytes, then bytes produced. When resampling, the output lags
  /// behind by the filter's delay and catches up at `drain`. `kAudioConverterErr_InvalidInputSize` when the input is
  /// not whole packets, `kAudioConverterErr_InvalidOutputSize` when the output has no room for what is certain to come;
  /// both leave the state as it was. Input and output must not overlap.
  virtual OSStatus convert(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize) = 0;

  /// Delivers what the resampler still holds, as at the end of the stream; to be called until it produces 0 bytes.
  /// Afterwards the state is that after `reset`.
  virtual OSStatus drain(void* output, std::uint32_t* outputSize) = 0;

  /// Forgets all that was converted.
  virtual OSStatus reset() = 0;

  /// `*size`: capacity of `data` in bytes, then bytes filled in.
  virtual OSStatus property(AudioConverterPropertyID property, std::uint32_t* size, void* data) = 0;
  virtual OSStatus setProperty(AudioConverterPropertyID property, std::uint32_t size, const void* data) = 0;
};

/// Makes conversions. A host or a test may install its own. Thread-safe.
class ORV_API ConverterService {
 public:
  virtual ~ConverterService();
  /// `kAudioConverterErr_FormatNotSupported` when the pair of formats can't be converted.
  virtual OSStatus make(const AudioStreamBasicDescription& source, const AudioStreamBasicDescription& destination,
                        std::unique_ptr<Converter>* converter) = 0;
};

/// The converter service in force. Thread-safe.
ORV_API std::shared_ptr<ConverterService> converterService();
/// Installs a service and returns the one before. Null restores the built-in one. Thread-safe.
ORV_API std::shared_ptr<ConverterService> installConverterService(std::shared_ptr<ConverterService> service);

}  // namespace orv

/// Handle of a conversion; owned by whoever made it until `AudioConverterDispose`.
using AudioConverterRef = orv::Converter*;

extern "C" {

ORV_API OSStatus AudioConverterNew(const AudioStreamBasicDescription* source,
                                   const AudioStreamBasicDescription* destination, AudioConverterRef* converter);
ORV_API OSStatus AudioConverterDispose(AudioConverterRef converter);
ORV_API OSStatus AudioConverterReset(AudioConverterRef converter);
ORV_API OSStatus AudioConverterConvertBuffer(AudioConverterRef converter, std::uint32_t inputSize, const void* input,
                                             std::uint32_t* outputSize, void* output);
/// `orv::Converter::drain`.
ORV_API OSStatus AudioConverterDrain(AudioConverterRef converter, std::uint32_t* outputSize, void* output);
ORV_API OSStatus AudioConverterGetProperty(AudioConverterRef converter, AudioConverterPropertyID property,
                                           std::uint32_t* size, void* data);
ORV_API OSStatus AudioConverterSetProperty(AudioConverterRef converter, AudioConverterPropertyID property,
                                           std::uint32_t size, const void* data);

}  // extern "C"

#pragma once

#include <cstdint>
#include <memory>

#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// The converter service: turns interleaved audio of one format into another, buffer to buffer.
///
///   source bytes ─► decode ─► fewer channels ─► resample ─► more channels ─► encode ─► destination bytes
///
/// Source: linear PCM of 8 to 32 bits integer, signed or in offset binary, in containers of 1 to 4 bytes (bytes per
/// frame divided by channels), 32 or 64 bits float, either byte order, packed or aligned; μ-law, A-law, IMA 4:1.
/// Destination: linear PCM. Anything else is 'fmt?': samples that are not interleaved, no channels or more than 1024, a
/// rate that is not a positive finite number, rates more than 256 times apart.
///
/// A step that a pair of formats does not need is left out; where only the sample format differs the conversion is one
/// pass, and where nothing differs a copy.
///
/// - Integer to a wider integer and back, 16 or 24 bits to float and back, 32 bits to double and back are bit-exact.
/// - Between integers nothing goes through floats. Fewer bits: nearest, ties upward, saturating.
/// - Integer from float: nearest, ties to even, saturating; NaN becomes 0. Float from integer: the nearest float.
/// - Mono to stereo duplicates, stereo to mono averages (exact; of 32-bit integers rounded down); otherwise channels
/// map
///   by position, extra destination channels are silent. Silence of unsigned samples is their midpoint.

using AudioConverterPropertyID = FourCharCode;

inline constexpr OSStatus kAudioConverterErr_FormatNotSupported = orv::statusCC("fmt?");
inline constexpr OSStatus kAudioConverterErr_OperationNotSupported = orv::statusCC("op??");
inline constexpr OSStatus kAudioConverterErr_PropertyNotSupported = orv::statusCC("prop");
inline constexpr OSStatus kAudioConverterErr_InvalidInputSize = orv::statusCC("insz");
inline constexpr OSStatus kAudioConverterErr_InvalidOutputSize = orv::statusCC("otsz");
/// The value of a property has another size.
inline constexpr OSStatus kAudioConverterErr_BadPropertySize = orv::statusCC("!siz");

/// uint32: bytes of the smallest input that can be converted (one source packet). Read only.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyMinimumInputBufferSize = orv::fourCC("mibs");
/// uint32: bytes of the smallest output that can be made (one destination packet). Read only.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyMinimumOutputBufferSize = orv::fourCC("mobs");
/// uint32, in: output bytes; out: the most input bytes whose share of the output fits them, in whole packets. At most
/// the largest whole packets that 32 bits can tell.
inline constexpr AudioConverterPropertyID kAudioConverterPropertyCalculateInputBufferSize = orv::fourCC("cibs");
/// uint32, in: input bytes; out: output bytes that no single conversion of that much input exceeds, in whole frames.
/// Without resampling exact. At most the largest whole frames that 32 bits can tell.
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

/// One conversion, with the state of its resampler. One thread at a time.
///
/// `convert` neither locks nor logs, and allocates only on the first blocks of a size when it resamples, while the
/// resampler's queues grow. `reset`, `setProperty` and the end of `drain` set up a new resampler: they allocate and are
/// not real-time safe.
class ORV_API Converter {
 public:
  Converter() = default;
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  virtual ~Converter();

  /// Converts all of the input. `*outputSize`: capacity in bytes, then bytes produced. Input and output must not
  /// overlap.
  ///
  /// When resampling, the output lags behind by the filter's delay and catches up at `drain`; what is ready and does
  /// not fit stays for the calls that follow, nothing gets lost. Over a whole stream and its drain, the frames produced
  /// are the input's times the ratio of the rates, rounded, give or take one.
  ///
  /// `kAudioConverterErr_InvalidInputSize` when the input is not whole packets; `kAudioConverterErr_InvalidOutputSize`
  /// when the output has not even room for the input's own share (its frames times the ratio of the rates, rounded so
  /// that the shares add up). Both leave the state as it was. `kOutOfMemoryStatus` when the resampler runs out of it.
  virtual OSStatus convert(const void* input, std::uint32_t inputSize, void* output, std::uint32_t* outputSize) = 0;

  /// Delivers what the resampler still holds, as at the end of the stream; to be called until it produces 0 bytes.
  /// Afterwards, and when `convert` comes in between, the state is that after `reset`. A capacity of less than a frame
  /// is `kAudioConverterErr_InvalidOutputSize` while there is something to deliver.
  virtual OSStatus drain(void* output, std::uint32_t* outputSize) = 0;

  /// Forgets all that was converted.
  virtual OSStatus reset() = 0;

  /// `*size`: capacity of `data` in bytes, then bytes filled in. `kAudioConverterErr_BadPropertySize` where the value
  /// does not fit, `kAudioConverterErr_PropertyNotSupported` for any other property.
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

// The operations above as free functions, through the service in force. Without a converter (or a place to put it) the
// status is `kAudioConverterErr_OperationNotSupported`, without formats `kAudioConverterErr_FormatNotSupported`,
// without a size the one for the wrong size. What a host's own service throws becomes one log line and
// `kAudioConverterErr_OperationNotSupported`.
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

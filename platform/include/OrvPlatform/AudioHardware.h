#pragma once

#include <cstdint>

#include "OrvPlatform/AudioHardwareProperties.h"
#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

/// The audio hardware: what devices there are, their properties, their cycles.
///
/// Everything is a property: a value of bytes under a four-character code, of the hardware as a whole, of a device (for
/// a channel of its input or output section) or of a stream. Listeners are told of changes on the notification thread,
/// one after the other. I/O procs are called on the device's real-time thread, once a cycle, while they are started.
///
/// The calls forward to the backend that is installed (`OrvPlatform/AudioHardwareBackend.h`).

using AudioDeviceID = std::uint32_t;
using AudioStreamID = std::uint32_t;

/// No device.
inline constexpr AudioDeviceID kAudioDeviceUnknown = 0;

inline constexpr OSStatus kAudioHardwareNotRunningError = orv::statusCC("stop");
inline constexpr OSStatus kAudioHardwareUnspecifiedError = orv::statusCC("what");
inline constexpr OSStatus kAudioHardwareUnknownPropertyError = orv::statusCC("who?");
inline constexpr OSStatus kAudioHardwareBadPropertySizeError = orv::statusCC("!siz");
inline constexpr OSStatus kAudioHardwareIllegalOperationError = orv::statusCC("nope");
inline constexpr OSStatus kAudioHardwareBadDeviceError = orv::statusCC("!dev");
inline constexpr OSStatus kAudioHardwareBadStreamError = orv::statusCC("!str");
inline constexpr OSStatus kAudioDeviceUnsupportedFormatError = orv::statusCC("!dat");
inline constexpr OSStatus kAudioDevicePermissionsError = orv::statusCC("!hog");

/// Two numbers with what lies between them.
struct AudioValueRange {
  double mMinimum;
  double mMaximum;
};

/// A value to translate and room for what it becomes. Both blocks belong to the caller.
struct AudioValueTranslation {
  void* mInputData;
  std::uint32_t mInputDataSize;  ///< bytes
  void* mOutputData;
  std::uint32_t mOutputDataSize;  ///< bytes
};

// Fields of a time stamp that hold something.
inline constexpr std::uint32_t kAudioTimeStampSampleTimeValid = 1U << 0;
inline constexpr std::uint32_t kAudioTimeStampHostTimeValid = 1U << 1;
inline constexpr std::uint32_t kAudioTimeStampRateScalarValid = 1U << 2;

/// Called once a cycle on the device's I/O thread, under the rules for real-time code. A list has a buffer for each
/// stream of its section, of 32-bit floats in the machine's byte order, interleaved; a section without streams has an
/// empty list. Every cycle of a device has the same number of frames until its buffer frame size changes. The output is
/// silent at first; what several procs leave there is added up.
using AudioDeviceIOProc = OSStatus (*)(AudioDeviceID device, const AudioTimeStamp* now, const AudioBufferList* input,
                                       const AudioTimeStamp* inputTime, AudioBufferList* output,
                                       const AudioTimeStamp* outputTime, void* clientData);

/// Called on the notification thread.
using AudioHardwarePropertyListenerProc = OSStatus (*)(AudioHardwarePropertyID property, void* clientData);
using AudioDevicePropertyListenerProc = OSStatus (*)(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                                     AudioDevicePropertyID property, void* clientData);

// Sizes are bytes. `size` and `isWritable` may be null. In calls that get a property, `*size` is the room that there is
// and becomes what was filled in; too little room is `kAudioHardwareBadPropertySizeError`. All calls are thread-safe
// and, unless they say so, not real-time safe. What a backend throws becomes one log line and
// `kAudioHardwareUnspecifiedError`.
extern "C" {

ORV_API OSStatus AudioHardwareGetPropertyInfo(AudioHardwarePropertyID property, std::uint32_t* size, bool* isWritable);
ORV_API OSStatus AudioHardwareGetProperty(AudioHardwarePropertyID property, std::uint32_t* size, void* data);
ORV_API OSStatus AudioHardwareSetProperty(AudioHardwarePropertyID property, std::uint32_t size, const void* data);
/// `kAudioPropertyWildcardPropertyID` is told of everything. The same proc and client data are kept once.
ORV_API OSStatus AudioHardwareAddPropertyListener(AudioHardwarePropertyID property,
                                                  AudioHardwarePropertyListenerProc proc, void* clientData);
/// When it returns the proc is not running and will not be called again, unless it is called from a listener.
ORV_API OSStatus AudioHardwareRemovePropertyListener(AudioHardwarePropertyID property,
                                                     AudioHardwarePropertyListenerProc proc, void* clientData);

ORV_API OSStatus AudioDeviceGetPropertyInfo(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                            AudioDevicePropertyID property, std::uint32_t* size, bool* isWritable);
ORV_API OSStatus AudioDeviceGetProperty(AudioDeviceID device, std::uint32_t channel, bool isInput,
                                        AudioDevicePropertyID property, std::uint32_t* size, void* data);
/// `when` may be null: at once. Another time is not supported by any backend and means at once too.
ORV_API OSStatus AudioDeviceSetProperty(AudioDeviceID device, const AudioTimeStamp* when, std::uint32_t channel,
                                        bool isInput, AudioDevicePropertyID property, std::uint32_t size,
                                        const void* data);
/// `channel`, `section` (0: output, 1: input) and `property` may be wildcards.
ORV_API OSStatus AudioDeviceAddPropertyListener(AudioDeviceID device, std::uint32_t channel, std::uint8_t section,
                                                AudioDevicePropertyID property, AudioDevicePropertyListenerProc proc,
                                                void* clientData);
/// As `AudioHardwareRemovePropertyListener`.
ORV_API OSStatus AudioDeviceRemovePropertyListener(AudioDeviceID device, std::uint32_t channel, std::uint8_t section,
                                                   AudioDevicePropertyID property, AudioDevicePropertyListenerProc proc,
                                                   void* clientData);

ORV_API OSStatus AudioStreamGetPropertyInfo(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                            std::uint32_t* size, bool* isWritable);
ORV_API OSStatus AudioStreamGetProperty(AudioStreamID stream, std::uint32_t channel, AudioStreamPropertyID property,
                                        std::uint32_t* size, void* data);
ORV_API OSStatus AudioStreamSetProperty(AudioStreamID stream, const AudioTimeStamp* when, std::uint32_t channel,
                                        AudioStreamPropertyID property, std::uint32_t size, const void* data);

/// Installs a proc, which does not run yet. A proc is known by itself and its client data together: several users of
/// one device can install the same proc. `kAudioHardwareIllegalOperationError` when that pair is installed already.
ORV_API OSStatus AudioDeviceAddIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData);
/// Stops the proc if it runs. When it returns the proc is not running and will not be called again, unless it is called
/// from a cycle of that device: then once that cycle has ended. Works for a device that is gone, too.
ORV_API OSStatus AudioDeviceRemoveIOProc(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData);
/// The first proc that is started starts the device. Starting one that runs does nothing.
ORV_API OSStatus AudioDeviceStart(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData);
/// The last one that is stopped stops the device. As for `AudioDeviceRemoveIOProc`, the proc does not run any more.
/// When the device can't be stopped the proc goes on.
ORV_API OSStatus AudioDeviceStop(AudioDeviceID device, AudioDeviceIOProc proc, void* clientData);

/// Nanoseconds of a clock that never goes back: the host time of time stamps. Real-time safe.
ORV_API std::uint64_t AudioGetCurrentHostTime();

}  // extern "C"

namespace orv {

/// Returns when listeners have been told of every change until now. Must not be called from a listener.
ORV_API void waitForHardwareNotifications();

/// Whether the calling thread is in a device's cycle just now: where code must be real-time safe. Real-time safe.
ORV_API bool isInHardwareCycle() noexcept;

}  // namespace orv

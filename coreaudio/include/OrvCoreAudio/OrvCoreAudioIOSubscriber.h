#pragma once

#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/AudioTypes.h"
#include "OrvPlatform/Export.h"
#include "OrvPlatform/Status.h"

class OrvAudioDevice;

/// Takes part in a device's cycles: records, plays, meters, passes on. A class of the framework derives from this
/// beside `OrvObject`, and subscribes with `OrvAudioDevice::addAudioIOSubscriber_forInput`.
///
/// Rules for the handler, which runs on the device's real-time thread, once a cycle and never twice at the same time
/// for one subscription. A cycle that is late is a gap in somebody's recording.
///
/// Forbidden: to allocate or free memory (growing a container and releasing the last reference to an object included),
/// to wait for a lock or for another thread, to read or write files, to log, to post notifications, to throw.
/// Allowed: arithmetic and copies of the cycle's length, atomics, `try`-locks, `orv::RunLoop::post`, waking a thread,
/// and to add or remove a subscriber only where its own documentation says so: both allocate.
///
/// A subscriber is kept until it is removed. After its removal it may still be called once, by the cycle that is under
/// way; it is released once that has ended, and never on the real-time thread.
class ORV_API OrvCoreAudioIOSubscriber {
 public:
  virtual ~OrvCoreAudioIOSubscriber();

  /// One cycle of `device`. The lists have one buffer for each of the section's streams, of interleaved 32-bit floats
  /// in host byte order, and may be null or empty for a section that the device does not have.
  ///
  /// inputData: what came in; first frame at `inputTime`.
  /// outputData: where subscribers of the output leave or add their samples; silent before the first of them. Heard at
  ///   `outputTime`.
  /// clientData: the `OrvAudioDevice` whose procedure delivers the cycle.
  /// The status that is returned is not looked at.
  virtual OSStatus audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(  //
      OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
      const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
      void* clientData) noexcept = 0;
};

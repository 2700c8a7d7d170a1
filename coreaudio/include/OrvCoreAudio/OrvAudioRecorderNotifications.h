#pragma once

#include "OrvPlatform/Export.h"

/// What an `OrvAudioRecorder` posts to `orv::NotificationCenter::defaultCenter()` on the main thread, with itself as
/// the object. The text of each is its name.
extern "C" {
ORV_API extern const char* const OrvAudioRecorderStartedRecordingNotification;  ///< bit 1 of the event mask
ORV_API extern const char* const OrvAudioRecorderStoppedRecordingNotification;  ///< bit 2
ORV_API extern const char* const OrvAudioRecorderSampleRecordedNotification;    ///< bit 4; left out when they pile up
ORV_API extern const char* const OrvAudioRecorderPausedRecordingNotification;   ///< bit 8
/// Blocks were refused because the disk did not keep up: `droppedBlocks` says how many. Whatever the mask.
ORV_API extern const char* const OrvAudioRecorderDroppedBlocksNotification;
/// The disk, the device or its format put an end to what can be recorded: `lastProblem` says which. Whatever the mask.
/// A recording that `startRecording` began is finished by then, its file closed.
ORV_API extern const char* const OrvAudioRecorderInterruptedRecordingNotification;
}

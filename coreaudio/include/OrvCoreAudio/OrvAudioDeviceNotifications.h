#pragma once

#include "OrvPlatform/Export.h"

/// Names of what the device classes post to `orv::NotificationCenter::defaultCenter()`, always on the main thread. The
/// text of each is its own name.
extern "C" {

// Of one device, which is the sender.
ORV_API extern const char* const OrvAudioDeviceActualSampleRateDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceInputDataSourcesDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceInputSourceDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceInputVolumeDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceNominalSampleRateDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceOutputDataSourcesDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceOutputSourceDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceOutputVolumeDidChangeNotification;
ORV_API extern const char* const OrvAudioDevicePreferredChannelsForStereoDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceStreamConfigurationDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceStreamFormatDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceStreamsDidChangeNotification;
ORV_API extern const char* const OrvAudioDeviceTransportTypeDidChangeNotification;

// Of the hardware as a whole; the sender is `OrvAudioDevice::classObject()`.
ORV_API extern const char* const OrvAudioHardwareDefaultInputDeviceDidChangeNotification;
ORV_API extern const char* const OrvAudioHardwareDefaultOutputDeviceDidChangeNotification;
/// The registry is up to date when this is posted.
ORV_API extern const char* const OrvAudioHardwareDevicesDidChangeNotification;
ORV_API extern const char* const OrvAudioHardwarePropertyDidChangeNotification;

// For the host's own use: the framework never posts these.
ORV_API extern const char* const OrvAudioDeviceDidOverloadChangeNotification;
ORV_API extern const char* const OrvAudioDeviceNoLongerValidNotification;
ORV_API extern const char* const OrvAudioDevicePropertyDidChangeNotification;
ORV_API extern const char* const OrvAudioHardwareDeviceAddedNotification;
ORV_API extern const char* const OrvAudioHardwareDeviceRemovedNotification;

}  // extern "C"

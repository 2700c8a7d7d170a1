#include "OrvCoreAudio/OrvAudioDeviceNotifications.h"

const char* const OrvAudioDeviceActualSampleRateDidChangeNotification =
    "OrvAudioDeviceActualSampleRateDidChangeNotification";
const char* const OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification =
    "OrvAudioDeviceAvailableNominalSampleRatesDidChangeNotification";
const char* const OrvAudioDeviceInputDataSourcesDidChangeNotification =
    "OrvAudioDeviceInputDataSourcesDidChangeNotification";
const char* const OrvAudioDeviceInputSourceDidChangeNotification = "OrvAudioDeviceInputSourceDidChangeNotification";
const char* const OrvAudioDeviceInputVolumeDidChangeNotification = "OrvAudioDeviceInputVolumeDidChangeNotification";
const char* const OrvAudioDeviceNominalSampleRateDidChangeNotification =
    "OrvAudioDeviceNominalSampleRateDidChangeNotification";
const char* const OrvAudioDeviceOutputDataSourcesDidChangeNotification =
    "OrvAudioDeviceOutputDataSourcesDidChangeNotification";
const char* const OrvAudioDeviceOutputSourceDidChangeNotification = "OrvAudioDeviceOutputSourceDidChangeNotification";
const char* const OrvAudioDeviceOutputVolumeDidChangeNotification = "OrvAudioDeviceOutputVolumeDidChangeNotification";
const char* const OrvAudioDevicePreferredChannelsForStereoDidChangeNotification =
    "OrvAudioDevicePreferredChannelsForStereoDidChangeNotification";
const char* const OrvAudioDeviceStreamConfigurationDidChangeNotification =
    "OrvAudioDeviceStreamConfigurationDidChangeNotification";
const char* const OrvAudioDeviceStreamFormatDidChangeNotification = "OrvAudioDeviceStreamFormatDidChangeNotification";
const char* const OrvAudioDeviceStreamsDidChangeNotification = "OrvAudioDeviceStreamsDidChangeNotification";
const char* const OrvAudioDeviceTransportTypeDidChangeNotification = "OrvAudioDeviceTransportTypeDidChangeNotification";
const char* const OrvAudioHardwareDefaultInputDeviceDidChangeNotification =
    "OrvAudioHardwareDefaultInputDeviceDidChangeNotification";
const char* const OrvAudioHardwareDefaultOutputDeviceDidChangeNotification =
    "OrvAudioHardwareDefaultOutputDeviceDidChangeNotification";
const char* const OrvAudioHardwareDevicesDidChangeNotification = "OrvAudioHardwareDevicesDidChangeNotification";
const char* const OrvAudioHardwarePropertyDidChangeNotification = "OrvAudioHardwarePropertyDidChangeNotification";
const char* const OrvAudioDeviceDidOverloadChangeNotification = "OrvAudioDeviceDidOverloadChangeNotification";
const char* const OrvAudioDeviceNoLongerValidNotification = "OrvAudioDeviceNoLongerValidNotification";
const char* const OrvAudioDevicePropertyDidChangeNotification = "OrvAudioDevicePropertyDidChangeNotification";
const char* const OrvAudioHardwareDeviceAddedNotification = "OrvAudioHardwareDeviceAddedNotification";
const char* const OrvAudioHardwareDeviceRemovedNotification = "OrvAudioHardwareDeviceRemovedNotification";

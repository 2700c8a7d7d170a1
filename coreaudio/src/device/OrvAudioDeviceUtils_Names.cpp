#include <algorithm>
#include <array>

#include "OrvCoreAudio/OrvAudioDeviceUtils.h"
#include "OrvPlatform/AudioHardware.h"
#include "OrvPlatform/Log.h"

namespace {

struct CodeName {
  std::uint32_t code;
  const char* name;
};

// The name of a platform constant is its own spelling: they can't get out of step.
#define NAMED(constant) \
  CodeName {            \
    constant, #constant \
  }

constexpr std::array kPropertyNames = {
    NAMED(kAudioHardwarePropertyDevices),
    NAMED(kAudioHardwarePropertyDefaultInputDevice),
    NAMED(kAudioHardwarePropertyDefaultOutputDevice),
    NAMED(kAudioHardwarePropertyDefaultSystemOutputDevice),
    NAMED(kAudioHardwarePropertyDeviceForUID),
    NAMED(kAudioHardwarePropertySleepingIsAllowed),
    NAMED(kAudioHardwarePropertyUnloadingIsAllowed),
    NAMED(kAudioHardwarePropertyRunLoop),
    NAMED(kAudioHardwarePropertyBootChimeVolumeScalar),
    NAMED(kAudioHardwarePropertyBootChimeVolumeDecibels),
    NAMED(kAudioHardwarePropertyBootChimeVolumeRangeDecibels),
    NAMED(kAudioHardwarePropertyBootChimeVolumeScalarToDecibels),
    NAMED(kAudioHardwarePropertyBootChimeVolumeDecibelsToScalar),
    NAMED(kAudioDevicePropertyDeviceName),
    NAMED(kAudioDevicePropertyDeviceNameCFString),
    NAMED(kAudioDevicePropertyDeviceManufacturer),
    NAMED(kAudioDevicePropertyDeviceManufacturerCFString),
    NAMED(kAudioDevicePropertyPlugIn),
    NAMED(kAudioDevicePropertyDeviceUID),
    NAMED(kAudioDevicePropertyTransportType),
    NAMED(kAudioDevicePropertyDeviceIsAlive),
    NAMED(kAudioDevicePropertyDeviceIsRunning),
    NAMED(kAudioDevicePropertyDeviceIsRunningSomewhere),
    NAMED(kAudioDevicePropertyDeviceCanBeDefaultDevice),
    NAMED(kAudioDevicePropertyDeviceCanBeDefaultSystemDevice),
    NAMED(kAudioDevicePropertyJackIsConnected),
    NAMED(kAudioDeviceProcessorOverload),
    NAMED(kAudioDevicePropertyHogMode),
    NAMED(kAudioDevicePropertyRegisterBufferList),
    NAMED(kAudioDevicePropertyLatency),
    NAMED(kAudioDevicePropertyBufferSize),
    NAMED(kAudioDevicePropertyBufferSizeRange),
    NAMED(kAudioDevicePropertyBufferFrameSize),
    NAMED(kAudioDevicePropertyBufferFrameSizeRange),
    NAMED(kAudioDevicePropertyUsesVariableBufferFrameSizes),
    NAMED(kAudioDevicePropertyStreams),
    NAMED(kAudioDevicePropertySafetyOffset),
    NAMED(kAudioDevicePropertySupportsMixing),
    NAMED(kAudioDevicePropertyStreamConfiguration),
    NAMED(kAudioDevicePropertyIOProcStreamUsage),
    NAMED(kAudioDevicePropertyPreferredChannelsForStereo),
    NAMED(kAudioDevicePropertyNominalSampleRate),
    NAMED(kAudioDevicePropertyAvailableNominalSampleRates),
    NAMED(kAudioDevicePropertyActualSampleRate),
    NAMED(kAudioDevicePropertyStreamFormat),
    NAMED(kAudioDevicePropertyStreamFormats),
    NAMED(kAudioDevicePropertyStreamFormatSupported),
    NAMED(kAudioDevicePropertyStreamFormatMatch),
    NAMED(kAudioDevicePropertyVolumeScalar),
    NAMED(kAudioDevicePropertyVolumeDecibels),
    NAMED(kAudioDevicePropertyVolumeRangeDecibels),
    NAMED(kAudioDevicePropertyVolumeScalarToDecibels),
    NAMED(kAudioDevicePropertyVolumeDecibelsToScalar),
    NAMED(kAudioDevicePropertyMute),
    NAMED(kAudioDevicePropertyPlayThru),
    NAMED(kAudioDevicePropertyDataSource),
    NAMED(kAudioDevicePropertyDataSources),
    NAMED(kAudioDevicePropertyDataSourceNameForID),
    NAMED(kAudioDevicePropertyDataSourceNameForIDCFString),
    NAMED(kAudioDevicePropertyClockSource),
    NAMED(kAudioDevicePropertyClockSources),
    NAMED(kAudioDevicePropertyClockSourceNameForID),
    NAMED(kAudioDevicePropertyClockSourceNameForIDCFString),
    NAMED(kAudioDevicePropertyDriverShouldOwniSub),
    NAMED(kAudioDevicePropertySubVolumeScalar),
    NAMED(kAudioDevicePropertySubVolumeDecibels),
    NAMED(kAudioDevicePropertySubVolumeRangeDecibels),
    NAMED(kAudioDevicePropertySubVolumeScalarToDecibels),
    NAMED(kAudioDevicePropertySubVolumeDecibelsToScalar),
    NAMED(kAudioDevicePropertySubMute),
    NAMED(kAudioStreamPropertyOwningDevice),
    NAMED(kAudioStreamPropertyDirection),
    NAMED(kAudioStreamPropertyTerminalType),
    NAMED(kAudioStreamPropertyStartingChannel),
    NAMED(kAudioStreamPropertyPhysicalFormat),
    NAMED(kAudioStreamPropertyPhysicalFormats),
    NAMED(kAudioStreamPropertyPhysicalFormatSupported),
    NAMED(kAudioStreamPropertyPhysicalFormatMatch),
};
static_assert(kPropertyNames.size() == 78);

constexpr CodeName message(OSStatus status, const char* text) {
  return {static_cast<std::uint32_t>(status), text};
}

constexpr std::array kErrorMessages = {
    message(noErr, "No error"),
    message(kAudioHardwareNotRunningError, "Hardware not running error"),
    message(kAudioHardwareUnspecifiedError, "Hardware unspecified error"),
    message(kAudioHardwareUnknownPropertyError, "Hardware unknown property error"),
    message(kAudioHardwareBadPropertySizeError, "Hardware bad property size error"),
    message(kAudioHardwareIllegalOperationError, "Hardware illegal operation error"),
    message(kAudioHardwareBadDeviceError, "Hardware bad device error"),
    message(kAudioHardwareBadStreamError, "Hardware bad stream error"),
    message(kAudioDeviceUnsupportedFormatError, "Hardware unsupported format error"),
    message(kAudioDevicePermissionsError, "Permission denied"),
};

constexpr std::array kFormatNames = {
    CodeName{orv::fourCC("lpcm"), "Linear PCM"},     CodeName{orv::fourCC("ac-3"), "AC-3"},
    CodeName{orv::fourCC("cac3"), "AC-3 IEC 60958"}, CodeName{orv::fourCC("ima4"), "IMA 4:1"},
    CodeName{orv::fourCC("aac "), "MPEG-4 AAC"},     CodeName{orv::fourCC("celp"), "MPEG-4 CELP"},
    CodeName{orv::fourCC("hvxc"), "MPEG-4 HVXC"},    CodeName{orv::fourCC("twvq"), "MPEG-4 TwinVQ"},
};

#undef NAMED

template <typename Table>
const char* nameIn(const Table& table, std::uint32_t code) {
  const auto* const entry =
      std::find_if(table.begin(), table.end(), [&](const CodeName& candidate) { return candidate.code == code; });
  return entry == table.end() ? nullptr : entry->name;
}

}  // namespace

std::string OrvAudioDeviceUtils::formatNameForID(std::uint32_t formatID) {
  const char* const name = nameIn(kFormatNames, formatID);
  return name != nullptr ? name : "Unknown format";
}

std::string OrvAudioDeviceUtils::errorMessage(OSStatus status) {
  const auto code = static_cast<std::uint32_t>(status);
  const char* const message = nameIn(kErrorMessages, code);
  return message != nullptr ? message
                            : orv::formatText("Unknown error code: (%x) '%s'", code, orv::fourCCText(code).c_str());
}

std::string OrvAudioDeviceUtils::errorMessage_forProperty(OSStatus status, std::uint32_t propertyID) {
  return errorMessage(status) + " (" + propertyName(propertyID) + ")";
}

std::string OrvAudioDeviceUtils::propertyName(std::uint32_t propertyID) {
  const char* const name = nameIn(kPropertyNames, propertyID);
  return name != nullptr ? name : orv::formatText("Unknown property: '%s'", orv::fourCCText(propertyID).c_str());
}

#pragma once

#include <cstdint>

#include "OrvPlatform/Status.h"

/// Codes of the hardware's properties, with the type of each value. Flags and numbers are `std::uint32_t` where nothing
/// else is said; texts are UTF-8 without a terminator, their length is the value's size; "list" means any number of
/// values side by side.

using AudioHardwarePropertyID = std::uint32_t;
using AudioDevicePropertyID = std::uint32_t;
using AudioStreamPropertyID = std::uint32_t;

/// In listeners: any property.
inline constexpr std::uint32_t kAudioPropertyWildcardPropertyID = orv::fourCC("****");
/// In listeners: any channel.
inline constexpr std::uint32_t kAudioPropertyWildcardChannel = 0xFFFFFFFF;
/// In listeners: both directions.
inline constexpr std::uint8_t kAudioPropertyWildcardSection = 0xFF;

// Of the hardware as a whole.
/// List of AudioDeviceID.
inline constexpr std::uint32_t kAudioHardwarePropertyDevices = orv::fourCC("dev#");
/// AudioDeviceID, 0 (`kAudioDeviceUnknown`) when there is none; writable.
inline constexpr std::uint32_t kAudioHardwarePropertyDefaultInputDevice = orv::fourCC("dIn ");
inline constexpr std::uint32_t kAudioHardwarePropertyDefaultOutputDevice = orv::fourCC("dOut");
inline constexpr std::uint32_t kAudioHardwarePropertyDefaultSystemOutputDevice = orv::fourCC("sOut");
/// AudioValueTranslation: from a UID, UTF-8 and null-terminated, to its AudioDeviceID. The input size counts characters
/// and is not needed. An unknown UID gives the ID 0.
inline constexpr std::uint32_t kAudioHardwarePropertyDeviceForUID = orv::fourCC("duid");
inline constexpr std::uint32_t kAudioHardwarePropertySleepingIsAllowed = orv::fourCC("slep");
inline constexpr std::uint32_t kAudioHardwarePropertyUnloadingIsAllowed = orv::fourCC("unld");
inline constexpr std::uint32_t kAudioHardwarePropertyRunLoop = orv::fourCC("rnlp");
/// Float 0.0 to 1.0, writable.
inline constexpr std::uint32_t kAudioHardwarePropertyBootChimeVolumeScalar = orv::fourCC("bbvs");
/// Float in dB, writable.
inline constexpr std::uint32_t kAudioHardwarePropertyBootChimeVolumeDecibels = orv::fourCC("bbvd");
/// AudioValueRange in dB.
inline constexpr std::uint32_t kAudioHardwarePropertyBootChimeVolumeRangeDecibels = orv::fourCC("bbd#");
inline constexpr std::uint32_t kAudioHardwarePropertyBootChimeVolumeScalarToDecibels = orv::fourCC("bv2d");
inline constexpr std::uint32_t kAudioHardwarePropertyBootChimeVolumeDecibelsToScalar = orv::fourCC("bd2v");

// Of a device, identity. Channel 0 is the device as a whole, its channels count from 1.
/// Texts.
inline constexpr std::uint32_t kAudioDevicePropertyDeviceName = orv::fourCC("name");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceNameCFString = orv::fourCC("lnam");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceManufacturer = orv::fourCC("makr");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceManufacturerCFString = orv::fourCC("lmak");
inline constexpr std::uint32_t kAudioDevicePropertyPlugIn = orv::fourCC("plug");
/// Text that stays the same for a device whenever it is plugged in.
inline constexpr std::uint32_t kAudioDevicePropertyDeviceUID = orv::fourCC("uid ");
/// Four-character code: 'bltn', 'usb ', '1394', 'virt'.
inline constexpr std::uint32_t kAudioDevicePropertyTransportType = orv::fourCC("tran");
/// Flags.
inline constexpr std::uint32_t kAudioDevicePropertyDeviceIsAlive = orv::fourCC("livn");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceIsRunning = orv::fourCC("goin");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceIsRunningSomewhere = orv::fourCC("gone");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceCanBeDefaultDevice = orv::fourCC("dflt");
inline constexpr std::uint32_t kAudioDevicePropertyDeviceCanBeDefaultSystemDevice = orv::fourCC("sflt");
/// Flag, of channel 1 of a section.
inline constexpr std::uint32_t kAudioDevicePropertyJackIsConnected = orv::fourCC("jack");
/// Never read: told to listeners when a cycle came too late.
inline constexpr std::uint32_t kAudioDeviceProcessorOverload = orv::fourCC("over");
inline constexpr std::uint32_t kAudioDevicePropertyHogMode = orv::fourCC("oink");

// Of a device, its cycle. Sections: input, output.
inline constexpr std::uint32_t kAudioDevicePropertyRegisterBufferList = orv::fourCC("rbuf");
/// Frames between the converter and the cycle.
inline constexpr std::uint32_t kAudioDevicePropertyLatency = orv::fourCC("ltnc");
/// Bytes of one cycle of the section's first stream; writable.
inline constexpr std::uint32_t kAudioDevicePropertyBufferSize = orv::fourCC("bsiz");
/// AudioValueRange.
inline constexpr std::uint32_t kAudioDevicePropertyBufferSizeRange = orv::fourCC("bsz#");
/// Frames of one cycle; writable.
inline constexpr std::uint32_t kAudioDevicePropertyBufferFrameSize = orv::fourCC("fsiz");
/// AudioValueRange.
inline constexpr std::uint32_t kAudioDevicePropertyBufferFrameSizeRange = orv::fourCC("fsz#");
inline constexpr std::uint32_t kAudioDevicePropertyUsesVariableBufferFrameSizes = orv::fourCC("vfsz");
/// List of AudioStreamID.
inline constexpr std::uint32_t kAudioDevicePropertyStreams = orv::fourCC("stm#");
/// Frames that a cycle keeps away from the converter.
inline constexpr std::uint32_t kAudioDevicePropertySafetyOffset = orv::fourCC("saft");
inline constexpr std::uint32_t kAudioDevicePropertySupportsMixing = orv::fourCC("mix?");
/// AudioBufferList with a buffer for each stream, without data.
inline constexpr std::uint32_t kAudioDevicePropertyStreamConfiguration = orv::fourCC("slay");
inline constexpr std::uint32_t kAudioDevicePropertyIOProcStreamUsage = orv::fourCC("suse");
/// Two channel numbers.
inline constexpr std::uint32_t kAudioDevicePropertyPreferredChannelsForStereo = orv::fourCC("dch2");
/// AudioChannelLayout.
inline constexpr std::uint32_t kAudioDevicePropertyPreferredChannelLayout = orv::fourCC("srnd");

// Of a device, rates and formats.
/// Doubles, frames per second; the nominal one is writable.
inline constexpr std::uint32_t kAudioDevicePropertyNominalSampleRate = orv::fourCC("nsrt");
inline constexpr std::uint32_t kAudioDevicePropertyActualSampleRate = orv::fourCC("asrt");
/// List of AudioValueRange.
inline constexpr std::uint32_t kAudioDevicePropertyAvailableNominalSampleRates = orv::fourCC("nsr#");
/// AudioStreamBasicDescription of the stream that holds the channel (0: the first) as cycles deliver it; writable.
inline constexpr std::uint32_t kAudioDevicePropertyStreamFormat = orv::fourCC("sfmt");
/// List of AudioStreamBasicDescription.
inline constexpr std::uint32_t kAudioDevicePropertyStreamFormats = orv::fourCC("sfm#");
/// AudioStreamBasicDescription that is passed in; the status says whether it is supported.
inline constexpr std::uint32_t kAudioDevicePropertyStreamFormatSupported = orv::fourCC("sfm?");
/// AudioStreamBasicDescription that is passed in, and replaced by the closest one that is supported.
inline constexpr std::uint32_t kAudioDevicePropertyStreamFormatMatch = orv::fourCC("sfmm");

// Of a device, controls of a section's channel.
/// Float 0.0 to 1.0.
inline constexpr std::uint32_t kAudioDevicePropertyVolumeScalar = orv::fourCC("volm");
/// Float in dB.
inline constexpr std::uint32_t kAudioDevicePropertyVolumeDecibels = orv::fourCC("vold");
/// AudioValueRange in dB.
inline constexpr std::uint32_t kAudioDevicePropertyVolumeRangeDecibels = orv::fourCC("vdb#");
/// Float that is passed in, and replaced by its translation.
inline constexpr std::uint32_t kAudioDevicePropertyVolumeScalarToDecibels = orv::fourCC("v2db");
inline constexpr std::uint32_t kAudioDevicePropertyVolumeDecibelsToScalar = orv::fourCC("db2v");
inline constexpr std::uint32_t kAudioDevicePropertyMute = orv::fourCC("mute");
/// Flag of channel 1 of the input section: the device plays its input by itself.
inline constexpr std::uint32_t kAudioDevicePropertyPlayThru = orv::fourCC("thru");
/// ID of the source that the section uses; writable.
inline constexpr std::uint32_t kAudioDevicePropertyDataSource = orv::fourCC("ssrc");
/// List of IDs.
inline constexpr std::uint32_t kAudioDevicePropertyDataSources = orv::fourCC("ssc#");
inline constexpr std::uint32_t kAudioDevicePropertyDataSourceNameForID = orv::fourCC("sscn");
/// AudioValueTranslation: from an ID to a text. The output size is the room in bytes, then the text's length.
inline constexpr std::uint32_t kAudioDevicePropertyDataSourceNameForIDCFString = orv::fourCC("lscn");
inline constexpr std::uint32_t kAudioDevicePropertyClockSource = orv::fourCC("csrc");
inline constexpr std::uint32_t kAudioDevicePropertyClockSources = orv::fourCC("csc#");
inline constexpr std::uint32_t kAudioDevicePropertyClockSourceNameForID = orv::fourCC("cscn");
inline constexpr std::uint32_t kAudioDevicePropertyClockSourceNameForIDCFString = orv::fourCC("lcsn");
inline constexpr std::uint32_t kAudioDevicePropertyDriverShouldOwniSub = orv::fourCC("isub");
inline constexpr std::uint32_t kAudioDevicePropertySubVolumeScalar = orv::fourCC("svlm");
inline constexpr std::uint32_t kAudioDevicePropertySubVolumeDecibels = orv::fourCC("svld");
inline constexpr std::uint32_t kAudioDevicePropertySubVolumeRangeDecibels = orv::fourCC("svd#");
inline constexpr std::uint32_t kAudioDevicePropertySubVolumeScalarToDecibels = orv::fourCC("sv2d");
inline constexpr std::uint32_t kAudioDevicePropertySubVolumeDecibelsToScalar = orv::fourCC("sd2v");
inline constexpr std::uint32_t kAudioDevicePropertySubMute = orv::fourCC("smut");

// Of a stream.
/// AudioDeviceID.
inline constexpr std::uint32_t kAudioStreamPropertyOwningDevice = orv::fourCC("stdv");
/// 1: input, 0: output.
inline constexpr std::uint32_t kAudioStreamPropertyDirection = orv::fourCC("sdir");
inline constexpr std::uint32_t kAudioStreamPropertyTerminalType = orv::fourCC("term");
/// The device's channel that is the stream's first.
inline constexpr std::uint32_t kAudioStreamPropertyStartingChannel = orv::fourCC("schn");
/// AudioStreamBasicDescription of the converter; writable. Of a device too, for the stream that holds a channel.
inline constexpr std::uint32_t kAudioStreamPropertyPhysicalFormat = orv::fourCC("pft ");
/// List of AudioStreamBasicDescription; a rate of 0 stands for every nominal rate of the device.
inline constexpr std::uint32_t kAudioStreamPropertyPhysicalFormats = orv::fourCC("pft#");
inline constexpr std::uint32_t kAudioStreamPropertyPhysicalFormatSupported = orv::fourCC("pft?");
inline constexpr std::uint32_t kAudioStreamPropertyPhysicalFormatMatch = orv::fourCC("pftm");

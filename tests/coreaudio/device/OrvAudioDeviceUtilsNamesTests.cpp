#include <OrvCoreAudio/OrvAudioDeviceUtils.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrvPlatform/Status.h"

namespace {

using Utils = OrvAudioDeviceUtils;

std::uint32_t codeOf(const std::string& text) {
  std::uint32_t code = 0;
  for (const char character : text) {
    code = (code << 8) | static_cast<unsigned char>(character);
  }
  return code;
}

struct Name {
  const char* code;
  const char* name;
};

constexpr Name kProperties[] = {
    {"dev#", "kAudioHardwarePropertyDevices"},
    {"dIn ", "kAudioHardwarePropertyDefaultInputDevice"},
    {"dOut", "kAudioHardwarePropertyDefaultOutputDevice"},
    {"sOut", "kAudioHardwarePropertyDefaultSystemOutputDevice"},
    {"duid", "kAudioHardwarePropertyDeviceForUID"},
    {"slep", "kAudioHardwarePropertySleepingIsAllowed"},
    {"unld", "kAudioHardwarePropertyUnloadingIsAllowed"},
    {"rnlp", "kAudioHardwarePropertyRunLoop"},
    {"bbvs", "kAudioHardwarePropertyBootChimeVolumeScalar"},
    {"bbvd", "kAudioHardwarePropertyBootChimeVolumeDecibels"},
    {"bbd#", "kAudioHardwarePropertyBootChimeVolumeRangeDecibels"},
    {"bv2d", "kAudioHardwarePropertyBootChimeVolumeScalarToDecibels"},
    {"bd2v", "kAudioHardwarePropertyBootChimeVolumeDecibelsToScalar"},
    {"name", "kAudioDevicePropertyDeviceName"},
    {"lnam", "kAudioDevicePropertyDeviceNameCFString"},
    {"makr", "kAudioDevicePropertyDeviceManufacturer"},
    {"lmak", "kAudioDevicePropertyDeviceManufacturerCFString"},
    {"plug", "kAudioDevicePropertyPlugIn"},
    {"uid ", "kAudioDevicePropertyDeviceUID"},
    {"tran", "kAudioDevicePropertyTransportType"},
    {"livn", "kAudioDevicePropertyDeviceIsAlive"},
    {"goin", "kAudioDevicePropertyDeviceIsRunning"},
    {"gone", "kAudioDevicePropertyDeviceIsRunningSomewhere"},
    {"dflt", "kAudioDevicePropertyDeviceCanBeDefaultDevice"},
    {"sflt", "kAudioDevicePropertyDeviceCanBeDefaultSystemDevice"},
    {"jack", "kAudioDevicePropertyJackIsConnected"},
    {"over", "kAudioDeviceProcessorOverload"},
    {"oink", "kAudioDevicePropertyHogMode"},
    {"rbuf", "kAudioDevicePropertyRegisterBufferList"},
    {"ltnc", "kAudioDevicePropertyLatency"},
    {"bsiz", "kAudioDevicePropertyBufferSize"},
    {"bsz#", "kAudioDevicePropertyBufferSizeRange"},
    {"fsiz", "kAudioDevicePropertyBufferFrameSize"},
    {"fsz#", "kAudioDevicePropertyBufferFrameSizeRange"},
    {"vfsz", "kAudioDevicePropertyUsesVariableBufferFrameSizes"},
    {"stm#", "kAudioDevicePropertyStreams"},
    {"saft", "kAudioDevicePropertySafetyOffset"},
    {"mix?", "kAudioDevicePropertySupportsMixing"},
    {"slay", "kAudioDevicePropertyStreamConfiguration"},
    {"suse", "kAudioDevicePropertyIOProcStreamUsage"},
    {"dch2", "kAudioDevicePropertyPreferredChannelsForStereo"},
    {"nsrt", "kAudioDevicePropertyNominalSampleRate"},
    {"nsr#", "kAudioDevicePropertyAvailableNominalSampleRates"},
    {"asrt", "kAudioDevicePropertyActualSampleRate"},
    {"sfmt", "kAudioDevicePropertyStreamFormat"},
    {"sfm#", "kAudioDevicePropertyStreamFormats"},
    {"sfm?", "kAudioDevicePropertyStreamFormatSupported"},
    {"sfmm", "kAudioDevicePropertyStreamFormatMatch"},
    {"volm", "kAudioDevicePropertyVolumeScalar"},
    {"vold", "kAudioDevicePropertyVolumeDecibels"},
    {"vdb#", "kAudioDevicePropertyVolumeRangeDecibels"},
    {"v2db", "kAudioDevicePropertyVolumeScalarToDecibels"},
    {"db2v", "kAudioDevicePropertyVolumeDecibelsToScalar"},
    {"mute", "kAudioDevicePropertyMute"},
    {"thru", "kAudioDevicePropertyPlayThru"},
    {"ssrc", "kAudioDevicePropertyDataSource"},
    {"ssc#", "kAudioDevicePropertyDataSources"},
    {"sscn", "kAudioDevicePropertyDataSourceNameForID"},
    {"lscn", "kAudioDevicePropertyDataSourceNameForIDCFString"},
    {"csrc", "kAudioDevicePropertyClockSource"},
    {"csc#", "kAudioDevicePropertyClockSources"},
    {"cscn", "kAudioDevicePropertyClockSourceNameForID"},
    {"lcsn", "kAudioDevicePropertyClockSourceNameForIDCFString"},
    {"isub", "kAudioDevicePropertyDriverShouldOwniSub"},
    {"svlm", "kAudioDevicePropertySubVolumeScalar"},
    {"svld", "kAudioDevicePropertySubVolumeDecibels"},
    {"svd#", "kAudioDevicePropertySubVolumeRangeDecibels"},
    {"sv2d", "kAudioDevicePropertySubVolumeScalarToDecibels"},
    {"sd2v", "kAudioDevicePropertySubVolumeDecibelsToScalar"},
    {"smut", "kAudioDevicePropertySubMute"},
    {"stdv", "kAudioStreamPropertyOwningDevice"},
    {"sdir", "kAudioStreamPropertyDirection"},
    {"term", "kAudioStreamPropertyTerminalType"},
    {"schn", "kAudioStreamPropertyStartingChannel"},
    {"pft ", "kAudioStreamPropertyPhysicalFormat"},
    {"pft#", "kAudioStreamPropertyPhysicalFormats"},
    {"pft?", "kAudioStreamPropertyPhysicalFormatSupported"},
    {"pftm", "kAudioStreamPropertyPhysicalFormatMatch"},
};

}  // namespace

TEST(OrvAudioDeviceUtilsNames, FormatIDsHaveNames) {
  EXPECT_EQ(Utils::formatNameForID(0x6C70636D), "Linear PCM");
  EXPECT_EQ(Utils::formatNameForID(0x61632D33), "AC-3");
  EXPECT_EQ(Utils::formatNameForID(0x63616333), "AC-3 IEC 60958");
  EXPECT_EQ(Utils::formatNameForID(0x696D6134), "IMA 4:1");
  EXPECT_EQ(Utils::formatNameForID(0x61616320), "MPEG-4 AAC");
  EXPECT_EQ(Utils::formatNameForID(0x63656C70), "MPEG-4 CELP");
  EXPECT_EQ(Utils::formatNameForID(0x68767863), "MPEG-4 HVXC");
  EXPECT_EQ(Utils::formatNameForID(0x74777671), "MPEG-4 TwinVQ");
  EXPECT_EQ(Utils::formatNameForID(0), "Unknown format");
}

TEST(OrvAudioDeviceUtilsNames, StatusesHaveMessages) {
  EXPECT_EQ(Utils::errorMessage(0), "No error");
  EXPECT_EQ(Utils::errorMessage(0x73746F70), "Hardware not running error");
  EXPECT_EQ(Utils::errorMessage(0x77686174), "Hardware unspecified error");
  EXPECT_EQ(Utils::errorMessage(0x77686F3F), "Hardware unknown property error");
  EXPECT_EQ(Utils::errorMessage(0x2173697A), "Hardware bad property size error");
  EXPECT_EQ(Utils::errorMessage(0x6E6F7065), "Hardware illegal operation error");
  EXPECT_EQ(Utils::errorMessage(0x21646576), "Hardware bad device error");
  EXPECT_EQ(Utils::errorMessage(0x21737472), "Hardware bad stream error");
  EXPECT_EQ(Utils::errorMessage(0x21646174), "Hardware unsupported format error");
  EXPECT_EQ(Utils::errorMessage(0x21686F67), "Permission denied");
}

TEST(OrvAudioDeviceUtilsNames, AnUnknownStatusIsShownInHexadecimalAndAsItsCharacters) {
  EXPECT_EQ(Utils::errorMessage(0x61626364), "Unknown error code: (61626364) 'abcd'");
}

TEST(OrvAudioDeviceUtilsNames, BytesThatDoNotPrintAreShownAsDots) {
  EXPECT_EQ(Utils::errorMessage(-50), "Unknown error code: (ffffffce) '....'");
  EXPECT_EQ(Utils::propertyName(0x61006263), "Unknown property: 'a.bc'");
}

TEST(OrvAudioDeviceUtilsNames, AMessageForAPropertyNamesItInBrackets) {
  EXPECT_EQ(Utils::errorMessage_forProperty(0x77686F3F, codeOf("volm")),
            "Hardware unknown property error (kAudioDevicePropertyVolumeScalar)");
}

TEST(OrvAudioDeviceUtilsNames, EachPropertyHasItsConstantsName) {
  ASSERT_EQ(std::size(kProperties), 78U);
  for (const Name& property : kProperties) {
    EXPECT_EQ(Utils::propertyName(codeOf(property.code)), property.name);
  }
}

TEST(OrvAudioDeviceUtilsNames, TheOverloadIsNamedWithoutTheWordProperty) {
  EXPECT_EQ(Utils::propertyName(codeOf("over")), "kAudioDeviceProcessorOverload");
}

TEST(OrvAudioDeviceUtilsNames, AnUnknownPropertyIsShownAsItsCharacters) {
  EXPECT_EQ(Utils::propertyName(codeOf("zzzz")), "Unknown property: 'zzzz'");
  EXPECT_EQ(Utils::propertyName(codeOf("srnd")), "Unknown property: 'srnd'");
}

#include <OrvCoreAudio/OrvAudioDeviceStreamDefaults.h>
#include <OrvCoreAudio/OrvAudioDeviceUtils.h>
#include <gtest/gtest.h>

#include "OrvPlatform/Status.h"

namespace {

/// A device whose input runs in one format and whose output can't be read.
class Device final : public OrvAudioDeviceStreamDefaults {
 public:
  std::shared_ptr<OrvAudioStreamBasicDescription> actualStreamFormat_isInput(std::uint32_t channel,
                                                                             bool isInput) override {
    channelAskedFor = channel;
    return isInput ? OrvAudioStreamBasicDescription::standardFormat(1) : nullptr;
  }

  std::uint32_t channelAskedFor = 99;
};

}  // namespace

TEST(OrvAudioDeviceStreamDefaults, EachOperationReturnsItsFieldOfTheFormat) {
  Device device;
  EXPECT_EQ(device.sampleRate(true), 48000);
  EXPECT_EQ(device.formatID(true), orv::fourCC("lpcm"));
  EXPECT_EQ(device.formatIDName(true), "Linear PCM");
  EXPECT_EQ(device.formatFlags(true), 14U);
  EXPECT_EQ(device.bytesPerPacket(true), 6U);
  EXPECT_EQ(device.framesPerPacket(true), 1U);
  EXPECT_EQ(device.bytesPerFrame(true), 6U);
  EXPECT_EQ(device.channelsPerFrame(true), 2U);
  EXPECT_EQ(device.bitsPerChannel(true), 20U);
}

TEST(OrvAudioDeviceStreamDefaults, TheDeviceIsAskedForItsMasterChannel) {
  Device device;
  device.sampleRate(true);
  EXPECT_EQ(device.channelAskedFor, 0U);
}

TEST(OrvAudioDeviceStreamDefaults, AFormatThatCannotBeReadIsAllZeroAndUnknown) {
  Device device;
  EXPECT_EQ(device.sampleRate(false), 0);
  EXPECT_EQ(device.formatID(false), 0U);
  EXPECT_EQ(device.formatIDName(false), "Unknown format");
  EXPECT_EQ(device.bitsPerChannel(false), 0U);
}

TEST(OrvAudioDeviceUtils, FormatIDsHaveNames) {
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x6C70636D), "Linear PCM");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x61632D33), "AC-3");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x63616333), "AC-3 IEC 60958");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x696D6134), "IMA 4:1");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x61616320), "MPEG-4 AAC");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x63656C70), "MPEG-4 CELP");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x68767863), "MPEG-4 HVXC");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0x74777671), "MPEG-4 TwinVQ");
  EXPECT_EQ(OrvAudioDeviceUtils::formatNameForID(0), "Unknown format");
}

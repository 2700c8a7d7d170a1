#include <OrvCoreAudio/OrvAudioDeviceStreamDefaults.h>
#include <gtest/gtest.h>

#include "OrvPlatform/Status.h"

namespace {

/// A device whose input runs in one format and whose output can't be read.
class Device final : public OrvAudioDeviceStreamDefaults {
 public:
  std::shared_ptr<OrvAudioStreamBasicDescription> actualStreamFormat_isInput(std::uint32_t channel,
                                                                             bool isInput) const override {
    channelAskedFor = channel;
    return isInput ? OrvAudioStreamBasicDescription::standardFormat(1) : nullptr;
  }

  mutable std::uint32_t channelAskedFor = 99;
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

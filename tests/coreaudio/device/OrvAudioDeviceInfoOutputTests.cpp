#include <OrvCoreAudio/OrvAudioDeviceInfoOutput.h>
#include <OrvCoreAudio/OrvAudioStream.h>
#include <gtest/gtest.h>

#include "coreaudio/support/FakeDevices.h"
#include "coreaudio/support/Translations.h"

using orv::fourCC;
using orv::test::bytesOf;
using orv::test::FakeProperty;
using orv::test::LogCapture;
using orv::test::Place;
using Output = OrvAudioDeviceInfoOutput;

namespace {

constexpr const char* kZeroFormat =
    "\tSample rate:      0Hz\n\tFormat ID:        0x0\n\tFormat name:      Unknown format\n\tFormat flags:     0x0\n"
    "\tBytes/packet:     0\n\tFrames/packet:    0\n\tBytes/frame:      0\n\tChannels/frame:   0\n"
    "\tBits/channel:     0\n\tReserved:         0x0\n";

std::string floatFormat(const std::string& rate) {
  return "\tSample rate:      " + rate +
         "Hz\n\tFormat ID:        0x6C70636D\n\tFormat name:      Linear PCM\n\tFormat flags:     0x9\n"
         "\t\tkAudioFormatFlagIsFloat\n\t\tkAudioFormatFlagIsPacked\n"
         "\tBytes/packet:     8\n\tFrames/packet:    1\n\tBytes/frame:      8\n\tChannels/frame:   2\n"
         "\tBits/channel:     32\n\tReserved:         0x0\n";
}

class OrvAudioDeviceInfoOutputTest : public orv::test::FakeDevices {
 protected:
  void setOutput(const std::uint32_t property, std::string bytes, std::uint32_t channel = 0) {
    hardware->set(Place::ofOutput(kDevice, property, channel), std::move(bytes));
  }

  /// Source 7 has a name, the others none.
  void setSources(const std::vector<std::uint32_t>& ids, std::uint32_t current) {
    setOutput(fourCC("ssc#"), bytesOf(ids));
    setOutput(fourCC("ssrc"), bytesOf(current));
    hardware->set(Place::ofOutput(kDevice, fourCC("lscn")),
                  FakeProperty{.read = [](std::uint32_t*, void* data) -> OSStatus {
                    auto& translation = *static_cast<AudioValueTranslation*>(data);
                    if (*static_cast<std::uint32_t*>(translation.mInputData) != 7) {
                      return kAudioHardwareIllegalOperationError;
                    }
                    std::memcpy(translation.mOutputData, "Line", 4);
                    translation.mOutputDataSize = 4;
                    return noErr;
                  }});
  }
};

}  // namespace

TEST_F(OrvAudioDeviceInfoOutputTest, TheGlobalReportTellsIdentityAndAbilities) {
  setOutput(fourCC("uid "), "virtual:1");
  hardware->set(Place::ofInput(kDevice, fourCC("lnam")), "Line");
  hardware->set(Place::ofInput(kDevice, fourCC("goin")), bytesOf(1U));
  setOutput(fourCC("slay"), configuration({2}));
  EXPECT_EQ(Output::printGlobalDeviceInfo(device()),
            "\n---- GLOBAL DEVICE DATA ---\n\n"
            "Device ID:                    0x28\n"
            "Device UID:                   virtual:1\n"
            "Device Name:                  Line\n"
            "Device Manufacturers name:    (null)\n"
            "Supports mixing:              No\n"
            "Is running:                   Yes\n"
            "Is alive:                     Yes\n"
            "Can be default device:        No\n"
            "Can be default system device: No\n"
            "Can be input device:          No\n"
            "Can be output device:         Yes\n");
}

TEST_F(OrvAudioDeviceInfoOutputTest, ASectionWithEverythingIsTold) {
  setOutput(fourCC("slay"), configuration({2}));
  setOutput(fourCC("nsrt"), bytesOf(44100.0));
  setOutput(fourCC("asrt"), bytesOf(44099.6));
  setOutput(fourCC("jack"), bytesOf(1U), 1);
  setOutput(fourCC("sfmt"), bytesOf(format(44100)));
  setOutput(fourCC("pft "), bytesOf(format(48000)));
  setOutput(fourCC("ltnc"), bytesOf(31U));
  setOutput(fourCC("bsiz"), bytesOf(4096U));
  setOutput(fourCC("fsiz"), bytesOf(512U));
  setOutput(fourCC("dch2"), bytesOf(std::vector<std::uint32_t>{3, 4}));
  setOutput(fourCC("stm#"), bytesOf(0xABCU));
  hardware->set(Place::ofStream(0xABC, fourCC("schn")), bytesOf(1U));
  hardware->set(Place::ofStream(0xABC, fourCC("pft "), 1), bytesOf(format(96000)));
  setSources({7}, 7);
  setOutput(fourCC("nsr#"), bytesOf(std::vector<AudioValueRange>{{44100, 44100}, {48000, 96000}}));
  setOutput(fourCC("vold"), bytesOf(-6.125F), 3);
  setOutput(fourCC("volm"), bytesOf(0.5F), 3);
  EXPECT_EQ(Output::printDirectionalDeviceInfo_isInput(device(), false),
            "\n---- OUTPUTS ----\n\n"
            "Number of streams:   1\n"
            "Number of channels:  2\n"
            "Nominal sample rate: 44100Hz\n"
            "Actual sample rate:  44100Hz\n\n"
            "Jack is connected:   Yes\n"
            "Current actual stream format for device:\n" +
                floatFormat("44100") + "Current physical stream format for device:\n" + floatFormat("48000") +
                "\n---- OUTPUT BUFFER INFO ----\n\n"
                "Latency:           31\n"
                "Buffer size:       4096\n"
                "Buffer frame size: 512\n\n"
                "Preferred channels for stereo: 3, 4\n"
                "\n---- Available output streams: ----\n\n"
                "Stream ID: 0xABC\n"
                "Stream's current physical format:\n" +
                floatFormat("96000") +
                "output source names:\n"
                "\tLine\n"
                "\n\n---- Available nominal output sample rates: ----\n\n"
                "Minimum: 44100Hz\n"
                "Maximum: 44100Hz\n"
                "Minimum: 48000Hz\n"
                "Maximum: 96000Hz\n"
                "\nCurrent output source name: Line\n"
                "\noutput volume decibels: -6.12\n"
                "output volume scalar:   0.50\n");
}

TEST_F(OrvAudioDeviceInfoOutputTest, ASectionThatIsNotThereHasEveryHeadingAndZeros) {
  EXPECT_EQ(Output::printDirectionalDeviceInfo_isInput(device(), true),
            std::string("\n---- INPUTS ----\n\n"
                        "Number of streams:   0\n"
                        "Number of channels:  0\n"
                        "Nominal sample rate: 0Hz\n"
                        "Actual sample rate:  0Hz\n\n"
                        "Jack is connected:   No\n"
                        "Current actual stream format for device:\n") +
                kZeroFormat + "Current physical stream format for device:\n" + kZeroFormat +
                "\n---- INPUT BUFFER INFO ----\n\n"
                "Latency:           0\n"
                "Buffer size:       0\n"
                "Buffer frame size: 0\n\n"
                "\n---- Available input streams: ----\n\n"
                "input source names:\n"
                "\n\n---- Available nominal input sample rates: ----\n\n"
                "\nNo current input source name available");
}

TEST_F(OrvAudioDeviceInfoOutputTest, ASourceWithoutANameRunsIntoTheNextEntry) {
  setSources({5, 7, 6}, 5);
  const std::string report = Output::printDirectionalDeviceInfo_isInput(device(), false);
  EXPECT_NE(report.find("output source names:\nUnavailable\tLine\nUnavailable\n\n---- Available"), std::string::npos);
  EXPECT_NE(report.find("\nNo current output source name available"), std::string::npos);
}

TEST_F(OrvAudioDeviceInfoOutputTest, WithoutPreferredStereoChannelsThereIsNoVolume) {
  setOutput(fourCC("vold"), bytesOf(-6.0F), 1);
  const std::string report = Output::printDirectionalDeviceInfo_isInput(device(), false);
  EXPECT_EQ(report.find("Preferred channels"), std::string::npos);
  EXPECT_EQ(report.find("volume"), std::string::npos);
}

TEST_F(OrvAudioDeviceInfoOutputTest, AStreamTellsItsFormatsByNumber) {
  hardware->set(Place::ofStream(16, fourCC("pft#"), 0),
                bytesOf(std::vector<AudioStreamBasicDescription>{format(44100), format(48000)}));
  const auto stream = OrvAudioStream::initWithAudioDevice_streamID(device(), 16);
  EXPECT_EQ(Output::printStreamInfo(stream), std::string("Stream ID: 0x10\nStream's current physical format:\n") +
                                                 kZeroFormat + "Physical format #0:\n" + floatFormat("44100") +
                                                 "Physical format #1:\n" + floatFormat("48000"));
}

TEST_F(OrvAudioDeviceInfoOutputTest, AFormatsReportIsItsDebugDescription) {
  const auto format = OrvAudioStreamBasicDescription::defaultStandardFileFormat();
  EXPECT_EQ(Output::printStreamBasicInfo(format), format->debugDescription());
}

TEST_F(OrvAudioDeviceInfoOutputTest, FlagNamesAreOfTheLowByteInTheOrderOfTheBits) {
  EXPECT_EQ(Output::printStreamFormatFlagNames(0x13F),
            "\t\tkAudioFormatFlagIsFloat\n\t\tkAudioFormatFlagIsBigEndian\n\t\tkAudioFormatFlagIsSignedInteger\n"
            "\t\tkAudioFormatFlagIsPacked\n\t\tkAudioFormatFlagIsAlignedHigh\n\t\tkAudioFormatFlagIsNonInterleaved\n");
  EXPECT_EQ(Output::printStreamFormatFlagNames(0x100), "");
}

TEST_F(OrvAudioDeviceInfoOutputTest, ALayoutTellsItsTagBitmapAndChannels) {
  const orv::test::Translations translations;
  AudioChannelLayout record{};
  record.mChannelBitmap = 0x60F;
  record.mNumberChannelDescriptions = 1;
  record.mChannelDescriptions[0] = {kAudioChannelLabel_Center, 0x1A, {0.5F, -1, 90}};
  const auto layout = OrvAudioChannelLayout::initWithAudioChannelLayout(&record);
  EXPECT_EQ(Output::printChannelLayoutInfo(*layout),
            "Channel Layout Tag: <kAudioChannelLayoutTag_UseChannelDescriptions>\n"
            "Channel Layout Bitmap: 0x60F\n"
            "\tChannel Label: <kAudioChannelLabel_Center>\n"
            "\tChannel Flags: 0x1A\n"
            "\tChannel Coord[0]: 0.500000\n"
            "\tChannel Coord[1]: -1.000000\n"
            "\tChannel Coord[2]: 90.000000\n");
}

TEST_F(OrvAudioDeviceInfoOutputTest, NothingIsToldOfNull) {
  EXPECT_EQ(Output::printGlobalDeviceInfo(nullptr), "");
  EXPECT_EQ(Output::printDirectionalDeviceInfo_isInput(nullptr, true), "");
  EXPECT_EQ(Output::printStreamInfo(nullptr), "");
  EXPECT_EQ(Output::printStreamBasicInfo(nullptr), "");
}

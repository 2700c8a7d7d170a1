#include <cstring>

#include "PlayerFixture.h"

namespace {

class OrvAudioPlayerObject : public PlayerFixture {
 protected:
  void expectDefaultState(OrvAudioPlayer& one) {
    EXPECT_EQ(one.outputDevice(), nullptr);
    EXPECT_EQ(one.outputDeviceID(), 0U);
    EXPECT_EQ(one.outputDeviceStreamFormat(), nullptr);
    EXPECT_EQ(one.audioFilePath(), std::nullopt);
    EXPECT_EQ(one.audioFileStreamFormat(), nullptr);
    EXPECT_EQ(one.eventMask(), 0U);
    EXPECT_FALSE(one.alwaysMixToStereo());
    EXPECT_EQ(one.currentFrameOffset(), 0U);
    EXPECT_FALSE(one.play());
    EXPECT_FALSE(one.playFromFrame_endFrame(0, 10));
    EXPECT_FALSE(one.playExactlyFromFrame_endFrame(0, 10));
    EXPECT_TRUE(one.stop());
    one.rewind();
    one.setCurrentFrameOffset(5);
    one.setAudioFilePath("/nowhere");
    EXPECT_EQ(one.audioFilePath(), std::nullopt);
    one.setVolumeControl(OrvSoftwareVolumeControl::init());
    one.setAudioProcessor(OrvSoftwareVolumeControl::init());
    AudioTimeStamp time{};
    EXPECT_EQ(one.audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
                  nullptr, &time, nullptr, &time, nullptr, &time, nullptr),
              noErr);
  }
};

}  // namespace

TEST_F(OrvAudioPlayerObject, WithoutADeviceOrAPathIsInItsDefaultState) {
  plug(2, 44100);
  expectDefaultState(*OrvAudioPlayer::initWithAudioDevice(nullptr));
  expectDefaultState(*OrvAudioPlayer::initWithAudioDevice_pathToFile(nullptr, "/nowhere"));
  expectDefaultState(*OrvAudioPlayer::initWithAudioDevice_pathToFile(device, std::nullopt));
  expectDefaultState(*OrvAudioPlayer::initWithAudioDevice_audioFile(device, nullptr));
}

TEST_F(OrvAudioPlayerObject, BeginsWithAllEventsAndStereoMixing) {
  plug(2, 44100);
  player = OrvAudioPlayer::initWithAudioDevice(device);
  EXPECT_EQ(player->outputDevice(), device);
  EXPECT_EQ(player->outputDeviceID(), deviceID);
  EXPECT_EQ(player->eventMask(), 15U);
  EXPECT_TRUE(player->alwaysMixToStereo());
  player->setAlwaysMixToStereo(false);
  EXPECT_FALSE(player->alwaysMixToStereo());
  EXPECT_FALSE(player->shouldPlay());
  EXPECT_FALSE(player->isPlaying());
  EXPECT_EQ(player->volumeControl(), nullptr);
  EXPECT_EQ(player->audioProcessor(), nullptr);
}

TEST_F(OrvAudioPlayerObject, WithoutAFileEveryFactIsZero) {
  plug(2, 44100);
  player = OrvAudioPlayer::initWithAudioDevice(device);
  EXPECT_EQ(player->audioFilePath(), std::nullopt);
  EXPECT_EQ(player->audioFileStreamFormat(), nullptr);
  EXPECT_EQ(player->lengthInFrames(), 0U);
  EXPECT_EQ(player->lengthInBytes(), 0U);
  EXPECT_EQ(player->lengthInMilliSeconds(), 0U);
  EXPECT_EQ(player->sampleRate(), 0.0);
  EXPECT_EQ(player->formatID(), 0U);
  EXPECT_EQ(player->formatIDName(), std::nullopt);
  EXPECT_EQ(player->formatFlags(), 0U);
  EXPECT_EQ(player->bytesPerPacket(), 0U);
  EXPECT_EQ(player->framesPerPacket(), 0U);
  EXPECT_EQ(player->bytesPerFrame(), 0U);
  EXPECT_EQ(player->channelsPerFrame(), 0U);
  EXPECT_EQ(player->bitsPerChannel(), 0U);
  EXPECT_EQ(player->remainingFrames(), 0U);
}

TEST_F(OrvAudioPlayerObject, WithoutAFilePlayingEndsWithTheFirstCycle) {
  plug(2, 44100);
  player = OrvAudioPlayer::initWithAudioDevice(device);
  EXPECT_TRUE(player->play());
  hardware->step();
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(OrvAudioPlayerObject, TellsTheFactsOfItsFile) {
  plug(2, 48000);
  makePlayer(2, 44100, 44100);
  EXPECT_EQ(player->audioFilePath(), folder / "source.aiff");
  EXPECT_EQ(player->audioFileStreamFormat()->sampleRate(), 44100.0);
  EXPECT_EQ(player->outputDeviceStreamFormat()->sampleRate(), 48000.0);
  EXPECT_EQ(player->lengthInFrames(), 44100U);
  EXPECT_EQ(player->lengthInBytes(), 176400U);
  EXPECT_EQ(player->lengthInMilliSeconds(), 1000U);
  EXPECT_EQ(player->sampleRate(), 44100.0);
  EXPECT_EQ(player->formatID(), kAudioFormatLinearPCM);
  EXPECT_EQ(player->formatIDName(), "Linear PCM");
  EXPECT_NE(player->formatFlags() & kAudioFormatFlagIsBigEndian, 0U);
  EXPECT_EQ(player->bytesPerPacket(), 4U);
  EXPECT_EQ(player->framesPerPacket(), 1U);
  EXPECT_EQ(player->bytesPerFrame(), 4U);
  EXPECT_EQ(player->channelsPerFrame(), 2U);
  EXPECT_EQ(player->bitsPerChannel(), 16U);
}

TEST_F(OrvAudioPlayerObject, AFileThatIsGivenIsRewoundAndOpenedForReading) {
  plug(2, 44100);
  source = noise(2 * 300);
  const auto file =
      OrvAudioFile::initWithPath_accessMode(write("given.aiff", 2, 44100, source), OrvAudioFile::kModeReadWrite);
  ASSERT_TRUE(file->open());
  file->setOffset(80);
  player = OrvAudioPlayer::initWithAudioDevice_audioFile(device, file);
  EXPECT_EQ(file->offset(), 0);
  EXPECT_EQ(file->accessMode(), OrvAudioFile::kModeRead);
  EXPECT_TRUE(file->isOpen());
  EXPECT_FALSE(file->usesCache());
  EXPECT_EQ(player->lengthInFrames(), 300U);
}

TEST_F(OrvAudioPlayerObject, AtEqualRatesOffsetsAreTheSameButForRounding) {
  plug(2, 44100);
  makePlayer(2, 44100, 1000);
  EXPECT_EQ(player->calculateLogicalFrameOffset(44100), 44100U);
  EXPECT_EQ(player->calculateFileFrameOffset(44100), 44100U);
  EXPECT_EQ(player->calculateLogicalFrameOffset(65), 64U);  // 65 / 44100 s is a little less in single precision
}

TEST_F(OrvAudioPlayerObject, SecondsAreRoundedToSinglePrecision) {
  plug(2, 48000);
  makePlayer(2, 44100, 1000);
  EXPECT_EQ(player->calculateLogicalFrameOffset(44100), 48000U);
  EXPECT_EQ(player->calculateFileFrameOffset(48000), 44100U);
  for (const std::uint32_t frame : {1U, 12345U, 317520001U, 4294967295U}) {
    const auto seconds = static_cast<float>(frame / 44100.0);
    const double logical = std::min(static_cast<double>(seconds) * 48000.0, 4294967295.0);
    EXPECT_EQ(player->calculateLogicalFrameOffset(frame), static_cast<std::uint32_t>(logical));
  }
  EXPECT_EQ(player->calculateLogicalFrameOffset(4294967295U), 4294967295U);
}

TEST_F(OrvAudioPlayerObject, ByteOffsetsDivideByTheBytesOfBothFrames) {
  plug(2, 48000);
  makePlayer(2, 44100, 1000);
  // 8 bytes a frame on the device, 4 in the file.
  EXPECT_EQ(player->calculateFileByteOffset(384000), 11025);
  EXPECT_EQ(player->calculateLogicalByteOffset(176400), 6000);
  EXPECT_EQ(player->calculateFileByteOffset(-1), 0);
  EXPECT_EQ(player->calculateLogicalByteOffset(INT64_MAX), 4294967295);
}

TEST_F(OrvAudioPlayerObject, AtAnotherRateAFileHasAsManyFramesAsItLasts) {
  plug(2, 48000);
  makePlayer(2, 44100, 44100);
  ASSERT_TRUE(player->play());
  std::size_t cycles = 0;
  for (; player->isPlaying(); ++cycles) {
    cycle();
  }
  EXPECT_EQ(cycles, 48000 / kFrames + 1);  // the last one finds the end
}

TEST_F(OrvAudioPlayerObject, RemainingFramesGoDownToZero) {
  plug(2, 44100);
  makePlayer(2, 44100, 100);
  EXPECT_EQ(player->remainingFrames(), 100U);
  ASSERT_TRUE(player->play());
  cycle();
  EXPECT_EQ(player->remainingFrames(), 100U - player->currentFrameOffset());
  playOut();
  EXPECT_EQ(player->remainingFrames(), 0U);
}

TEST_F(OrvAudioPlayerObject, VolumeGoesToTheControl) {
  plug(2, 44100);
  player = OrvAudioPlayer::initWithAudioDevice(device);
  player->setVolumeScalar(0.5F);  // nobody is there
  player->setVolumeDecibels(-6.0F);
  const auto control = OrvSoftwareVolumeControl::init();
  player->setVolumeControl(control);
  EXPECT_EQ(player->volumeControl(), control);
  player->setVolumeScalar(0.5F);
  EXPECT_EQ(control->volumeScalar(), 0.5F);
  player->setVolumeDecibels(-20.0F);
  EXPECT_FLOAT_EQ(control->volumeScalar(), 0.1F);
}

TEST_F(OrvAudioPlayerObject, ANullPathAndANullDeviceChangeNothing) {
  plug(2, 44100);
  makePlayer(2, 44100, 5000);
  ASSERT_TRUE(player->play());
  player->setAudioFilePath(std::nullopt);
  player->setOutputDevice(nullptr);
  player->setOutputDevice(device);
  EXPECT_TRUE(player->isPlaying());
  EXPECT_EQ(player->audioFilePath(), folder / "source.aiff");
}

TEST_F(OrvAudioPlayerObject, TheReportHasALineForEachFact) {
  plug(2, 44100);
  makePlayer(2, 44100, 100);
  const std::string report = player->dumpDebugInfo();
  EXPECT_EQ(report.rfind("\n\nDebug information <OrvAudioPlayer: 0x", 0), 0U);
  const std::string rest = report.substr(report.find(">:\n"));
  EXPECT_EQ(
      rest, ">:\n\nAudio File Path: " + folder.path() + "/source.aiff\n" + "\n        outputDeviceID: 0x" +
                [&] {
                  char text[16];
                  std::snprintf(text, sizeof text, "%X", deviceID);
                  return std::string(text);
                }() +
                "\n"
                "\n        lengthInFrames: 100"
                "\n         lengthInBytes: 400"
                "\n  lengthInMilliSeconds: 2\n"
                "\n    currentFrameOffset: 0"
                "\n       remainingFrames: 100"
                "\n            sampleRate: 44100.000000"
                "\n              formatID: 0x6C70636D"
                "\n          formatIDName: Linear PCM"
                "\n           formatFlags: 0xE"
                "\n        bytesPerPacket: 4"
                "\n       framesPerPacket: 1"
                "\n         bytesPerFrame: 4"
                "\n      channelsPerFrame: 2"
                "\n        bitsPerChannel: 16");
}

TEST_F(OrvAudioPlayerObject, PeaksAreTheLargestSamplesNotMagnitudes) {
  player = OrvAudioPlayer::initWithAudioDevice(nullptr);
  const std::vector<float> samples = {0.5F, -0.75F, 0.25F, -0.5F};
  float* const peaks = player->findMaxValues_numChannels_length(samples.data(), 2, 16);
  EXPECT_EQ(peaks[0], 0.5F);
  EXPECT_EQ(peaks[1], 0.0F);
  std::free(peaks);
  float* const none = player->findMaxValues_numChannels_length(samples.data(), 2, 3);
  EXPECT_EQ(none[0], 0.0F);
  EXPECT_EQ(none[1], 0.0F);
  std::free(none);
  EXPECT_EQ(player->findMaxValues_numChannels_length(samples.data(), 0, 16), nullptr);
}

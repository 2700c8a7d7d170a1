#include "playback/ConvertedFrames.h"

#include "PlayerFixture.h"
#include "playback/FrameOffsets.h"

namespace {

/// Two buffers of 100 stereo frames.
class ConvertedFramesOfAFile : public PlayerFixture {
 protected:
  using Join = ConvertedFrames::Join;
  static constexpr std::uint32_t kHeld = 100;
  static constexpr std::uint32_t kFrameBytes = 8;
  static constexpr float kUntouched = 7.0F;

  void open(std::uint32_t frames) {
    source = noise(2 * frames);
    setup.file = OrvAudioFile::initWithPath_accessMode(write("source.aiff", 2, 44100, source), OrvAudioFile::kModeRead);
    ASSERT_TRUE(setup.file->open());
    setup.fileFormat = setup.file->fileStreamFormat();
    setup.deviceFormat = OrvAudioStreamBasicDescription::defaultStandardDeviceFormat();
    setup.fileLengthInFrames = setup.logicalLengthInFrames = frames;
    setup.deviceBytesPerFrame = kFrameBytes;
    setup.deviceChannelsPerFrame = 2;
    setup.convertedBufferSizeInFrames = kHeld;
    setup.convertedBufferSizeInBytes = kHeld * kFrameBytes;
    setup.cycleFrames = 10;
    converted.use(setup);
    moveTo(0);
  }
  void moveTo(std::uint32_t frame) {
    converted.moveTo(frame, frame, [](bool /*isNewPlace*/) {});
  }
  /// Reads 60 frames from the begin, and 60 more, which run past the first buffer, into `room` floats. From the begin
  /// again for as long as the filler is late.
  ConvertedFrames::Read readAcross(Join join, std::size_t room) {
    for (;;) {
      moveTo(0);
      std::this_thread::yield();
      out.assign(1000, kUntouched);
      converted.read(out.data(), out.size(), 60, join);
      out.assign(1000, kUntouched);
      const ConvertedFrames::Read read = converted.read(out.data(), room, 60, join);
      if (!read.isLate) {
        return read;
      }
      moveTo(200);  // the begin is a new place again
    }
  }
  bool isUntouched(std::size_t begin, std::size_t end) const {
    return std::all_of(out.begin() + static_cast<std::ptrdiff_t>(begin), out.begin() + static_cast<std::ptrdiff_t>(end),
                       [](float sample) { return sample == kUntouched; });
  }
  std::vector<float> got(std::size_t begin, std::size_t end) const {
    return {out.begin() + static_cast<std::ptrdiff_t>(begin), out.begin() + static_cast<std::ptrdiff_t>(end)};
  }

  ConvertedFrames::Setup setup;
  CycleGate gate;
  ConvertedFrames converted{gate};
  std::vector<float> out;
};

}  // namespace

TEST_F(ConvertedFramesOfAFile, ASplitReadGoesOnAsManyFloatsFurtherAsItHasBytes) {
  open(1000);
  EXPECT_EQ(readAcross(Join::byBytes, 1000).frames, 60U);
  EXPECT_EQ(got(0, 80), sourceFrames(60, 100, 2));
  EXPECT_TRUE(isUntouched(80, 320));
  EXPECT_EQ(got(320, 360), sourceFrames(100, 120, 2));
  EXPECT_TRUE(isUntouched(360, 1000));
}

TEST_F(ConvertedFramesOfAFile, ASplitReadNeverWritesPastTheDestination) {
  open(1000);
  EXPECT_EQ(readAcross(Join::byBytes, 120).frames, 60U);
  EXPECT_EQ(got(0, 80), sourceFrames(60, 100, 2));
  EXPECT_TRUE(isUntouched(80, 1000));
  readAcross(Join::byBytes, 330);  // the end of the destination is in the second part
  EXPECT_EQ(got(320, 330), sourceFrames(100, 105, 2));
  EXPECT_TRUE(isUntouched(330, 1000));
}

TEST_F(ConvertedFramesOfAFile, AJoinedReadGoesOnBehindTheSamplesThatAreThere) {
  open(1000);
  EXPECT_EQ(readAcross(Join::bySamples, 120).frames, 60U);
  EXPECT_EQ(got(0, 120), sourceFrames(60, 120, 2));
  EXPECT_TRUE(isUntouched(120, 1000));
}

TEST_F(ConvertedFramesOfAFile, ASplitReadPastTheEndFails) {
  open(100);
  const ConvertedFrames::Read read = readAcross(Join::byBytes, 1000);
  EXPECT_EQ(read.frames, 0U);
  EXPECT_FALSE(read.isLate);
  EXPECT_EQ(got(0, 80), sourceFrames(60, 100, 2));  // what there was is in its place
}

TEST_F(ConvertedFramesOfAFile, AJoinedReadPastTheEndDeliversWhatThereIs) {
  open(100);
  const ConvertedFrames::Read read = readAcross(Join::bySamples, 1000);
  EXPECT_EQ(read.frames, 40U);
  EXPECT_FALSE(read.isLate);
}

TEST_F(ConvertedFramesOfAFile, ReadingGoesOnWithoutAGapFromThePlaceThatItIsAt) {
  open(1000);
  out.assign(200, kUntouched);
  ASSERT_EQ(converted.read(out.data(), out.size(), 30, Join::bySamples).frames, 30U);
  bool isNewPlace = true;
  converted.moveTo(30, 30, [&](bool isNew) { isNewPlace = isNew; });
  EXPECT_FALSE(isNewPlace);
  converted.moveTo(31, 31, [&](bool isNew) { isNewPlace = isNew; });
  EXPECT_TRUE(isNewPlace);
  ASSERT_EQ(converted.read(out.data(), out.size(), 10, Join::bySamples).frames, 10U);
  EXPECT_EQ(got(0, 20), sourceFrames(31, 41, 2));
}

TEST_F(ConvertedFramesOfAFile, FormatsThatCantBeConvertedEndReading) {
  open(1000);
  EXPECT_TRUE(converted.canConvert());
  setup.deviceFormat = OrvAudioStreamBasicDescription::init();
  converted.use(setup);
  EXPECT_FALSE(converted.canConvert());
  moveTo(0);
  out.assign(200, kUntouched);
  const ConvertedFrames::Read read = converted.read(out.data(), out.size(), 10, Join::bySamples);
  EXPECT_EQ(read.frames, 0U);
  EXPECT_FALSE(read.isLate);
}

TEST_F(ConvertedFramesOfAFile, WithoutAFileThereIsNothingToRead) {
  out.assign(200, kUntouched);
  EXPECT_EQ(converted.read(out.data(), out.size(), 10, Join::bySamples).frames, 0U);
  setup.convertedBufferSizeInFrames = kHeld;
  setup.convertedBufferSizeInBytes = kHeld * kFrameBytes;
  setup.logicalLengthInFrames = 1000;
  setup.deviceBytesPerFrame = kFrameBytes;
  converted.use(setup);
  moveTo(0);
  EXPECT_EQ(converted.read(out.data(), out.size(), 10, Join::bySamples).frames, 0U);
}

TEST(FrameOffsets, AreCutToThirtyTwoBits) {
  EXPECT_EQ(toFrameCount(-1.0), 0U);
  EXPECT_EQ(toFrameCount(std::nan("")), 0U);
  EXPECT_EQ(toFrameCount(1.999), 1U);
  EXPECT_EQ(toFrameCount(4294967295.5), 4294967295U);
  EXPECT_EQ(toFrameCount(4294967296.0), 4294967295U);
  EXPECT_EQ(toFrameCount(INFINITY), 4294967295U);
}

TEST(FrameOffsets, ARateOfZeroIsNoDivisionByZero) {
  EXPECT_EQ(frameBySeconds(0, 0, 44100), 0U);
  EXPECT_EQ(frameBySeconds(5, 0, 44100), 4294967295U);
  EXPECT_EQ(frameBySeconds(5, 44100, 0), 0U);
  EXPECT_EQ(frameAtRate(5, 0, 0), 5U);
  EXPECT_EQ(frameAtRate(0, 0, 44100), 0U);
}

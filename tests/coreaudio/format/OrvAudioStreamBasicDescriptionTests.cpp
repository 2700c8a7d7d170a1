#include <OrvCoreAudio/OrvAudioStreamBasicDescription.h>
#include <OrvCoreAudio/OrvAudioTrackInfo.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Format = OrvAudioStreamBasicDescription;

struct Expected {
  double rate;
  std::uint32_t bytesPerFrame, channels, bits, flags;
};

std::string printed(const AudioStreamBasicDescription* record, const char* label) {
  testing::internal::CaptureStdout();
  D_PrintStreamDesc(record, label);
  return testing::internal::GetCapturedStdout();
}

AudioStreamBasicDescription recordOf(const Format& format) {
  AudioStreamBasicDescription* const block = format.audioStreamBasicDescription();
  const AudioStreamBasicDescription record = *block;
  std::free(block);
  return record;
}

}  // namespace

TEST(OrvAudioStreamBasicDescription, AFreshObjectIsAllZero) {
  const auto format = Format::init();
  EXPECT_EQ(format->description(), "0Hz, 0 channels, 0 bits");
  EXPECT_FALSE(format->isFloat() || format->isBigEndian() || format->isSignedInteger() || format->isPacked() ||
               format->isAlignedHigh() || format->isNonInterleaved());
  EXPECT_TRUE(format->isEqual(Format::init()));
  EXPECT_EQ(format->reserved(), 0U);
}

TEST(OrvAudioStreamBasicDescription, ANullRecordLeavesTheFormatAllZero) {
  EXPECT_TRUE(Format::initWithAudioStreamBasicDescription(nullptr)->isEqual(Format::init()));
}

TEST(OrvAudioStreamBasicDescription, TheRecordHandedOutIsACopyOfTheCallersOwn) {
  const auto format = Format::standardFormat(5);
  AudioStreamBasicDescription* const copy = format->audioStreamBasicDescription();
  copy->mSampleRate = 1;
  EXPECT_EQ(format->sampleRate(), 44100);
  std::free(copy);
}

TEST(OrvAudioStreamBasicDescription, SettersStoreWhatTheyAreGiven) {
  const auto format = Format::init();
  format->setSampleRate(-1);
  format->setFormatID(1);
  format->setFormatFlags(2);
  format->setBytesPerPacket(3);
  format->setFramesPerPacket(4);
  format->setBytesPerFrame(5);
  format->setChannelsPerFrame(6);
  format->setBitsPerChannel(7);
  const AudioStreamBasicDescription record = recordOf(*format);
  EXPECT_EQ(record.mSampleRate, -1);
  EXPECT_EQ(record.mFormatID, 1U);
  EXPECT_EQ(record.mFormatFlags, 2U);
  EXPECT_EQ(record.mBytesPerPacket, 3U);
  EXPECT_EQ(record.mFramesPerPacket, 4U);
  EXPECT_EQ(record.mBytesPerFrame, 5U);
  EXPECT_EQ(record.mChannelsPerFrame, 6U);
  EXPECT_EQ(record.mBitsPerChannel, 7U);
}

TEST(OrvAudioStreamBasicDescription, StandardFormatsAreAsTabled) {
  const Expected expected[] = {
      {48000, 8, 2, 32, 11}, {48000, 6, 2, 20, 14}, {48000, 4, 2, 16, 14}, {44100, 8, 2, 32, 11}, {44100, 6, 2, 20, 14},
      {44100, 4, 2, 16, 14}, {22050, 4, 2, 16, 14}, {11025, 2, 2, 8, 14},  {11025, 1, 1, 8, 14},  {8000, 1, 1, 8, 14}};
  for (int index = 0; index < 10; ++index) {
    SCOPED_TRACE(index);
    const AudioStreamBasicDescription record = recordOf(*Format::standardFormat(index));
    EXPECT_EQ(record.mSampleRate, expected[index].rate);
    EXPECT_EQ(record.mFormatID, 0x6C70636DU);
    EXPECT_EQ(record.mFormatFlags, expected[index].flags);
    EXPECT_EQ(record.mBytesPerPacket, expected[index].bytesPerFrame);
    EXPECT_EQ(record.mFramesPerPacket, 1U);
    EXPECT_EQ(record.mBytesPerFrame, expected[index].bytesPerFrame);
    EXPECT_EQ(record.mChannelsPerFrame, expected[index].channels);
    EXPECT_EQ(record.mBitsPerChannel, expected[index].bits);
  }
}

TEST(OrvAudioStreamBasicDescription, TwentyBitsInThreeBytesAreFlaggedPacked) {
  const auto format = Format::standardFormat(4);
  EXPECT_EQ(format->bitsPerChannel(), 20U);
  EXPECT_EQ(format->bytesPerFrame(), 6U);
  EXPECT_TRUE(format->isPacked());
}

TEST(OrvAudioStreamBasicDescription, AnIndexOutsideTheTableGivesNoFormat) {
  EXPECT_EQ(Format::standardFormat(10), nullptr);
  EXPECT_EQ(Format::standardFormat(-1), nullptr);
}

TEST(OrvAudioStreamBasicDescription, TheDefaultFileFormatIsBigEndian16BitStereo) {
  EXPECT_EQ(Format::defaultStandardFileFormat()->description(), "44100Hz, stereo, 16 bits");
  EXPECT_EQ(Format::defaultStandardFileFormat()->formatFlags(), 14U);
}

TEST(OrvAudioStreamBasicDescription, TheDefaultDeviceFormatIsNativeFloatStereo) {
  const auto format = Format::defaultStandardDeviceFormat();
  EXPECT_EQ(format->description(), "44100Hz, stereo, 32 bits");
  EXPECT_EQ(format->formatFlags(), 9U);
}

TEST(OrvAudioStreamBasicDescription, MakeNativeFlagsIntegersAsFloatWithoutCorrection) {
  const auto format = Format::makeNative(Format::standardFormat(5));
  EXPECT_EQ(format->formatFlags(), 9U);
  EXPECT_EQ(format->bitsPerChannel(), 16U);
}

TEST(OrvAudioStreamBasicDescription, FlagsAboveTheLowByteAreNeitherPredicatesNorNames) {
  const auto format = Format::init();
  format->setFormatFlags(0x100);
  EXPECT_FALSE(format->isFloat() || format->isBigEndian() || format->isSignedInteger() || format->isPacked() ||
               format->isAlignedHigh() || format->isNonInterleaved());
  EXPECT_EQ(format->printStreamFormatFlagNames(), "");
  EXPECT_NE(format->debugDescription().find("\tFormat flags:     0x100\n"), std::string::npos);
}

TEST(OrvAudioStreamBasicDescription, EachFlagOfTheLowByteHasItsPredicateAndItsLine) {
  const auto format = Format::init();
  format->setFormatFlags(0x3F);
  EXPECT_TRUE(format->isFloat() && format->isBigEndian() && format->isSignedInteger() && format->isPacked() &&
              format->isAlignedHigh() && format->isNonInterleaved());
  EXPECT_EQ(format->printStreamFormatFlagNames(),
            "\t\tkAudioFormatFlagIsFloat\n\t\tkAudioFormatFlagIsBigEndian\n\t\tkAudioFormatFlagIsSignedInteger\n"
            "\t\tkAudioFormatFlagIsPacked\n\t\tkAudioFormatFlagIsAlignedHigh\n\t\tkAudioFormatFlagIsNonInterleaved\n");
  for (std::uint32_t bit = 0; bit < 6; ++bit) {
    format->setFormatFlags(1U << bit);
    EXPECT_EQ(format->isFloat(), bit == 0);
    EXPECT_EQ(format->isBigEndian(), bit == 1);
    EXPECT_EQ(format->isSignedInteger(), bit == 2);
    EXPECT_EQ(format->isPacked(), bit == 3);
    EXPECT_EQ(format->isAlignedHigh(), bit == 4);
    EXPECT_EQ(format->isNonInterleaved(), bit == 5);
  }
}

TEST(OrvAudioStreamBasicDescription, TheDescriptionRoundsTheRateAndNamesOneAndTwoChannels) {
  const auto format = Format::init();
  format->setSampleRate(44099.6);
  format->setChannelsPerFrame(1);
  EXPECT_EQ(format->description(), "44100Hz, mono, 0 bits");
  format->setSampleRate(0);
  format->setChannelsPerFrame(2);
  EXPECT_EQ(format->description(), "0Hz, stereo, 0 bits");
  format->setChannelsPerFrame(6);
  EXPECT_EQ(format->description(), "0Hz, 6 channels, 0 bits");
}

TEST(OrvAudioStreamBasicDescription, TheDebugDescriptionHasALineForEachField) {
  EXPECT_EQ(Format::defaultStandardFileFormat()->debugDescription(),
            "\tSample rate:      44100Hz\n\tFormat ID:        0x6C70636D\n\tFormat name:      Linear PCM\n"
            "\tFormat flags:     0xE\n\t\tkAudioFormatFlagIsBigEndian\n\t\tkAudioFormatFlagIsSignedInteger\n"
            "\t\tkAudioFormatFlagIsPacked\n\tBytes/packet:     4\n\tFrames/packet:    1\n\tBytes/frame:      4\n"
            "\tChannels/frame:   2\n\tBits/channel:     16\n\tReserved:         0x0\n");
}

TEST(OrvAudioStreamBasicDescription, FormatsThatDifferOnlyInTheReservedWordAreEqual) {
  AudioStreamBasicDescription record = recordOf(*Format::standardFormat(5));
  record.mReserved = 99;
  EXPECT_TRUE(Format::initWithAudioStreamBasicDescription(&record)->isEqual(Format::standardFormat(5)));
}

TEST(OrvAudioStreamBasicDescription, EveryOtherFieldTakesPartInEquality) {
  const auto reference = Format::standardFormat(5);
  using Change = void (*)(AudioStreamBasicDescription&);
  const Change changes[] = {
      [](AudioStreamBasicDescription& r) { r.mSampleRate = 44100.0000001; },
      [](AudioStreamBasicDescription& r) { ++r.mFormatID; },
      [](AudioStreamBasicDescription& r) { r.mFormatFlags |= 0x100; },
      [](AudioStreamBasicDescription& r) { ++r.mBytesPerPacket; },
      [](AudioStreamBasicDescription& r) { ++r.mFramesPerPacket; },
      [](AudioStreamBasicDescription& r) { ++r.mBytesPerFrame; },
      [](AudioStreamBasicDescription& r) { ++r.mChannelsPerFrame; },
      [](AudioStreamBasicDescription& r) { ++r.mBitsPerChannel; },
  };
  for (const Change change : changes) {
    AudioStreamBasicDescription record = recordOf(*reference);
    change(record);
    EXPECT_FALSE(reference->isEqual(Format::initWithAudioStreamBasicDescription(&record)));
  }
}

TEST(OrvAudioStreamBasicDescription, AnObjectOfAnotherClassIsNotEqual) {
  EXPECT_FALSE(Format::init()->isEqual(OrvAudioTrackInfo::init()));
  EXPECT_FALSE(Format::init()->isEqual(nullptr));
}

TEST(OrvAudioStreamBasicDescription, EqualityWithATextLooksAtTheShortDescriptionOnly) {
  const std::string text = "44100Hz, stereo, 16 bits";
  EXPECT_TRUE(Format::defaultStandardFileFormat()->isEqualToString(text));
  EXPECT_TRUE(Format::makeNative(Format::standardFormat(5))->isEqualToString(text));
  EXPECT_FALSE(Format::standardFormat(3)->isEqualToString(text));
  EXPECT_FALSE(Format::standardFormat(5)->isEqualToString(std::nullopt));
}

TEST(D_PrintStreamDesc, SaysThatANullRecordCannotBePrinted) {
  EXPECT_EQ(printed(nullptr, "label"), "Can't print a NULL desc!\n");
}

TEST(D_PrintStreamDesc, PrintsTheFormatIDAsItsBytesLieInMemory) {
  const AudioStreamBasicDescription record = recordOf(*Format::defaultStandardFileFormat());
  const std::string rule = "- - - - - - - - - - - - - - - - - - - -\n";
  EXPECT_EQ(printed(&record, "a file"),
            rule + "a file\n" + rule + "  Sample Rate:44100.000000\n  Format ID:mcpl\x0E\n  Format Flags:E\n" +
                "  Bytes per Packet:4\n  Frames per Packet:1\n  Bytes per Frame:4\n  Channels per Frame:2\n" +
                "  Bits per Channel:16\n" + rule);
}

TEST(D_PrintStreamDesc, NeverReadsPastARecordWithoutAZeroByte) {
  AudioStreamBasicDescription record{};
  record.mFormatID = record.mFormatFlags = record.mBytesPerPacket = record.mFramesPerPacket = record.mBytesPerFrame =
      record.mChannelsPerFrame = record.mBitsPerChannel = record.mReserved = 0x41414141;
  EXPECT_NE(printed(&record, "full").find("  Format ID:" + std::string(32, 'A') + "\n"), std::string::npos);
}

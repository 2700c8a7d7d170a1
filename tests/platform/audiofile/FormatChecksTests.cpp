#include <gtest/gtest.h>

#include <limits>

#include "AudioFileRecipes.h"

/// Formats that a container can't hold are refused before anything is touched.
namespace orv::test {
namespace {

class FormatChecks : public ::testing::Test {
 protected:
  void expectRefusal(AudioFileTypeID type, const AudioStreamBasicDescription& format,
                     OSStatus status = kAudioFileUnsupportedDataFormatError) {
    const Opened file = create("f", type, format);
    EXPECT_EQ(file.status, status);
    EXPECT_FALSE(file.problem.empty());
    EXPECT_EQ(files_->disk().changes, 0);
    EXPECT_FALSE(files_->exists("f"));
  }

  void expectRefusalByAll(const AudioStreamBasicDescription& format) {
    for (const AudioFileTypeID type : {kAudioFileAIFFType, kAudioFileAIFCType, kAudioFileWAVEType}) {
      expectRefusal(type, format);
    }
  }

  static AudioStreamBasicDescription changed(void (*change)(AudioStreamBasicDescription&)) {
    AudioStreamBasicDescription format = signedBig(16);
    change(format);
    return format;
  }

  InstalledMemoryFiles files_;
};

TEST_F(FormatChecks, AIFFHoldsBigEndianSignedIntegersOnly) {
  expectRefusal(kAudioFileAIFFType, signedLittle(16));
  expectRefusal(kAudioFileAIFFType, unsignedBytes());
  expectRefusal(kAudioFileAIFFType, floatBig(32));
  expectRefusal(kAudioFileAIFFType, floatLittle(64));
}

TEST_F(FormatChecks, AIFCHoldsNoLittleEndianFloatsAndNoWideUnsignedIntegers) {
  expectRefusal(kAudioFileAIFCType, floatLittle(32));
  AudioStreamBasicDescription format = signedBig(16);
  format.mFormatFlags = 10;
  expectRefusal(kAudioFileAIFCType, format);
}

TEST_F(FormatChecks, WAVEHoldsLittleEndianSamplesAndUnsignedBytesOnly) {
  expectRefusal(kAudioFileWAVEType, signedBig(16));
  expectRefusal(kAudioFileWAVEType, signedLittle(8));
  expectRefusal(kAudioFileWAVEType, floatBig(32));
  AudioStreamBasicDescription format = signedLittle(16);
  format.mFormatFlags = 8;
  expectRefusal(kAudioFileWAVEType, format);
}

TEST_F(FormatChecks, WAVEHoldsWholeRatesOf32BitsOnly) {
  expectRefusal(kAudioFileWAVEType, signedLittle(16, 2, 44100.5));
  expectRefusal(kAudioFileWAVEType, signedLittle(16, 2, 4294967296.0));
  expectRefusal(kAudioFileWAVEType, signedLittle(16, 2, 0.25));
}

TEST_F(FormatChecks, NoneHoldsARateThatIsNone) {
  for (const double rate :
       {0.0, -44100.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    expectRefusal(kAudioFileAIFFType, signedBig(16, 2, rate));
    expectRefusal(kAudioFileAIFCType, signedBig(16, 2, rate));
    expectRefusal(kAudioFileWAVEType, signedLittle(16, 2, rate));
  }
}

TEST_F(FormatChecks, NoneHoldsImpossibleSizes) {
  using Format = AudioStreamBasicDescription;
  expectRefusalByAll(changed([](Format& f) { f.mFormatID = kAudioFormatIMA4; }));
  expectRefusalByAll(changed([](Format& f) { f.mChannelsPerFrame = 0; }));
  expectRefusalByAll(changed([](Format& f) { f.mBitsPerChannel = 0; }));
  expectRefusalByAll(changed([](Format& f) { f.mBitsPerChannel = 33; }));
  expectRefusalByAll(changed([](Format& f) { f.mBitsPerChannel = 20; }));
  expectRefusalByAll(changed([](Format& f) { f.mBytesPerFrame = f.mBytesPerPacket = 0; }));
  expectRefusalByAll(changed([](Format& f) { f.mBytesPerFrame = f.mBytesPerPacket = 5; }));
  expectRefusalByAll(changed([](Format& f) { f.mBytesPerPacket = 8; }));
  expectRefusalByAll(changed([](Format& f) { f.mFramesPerPacket = 2; }));
  expectRefusalByAll(changed([](Format& f) { f.mFramesPerPacket = 0; }));
  expectRefusalByAll(changed([](Format& f) { f.mFormatFlags |= kAudioFormatFlagIsNonInterleaved; }));
  expectRefusalByAll(changed([](Format& f) {
    f.mChannelsPerFrame = 1025;
    f.mBytesPerFrame = f.mBytesPerPacket = 2050;
  }));
}

TEST_F(FormatChecks, SamplesInTheLowPartOfTheirBytesAreRefused) {
  AudioStreamBasicDescription format = signedBig(20);
  format.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian;
  expectRefusal(kAudioFileAIFFType, format);
}

TEST_F(FormatChecks, AIFFHoldsNoLargerContainersThanNeeded) {
  AudioStreamBasicDescription format = signedBig(24);
  format.mFormatFlags |= kAudioFormatFlagIsAlignedHigh;
  format.mBytesPerFrame = format.mBytesPerPacket = 8;
  expectRefusal(kAudioFileAIFFType, format);
  expectRefusal(kAudioFileAIFCType, format);
}

TEST_F(FormatChecks, UnknownTypesAreRefused) {
  expectRefusal(orv::fourCC("mp3 "), signedBig(16), kAudioFileUnsupportedFileTypeError);
  expectRefusal(0, signedBig(16), kAudioFileUnsupportedFileTypeError);
}

TEST_F(FormatChecks, AFormatThatIsSaidWithOtherFlagsIsTakenAndSaidBackInOurs) {
  AudioStreamBasicDescription format = signedBig(16);
  format.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsBigEndian | kAudioFormatFlagIsAlignedHigh;
  const Opened file = create("f", kAudioFileAIFFType, format);
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->format().mFormatFlags, 14U);
}

}  // namespace
}  // namespace orv::test

#include <gtest/gtest.h>

#include "AudioFileRecipes.h"

/// The bytes of the headers we write, as docs/formats.md describes them.
namespace orv::test {
namespace {

class HeaderBytes : public ::testing::Test {
 protected:
  Bytes fileOf(AudioFileTypeID type, const AudioStreamBasicDescription& format, const Bytes& audio) {
    writeAudioFile("f", type, format, audio);
    return files_->file("f");
  }

  InstalledMemoryFiles files_;
};

TEST_F(HeaderBytes, AIFF) {
  const Bytes audio = audioBytes(8);
  const Bytes expected = text("FORM") + Bytes{0, 0, 0, 54} + text("AIFF") +                          //
                         text("COMM") + Bytes{0, 0, 0, 18, 0, 2, 0, 0, 0, 2, 0, 16} + rate44100() +  //
                         text("SSND") + Bytes{0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0} + audio;
  EXPECT_EQ(fileOf(kAudioFileAIFFType, signedBig(16), audio), expected);
}

TEST_F(HeaderBytes, AIFFOfOddLengthEndsInAPadByteThatTheFormCounts) {
  const Bytes audio = audioBytes(3);
  const AudioStreamBasicDescription format = signedBig(8, 1);
  EXPECT_EQ(fileOf(kAudioFileAIFFType, format, audio), form("AIFF", commonChunk(1, 3, 8) + soundChunk(audio)));
}

TEST_F(HeaderBytes, AIFCOfBigEndianIntegers) {
  const Bytes audio = audioBytes(6);
  const Bytes common =
      Bytes{0, 1, 0, 0, 0, 2, 0, 24} + rate44100() + text("NONE") + Bytes{14} + text("not compressed") + Bytes{0};
  EXPECT_EQ(fileOf(kAudioFileAIFCType, signedBig(24, 1), audio),
            form("AIFC", bigChunk("FVER", {0xA2, 0x80, 0x51, 0x40}) + bigChunk("COMM", common) + soundChunk(audio)));
}

TEST_F(HeaderBytes, AIFCOfLittleEndianIntegers) {
  const Bytes audio = audioBytes(8);
  EXPECT_EQ(
      fileOf(kAudioFileAIFCType, signedLittle(16), audio),
      form("AIFC", bigChunk("FVER", {0xA2, 0x80, 0x51, 0x40}) + commonChunkAIFC(2, 2, 16, "sowt") + soundChunk(audio)));
}

TEST_F(HeaderBytes, AIFCOfFloats) {
  const Bytes audio = audioBytes(8);
  const Bytes common =
      Bytes{0, 2, 0, 0, 0, 1, 0, 32} + rate44100() + text("fl32") + Bytes{21} + text("32-bit floating point");
  EXPECT_EQ(fileOf(kAudioFileAIFCType, floatBig(32), audio),
            form("AIFC", bigChunk("FVER", {0xA2, 0x80, 0x51, 0x40}) + bigChunk("COMM", common) + soundChunk(audio)));
}

TEST_F(HeaderBytes, AIFCOfDoubles) {
  const Bytes audio = audioBytes(8);
  const Bytes common =
      Bytes{0, 1, 0, 0, 0, 1, 0, 64} + rate44100() + text("fl64") + Bytes{21} + text("64-bit floating point");
  EXPECT_EQ(fileOf(kAudioFileAIFCType, floatBig(64, 1), audio),
            form("AIFC", bigChunk("FVER", {0xA2, 0x80, 0x51, 0x40}) + bigChunk("COMM", common) + soundChunk(audio)));
}

TEST_F(HeaderBytes, AIFCOfUnsignedBytes) {
  const Bytes audio = audioBytes(8);
  EXPECT_EQ(
      fileOf(kAudioFileAIFCType, unsignedBytes(), audio),
      form("AIFC", bigChunk("FVER", {0xA2, 0x80, 0x51, 0x40}) + commonChunkAIFC(2, 4, 8, "raw ") + soundChunk(audio)));
}

TEST_F(HeaderBytes, WAVEReservesRoomForItsLongSizes) {
  const Bytes audio = audioBytes(8);
  const Bytes expected = text("RIFF") + Bytes{80, 0, 0, 0} + text("WAVE") +                       //
                         text("JUNK") + Bytes{28, 0, 0, 0} + Bytes(28, 0) +                       //
                         text("fmt ") + Bytes{16, 0, 0, 0, 1, 0, 2, 0} +                          //
                         littleEndian(44100, 4) + littleEndian(176400, 4) + Bytes{4, 0, 16, 0} +  //
                         text("data") + Bytes{8, 0, 0, 0} + audio;
  EXPECT_EQ(fileOf(kAudioFileWAVEType, signedLittle(16), audio), expected);
}

TEST_F(HeaderBytes, WAVEOf24BitsIsExtensible) {
  const Bytes audio = audioBytes(6);
  const Bytes format = formatBody(0xFFFE, 2, 44100, 6, 24) + Bytes{22, 0, 24, 0, 3, 0, 0, 0, 1, 0} +
                       Bytes{0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  EXPECT_EQ(fileOf(kAudioFileWAVEType, signedLittle(24), audio),
            riff(littleChunk("JUNK", Bytes(28, 0)) + littleChunk("fmt ", format) + littleChunk("data", audio)));
}

TEST_F(HeaderBytes, WAVEOf20BitsSaysBothItsValidAndItsContainerBits) {
  const Bytes audio = audioBytes(3);
  const Bytes format = formatBody(0xFFFE, 1, 44100, 3, 24) + Bytes{22, 0, 20, 0, 4, 0, 0, 0, 1, 0} +
                       Bytes{0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  EXPECT_EQ(fileOf(kAudioFileWAVEType, signedLittle(20, 1), audio),
            riff(littleChunk("JUNK", Bytes(28, 0)) + littleChunk("fmt ", format) + littleChunk("data", audio)));
}

TEST_F(HeaderBytes, WAVEOfManyChannelsIsExtensibleWithoutPositions) {
  const Bytes audio = audioBytes(12);
  const Bytes format = formatBody(0xFFFE, 6, 44100, 12, 16) + Bytes{22, 0, 16, 0, 0, 0, 0, 0, 1, 0} +
                       Bytes{0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
  EXPECT_EQ(fileOf(kAudioFileWAVEType, signedLittle(16, 6), audio),
            riff(littleChunk("JUNK", Bytes(28, 0)) + littleChunk("fmt ", format) + littleChunk("data", audio)));
}

TEST_F(HeaderBytes, WAVEOfFloatsCountsItsFrames) {
  const Bytes audio = audioBytes(16);
  const Bytes format = formatBody(3, 2, 44100, 8, 32) + Bytes{0, 0};
  EXPECT_EQ(fileOf(kAudioFileWAVEType, floatLittle(32), audio),
            riff(littleChunk("JUNK", Bytes(28, 0)) + littleChunk("fmt ", format) + littleChunk("fact", {2, 0, 0, 0}) +
                 littleChunk("data", audio)));
}

}  // namespace
}  // namespace orv::test

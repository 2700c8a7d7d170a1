#include <gtest/gtest.h>

#include <stdexcept>

#include "AudioFileRecipes.h"
#include "support/LogCapture.h"

/// The free functions: their arguments, their properties, and the service behind them.
namespace orv::test {
namespace {

class Calls : public ::testing::Test {
 protected:
  ~Calls() override {
    if (file_ != nullptr) {
      AudioFileClose(file_);
    }
  }

  void createFile(AudioFileTypeID type = kAudioFileAIFFType) {
    const AudioStreamBasicDescription format = type == kAudioFileAIFFType ? signedBig(16) : signedLittle(16);
    FSRef made;
    ASSERT_EQ(AudioFileCreate(&directory_, "f", type, &format, 0, &made, &file_), noErr);
    EXPECT_EQ(made.path, "d/f");
    fileRef_ = made;
  }

  void fillFile(std::uint32_t bytes) {
    const Bytes audio = audioBytes(bytes);
    ASSERT_EQ(AudioFileWriteBytes(file_, false, 0, &bytes, audio.data()), noErr);
  }

  InstalledMemoryFiles files_;
  FSRef directory_{"d"};
  FSRef fileRef_{"d/f"};
  AudioFileID file_ = nullptr;
};

TEST_F(Calls, CreateWriteCloseOpenRead) {
  createFile();
  fillFile(400);
  ASSERT_EQ(AudioFileClose(file_), noErr);
  ASSERT_EQ(AudioFileOpen(&fileRef_, kFileReadPermission, 0, &file_), noErr);
  Bytes audio(400);
  std::uint32_t count = 400;
  EXPECT_EQ(AudioFileReadBytes(file_, false, 0, &count, audio.data()), noErr);
  EXPECT_EQ(audio, audioBytes(400));
}

TEST_F(Calls, CreateRefusesAnExistingFile) {
  files_->put("d/f", {});
  const AudioStreamBasicDescription format = signedBig(16);
  FSRef made;
  EXPECT_EQ(AudioFileCreate(&directory_, "f", kAudioFileAIFFType, &format, 0, &made, &file_), kFileExistsStatus);
  EXPECT_EQ(file_, nullptr);
  EXPECT_EQ(orv::audioFileProblem(), "file exists");
}

TEST_F(Calls, CreateRefusesANameThatIsNone) {
  const AudioStreamBasicDescription format = signedBig(16);
  FSRef made;
  for (const char* name : {"", "a/b", "/"}) {
    EXPECT_EQ(AudioFileCreate(&directory_, name, kAudioFileAIFFType, &format, 0, &made, &file_), kWrongFileKindStatus);
  }
}

TEST_F(Calls, FlagsMustBeZero) {
  const AudioStreamBasicDescription format = signedBig(16);
  FSRef made;
  EXPECT_EQ(AudioFileCreate(&directory_, "f", kAudioFileAIFFType, &format, 1, &made, &file_),
            kAudioFileOperationNotSupportedError);
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, &format, 1, &file_),
            kAudioFileOperationNotSupportedError);
}

TEST_F(Calls, InitializeNeedsAnExistingFileAndChecksTheFormatFirst) {
  const AudioStreamBasicDescription format = signedBig(16);
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, &format, 0, &file_), kFileNotFoundStatus);
  EXPECT_FALSE(files_->exists("d/f"));
  files_->put("d/f", audioBytes(10));
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileWAVEType, &format, 0, &file_),
            kAudioFileUnsupportedDataFormatError);
  EXPECT_EQ(files_->file("d/f"), audioBytes(10));
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, &format, 0, &file_), noErr);
  EXPECT_EQ(files_->file("d/f").size(), 54U);
}

TEST_F(Calls, OpenKnowsTwoPermissions) {
  createFile();
  ASSERT_EQ(AudioFileClose(file_), noErr);
  for (const int permissions : {0, 2, 4, -1}) {
    file_ = nullptr;
    EXPECT_EQ(AudioFileOpen(&fileRef_, static_cast<std::int8_t>(permissions), 0, &file_), kAudioFilePermissionsError);
  }
}

TEST_F(Calls, AFileOpenForReadingRefusesWrites) {
  createFile();
  ASSERT_EQ(AudioFileClose(file_), noErr);
  ASSERT_EQ(AudioFileOpen(&fileRef_, kFileReadPermission, 0, &file_), noErr);
  std::uint32_t count = 4;
  EXPECT_EQ(AudioFileWriteBytes(file_, false, 0, &count, "abcd"), kAudioFilePermissionsError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(orv::audioFileProblem(), "the file is open for reading only");
}

TEST_F(Calls, ReadingAtTheEndSaysSo) {
  createFile();
  fillFile(400);
  Bytes audio(400);
  std::uint32_t count = 100;
  EXPECT_EQ(AudioFileReadBytes(file_, false, 360, &count, audio.data()), noErr);
  EXPECT_EQ(count, 40U);
  for (const std::int64_t start : {400LL, 401LL, 1LL << 40, 0x7FFFFFFFFFFFFFFFLL}) {
    count = 100;
    EXPECT_EQ(AudioFileReadBytes(file_, false, start, &count, audio.data()), kEndOfFileStatus);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(AudioFileReadBytes(file_, false, start, &count, audio.data()), noErr) << "0 bytes are always there";
  }
  count = 100;
  EXPECT_EQ(AudioFileReadBytes(file_, false, -1, &count, audio.data()), kAudioFileInvalidPacketOffsetError);
  EXPECT_EQ(count, 0U);
}

TEST_F(Calls, ReadingAtTheEndOfAFileOpenForReadingSaysSoToo) {
  createFile();
  fillFile(400);
  ASSERT_EQ(AudioFileClose(file_), noErr);
  ASSERT_EQ(AudioFileOpen(&fileRef_, kFileReadPermission, 0, &file_), noErr);
  Bytes audio(400);
  std::uint32_t count = 100;
  EXPECT_EQ(AudioFileReadBytes(file_, false, 360, &count, audio.data()), noErr);
  EXPECT_EQ(count, 40U);
  count = 100;
  EXPECT_EQ(AudioFileReadBytes(file_, false, 0x7FFFFFFFFFFFFFFFLL, &count, audio.data()), kEndOfFileStatus);
  EXPECT_EQ(count, 0U);
}

TEST_F(Calls, WritingBehindTheEndIsRefused) {
  createFile();
  std::uint32_t count = 4;
  EXPECT_EQ(AudioFileWriteBytes(file_, false, 1, &count, "abcd"), kAudioFileInvalidPacketOffsetError);
  EXPECT_EQ(count, 0U);
  count = 4;
  EXPECT_EQ(AudioFileWriteBytes(file_, false, -1, &count, "abcd"), kAudioFileInvalidPacketOffsetError);
  count = 4;
  EXPECT_EQ(AudioFileWriteBytes(file_, false, 0x7FFFFFFFFFFFFFFFLL, &count, "abcd"),
            kAudioFileInvalidPacketOffsetError);
}

TEST_F(Calls, PacketsAreFrames) {
  createFile();
  std::uint32_t packets = 100;
  const Bytes audio = audioBytes(400);
  ASSERT_EQ(AudioFileWritePackets(file_, false, 400, nullptr, 0, &packets, audio.data()), noErr);
  EXPECT_EQ(packets, 100U);
  Bytes read(40);
  std::uint32_t bytes = 0;
  AudioStreamPacketDescription descriptions[10] = {};
  packets = 10;
  ASSERT_EQ(AudioFileReadPackets(file_, false, &bytes, descriptions, 20, &packets, read.data()), noErr);
  EXPECT_EQ(packets, 10U);
  EXPECT_EQ(bytes, 40U);
  EXPECT_EQ(read, Bytes(audio.begin() + 80, audio.begin() + 120));
  EXPECT_EQ(descriptions[3].mStartOffset, 12);
  EXPECT_EQ(descriptions[3].mVariableFramesInPacket, 0U);
  EXPECT_EQ(descriptions[3].mDataByteSize, 4U);
}

TEST_F(Calls, ReadingPacketsStopsAtTheEnd) {
  createFile();
  fillFile(40);
  Bytes read(40);
  std::uint32_t bytes = 0;
  std::uint32_t packets = 10;
  EXPECT_EQ(AudioFileReadPackets(file_, false, &bytes, nullptr, 7, &packets, read.data()), noErr);
  EXPECT_EQ(packets, 3U);
  EXPECT_EQ(bytes, 12U);
  packets = 10;
  EXPECT_EQ(AudioFileReadPackets(file_, false, &bytes, nullptr, 10, &packets, read.data()), kEndOfFileStatus);
  EXPECT_EQ(packets, 0U);
  EXPECT_EQ(bytes, 0U);
  packets = 10;
  EXPECT_EQ(AudioFileReadPackets(file_, false, &bytes, nullptr, -1, &packets, read.data()),
            kAudioFileInvalidPacketOffsetError);
  packets = 10;
  EXPECT_EQ(AudioFileReadPackets(file_, false, &bytes, nullptr, 0x7FFFFFFFFFFFFFFFLL, &packets, read.data()),
            kAudioFileInvalidPacketOffsetError);
}

TEST_F(Calls, MorePacketsThanACountOfBytesCanSayAreReadAsFarAsItCan) {
  createFile();
  fillFile(40);
  Bytes read(40);
  std::uint32_t bytes = 0;
  std::uint32_t packets = 0xFFFFFFFF;
  EXPECT_EQ(AudioFileReadPackets(file_, false, &bytes, nullptr, 0, &packets, read.data()), noErr);
  EXPECT_EQ(packets, 10U);
}

TEST_F(Calls, PacketsThatTheBytesDoNotHoldAreRefused) {
  createFile();
  std::uint32_t packets = 11;
  EXPECT_EQ(AudioFileWritePackets(file_, false, 40, nullptr, 0, &packets, audioBytes(40).data()),
            kAudioFileInvalidPacketOffsetError);
  EXPECT_EQ(packets, 0U);
  EXPECT_EQ(orv::audioFileProblem(), "40 bytes do not hold 11 packets");
}

TEST_F(Calls, MissingArgumentsAreRefused) {
  createFile();
  const AudioStreamBasicDescription format = signedBig(16);
  FSRef made;
  AudioFileID file = nullptr;
  std::uint32_t number = 4;
  constexpr OSStatus kMissing = kAudioFileUnspecifiedError;
  EXPECT_EQ(AudioFileCreate(nullptr, "g", kAudioFileAIFFType, &format, 0, &made, &file), kMissing);
  EXPECT_EQ(AudioFileCreate(&directory_, nullptr, kAudioFileAIFFType, &format, 0, &made, &file), kMissing);
  EXPECT_EQ(AudioFileCreate(&directory_, "g", kAudioFileAIFFType, nullptr, 0, &made, &file), kMissing);
  EXPECT_EQ(AudioFileCreate(&directory_, "g", kAudioFileAIFFType, &format, 0, nullptr, &file), kMissing);
  EXPECT_EQ(AudioFileCreate(&directory_, "g", kAudioFileAIFFType, &format, 0, &made, nullptr), kMissing);
  EXPECT_EQ(AudioFileInitialize(nullptr, kAudioFileAIFFType, &format, 0, &file), kMissing);
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, nullptr, 0, &file), kMissing);
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, &format, 0, nullptr), kMissing);
  EXPECT_EQ(AudioFileOpen(nullptr, kFileReadPermission, 0, &file), kMissing);
  EXPECT_EQ(AudioFileOpen(&fileRef_, kFileReadPermission, 0, nullptr), kMissing);
  EXPECT_EQ(AudioFileClose(nullptr), kMissing);
  EXPECT_EQ(AudioFileReadBytes(nullptr, false, 0, &number, &made), kMissing);
  EXPECT_EQ(AudioFileReadBytes(file_, false, 0, nullptr, &made), kMissing);
  EXPECT_EQ(AudioFileReadBytes(file_, false, 0, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileWriteBytes(nullptr, false, 0, &number, &made), kMissing);
  EXPECT_EQ(AudioFileWriteBytes(file_, false, 0, nullptr, &made), kMissing);
  EXPECT_EQ(AudioFileWriteBytes(file_, false, 0, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileReadPackets(file_, false, nullptr, nullptr, 0, &number, &made), kMissing);
  EXPECT_EQ(AudioFileReadPackets(file_, false, &number, nullptr, 0, nullptr, &made), kMissing);
  EXPECT_EQ(AudioFileReadPackets(file_, false, &number, nullptr, 0, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileWritePackets(file_, false, 4, nullptr, 0, nullptr, &made), kMissing);
  EXPECT_EQ(AudioFileWritePackets(file_, false, 4, nullptr, 0, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileUpdateSizes(nullptr), kMissing);
  EXPECT_EQ(AudioFileGetPropertyInfo(nullptr, kAudioFilePropertyDataFormat, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileGetProperty(file_, kAudioFilePropertyDataFormat, nullptr, &made), kMissing);
  EXPECT_EQ(AudioFileGetProperty(file_, kAudioFilePropertyDataFormat, &number, nullptr), kMissing);
  EXPECT_EQ(AudioFileSetProperty(file_, kAudioFilePropertyDataFormat, 4, nullptr), kMissing);
  EXPECT_EQ(orv::audioFileProblem(), "an argument is missing");
}

class Properties : public Calls {
 protected:
  template <typename Value>
  Value property(AudioFilePropertyID id) {
    std::uint32_t size = 0;
    std::uint32_t isWritable = 1;
    EXPECT_EQ(AudioFileGetPropertyInfo(file_, id, &size, &isWritable), noErr);
    EXPECT_EQ(size, sizeof(Value));
    EXPECT_EQ(isWritable, 0U);
    Value value{};
    EXPECT_EQ(AudioFileGetProperty(file_, id, &size, &value), noErr);
    EXPECT_EQ(size, sizeof(Value));
    return value;
  }
};

TEST_F(Properties, SayWhatTheFileIs) {
  createFile();
  fillFile(400);
  EXPECT_EQ(property<AudioFileTypeID>(kAudioFilePropertyFileFormat), kAudioFileAIFFType);
  const auto format = property<AudioStreamBasicDescription>(kAudioFilePropertyDataFormat);
  EXPECT_TRUE(isSameFormat(format, signedBig(16)));
  EXPECT_EQ(property<std::uint64_t>(kAudioFilePropertyAudioDataByteCount), 400U);
  EXPECT_EQ(property<std::uint64_t>(kAudioFilePropertyAudioDataPacketCount), 100U);
  EXPECT_EQ(property<std::uint32_t>(kAudioFilePropertyMaximumPacketSize), 4U);
  EXPECT_EQ(property<std::uint32_t>(kAudioFilePropertyIsOptimized), 1U);
}

TEST_F(Properties, AFileWithAChunkBehindTheSoundIsNotOptimized) {
  files_->put("d/f", form("AIFF", commonChunk(2, 10, 16) + soundChunk(audioBytes(40)) + bigChunk("NAME", text("n"))));
  for (const std::int8_t permissions : {kFileReadPermission, kFileReadWritePermission}) {
    ASSERT_EQ(AudioFileOpen(&fileRef_, permissions, 0, &file_), noErr);
    EXPECT_EQ(property<std::uint32_t>(kAudioFilePropertyIsOptimized), 0U);
    ASSERT_EQ(AudioFileClose(file_), noErr);
  }
  file_ = nullptr;
}

TEST_F(Properties, TheFormatHasAName) {
  const auto nameOf = [&](AudioFileTypeID type, const AudioStreamBasicDescription& format) {
    FSRef made;
    EXPECT_EQ(AudioFileCreate(&directory_, "g", type, &format, 0, &made, &file_), noErr);
    char name[64] = {};
    std::uint32_t size = sizeof name;
    EXPECT_EQ(AudioFileGetProperty(file_, kAudioFilePropertyDataFormatName, &size, name), noErr);
    AudioFileClose(std::exchange(file_, nullptr));
    files_->remove("d/g");
    return std::string(name, size);
  };
  EXPECT_EQ(nameOf(kAudioFileAIFFType, signedBig(16)), "16-bit signed integer, big-endian");
  EXPECT_EQ(nameOf(kAudioFileWAVEType, signedLittle(20)), "20-bit signed integer, little-endian");
  EXPECT_EQ(nameOf(kAudioFileWAVEType, floatLittle(32)), "32-bit float, little-endian");
  EXPECT_EQ(nameOf(kAudioFileWAVEType, unsignedBytes()), "8-bit unsigned integer");
  EXPECT_EQ(nameOf(kAudioFileAIFFType, signedBig(8)), "8-bit signed integer");
}

TEST_F(Properties, ABufferThatIsTooSmallIsRefusedAndALargerOneIsNot) {
  createFile();
  std::uint64_t value[2] = {};
  std::uint32_t size = 7;
  EXPECT_EQ(AudioFileGetProperty(file_, kAudioFilePropertyAudioDataByteCount, &size, value),
            kAudioFileBadPropertySizeError);
  EXPECT_EQ(orv::audioFileProblem(), "property 'bcnt' takes 8 bytes");
  size = 16;
  EXPECT_EQ(AudioFileGetProperty(file_, kAudioFilePropertyAudioDataByteCount, &size, value), noErr);
  EXPECT_EQ(size, 8U);
}

TEST_F(Properties, OnesThatTheFileDoesNotHaveAreRefused) {
  createFile();
  for (const AudioFilePropertyID id : {kAudioFilePropertyMagicCookieData, orv::fourCC("what"), FourCharCode{0}}) {
    std::uint32_t size = 8;
    char data[8];
    EXPECT_EQ(AudioFileGetPropertyInfo(file_, id, &size, nullptr), kAudioFileUnsupportedPropertyError);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(AudioFileGetProperty(file_, id, &size, data), kAudioFileUnsupportedPropertyError);
    EXPECT_EQ(AudioFileSetProperty(file_, id, 8, data), kAudioFileUnsupportedPropertyError);
  }
}

TEST_F(Properties, NoneCanBeSet) {
  createFile();
  const AudioStreamBasicDescription format = signedBig(24);
  EXPECT_EQ(AudioFileSetProperty(file_, kAudioFilePropertyDataFormat, sizeof format, &format),
            kAudioFileOperationNotSupportedError);
}

/// A service whose every operation throws.
class ThrowingService final : public AudioFileService {
 public:
  OSStatus create(const std::string&, AudioFileTypeID, const AudioStreamBasicDescription&,
                  std::unique_ptr<AudioFileSession>*) override {
    throw std::runtime_error("no");
  }
  OSStatus initialize(const std::string&, AudioFileTypeID, const AudioStreamBasicDescription&,
                      std::unique_ptr<AudioFileSession>*) override {
    throw std::bad_alloc();
  }
  OSStatus open(const std::string&, bool, std::unique_ptr<AudioFileSession>*) override { throw 1; }
};

TEST_F(Calls, WhatAServiceThrowsBecomesAStatusAndALogLine) {
  const auto previous = installAudioFileService(std::make_shared<ThrowingService>());
  const LogCapture log;
  const AudioStreamBasicDescription format = signedBig(16);
  FSRef made;
  EXPECT_EQ(AudioFileCreate(&directory_, "f", kAudioFileAIFFType, &format, 0, &made, &file_),
            kAudioFileUnspecifiedError);
  EXPECT_EQ(AudioFileInitialize(&fileRef_, kAudioFileAIFFType, &format, 0, &file_), kOutOfMemoryStatus);
  EXPECT_EQ(AudioFileOpen(&fileRef_, kFileReadPermission, 0, &file_), kAudioFileUnspecifiedError);
  EXPECT_TRUE(log.contains("audio file service: no"));
  EXPECT_TRUE(log.contains("audio file service: out of memory"));
  EXPECT_TRUE(log.contains("audio file service: unknown exception"));
  installAudioFileService(previous);
}

TEST_F(Calls, InstallingNothingBringsTheBuiltInServiceBack) {
  const auto throwing = std::make_shared<ThrowingService>();
  installAudioFileService(throwing);
  EXPECT_EQ(installAudioFileService(nullptr), throwing);
  createFile();
  EXPECT_TRUE(files_->exists("d/f"));
}

TEST_F(Calls, AClosedSessionRefusesEverything) {
  const Opened file = create("f", kAudioFileAIFFType, signedBig(16));
  ASSERT_EQ(file.session->close(), noErr);
  std::uint32_t count = 4;
  char data[4] = {};
  EXPECT_EQ(file.session->readBytes(0, &count, data), kAudioFileUnspecifiedError);
  count = 4;
  EXPECT_EQ(file.session->writeBytes(0, &count, data), kAudioFileUnspecifiedError);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(file.session->updateSizes(), kAudioFileUnspecifiedError);
  EXPECT_EQ(file.session->close(), kAudioFileUnspecifiedError);
}

}  // namespace
}  // namespace orv::test

#include <OrvCoreAudio/OrvAudioFileConverter.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <stdexcept>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "coreaudio/support/Recording.h"
#include "support/IndependentReader.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::FormatPointer;
using orv::test::LogCapture;
using orv::test::noise;
using orv::test::pcm;
using orv::test::readIndependently;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeWholeFile;

namespace {

constexpr std::uint32_t kBigEndianIntegers = 14;
constexpr std::uint32_t kBigEndianFloats = 11;

class Subscriber final : public OrvObject, public OrvProgressDelegate {
 public:
  void progressUpdate(float progress) override { values.push_back(progress); }
  std::vector<float> values;
};

class Indifferent final : public OrvObject {};

class FileConverter : public testing::Test {
 protected:
  void makeSource(std::size_t bytes, const FormatPointer& format = pcm(44100, 2, 16, kBigEndianIntegers)) {
    const auto file = OrvAudioFile::initWithPath_accessMode(source, 2);
    file->setFileStreamFormat(format);
    ASSERT_TRUE(file->open());
    const std::string data = noise(bytes);
    auto length = static_cast<std::uint32_t>(bytes);
    ASSERT_TRUE(bytes == 0 || file->write_length(data.data(), &length));
    ASSERT_TRUE(file->close());
  }

  bool convert(const FormatPointer& format, const std::shared_ptr<OrvObject>& subscriber = nullptr) {
    return OrvAudioFileConverter::initWithProgressSubscriber(subscriber)
        ->convertFile_toPath_toFormat(source, destination, format);
  }

  bool convertBack(const FormatPointer& format) {
    return OrvAudioFileConverter::initWithProgressSubscriber(nullptr)->convertFile_toPath_toFormat(destination, third,
                                                                                                   format);
  }

  LogCapture log;
  TemporaryDirectory folder;
  const std::string source = folder / "source.aiff";
  const std::string destination = folder / "converted.aiff";
  const std::string third = folder / "back.aiff";
};

}  // namespace

TEST_F(FileConverter, SixteenBitsToTwentyFourOrFloatAndBackAreBitExact) {
  for (const std::uint32_t channels : {1U, 2U, 6U}) {
    const auto sixteen = pcm(44100, channels, 16, kBigEndianIntegers);
    makeSource(std::size_t{500001} * channels * 2, sixteen);
    for (const auto& wide : {pcm(44100, channels, 24, kBigEndianIntegers), pcm(44100, channels, 32, kBigEndianIntegers),
                             pcm(44100, channels, 32, kBigEndianFloats)}) {
      SCOPED_TRACE(std::to_string(channels) + " channels through " + wide->debugDescription());
      ASSERT_TRUE(convert(wide));
      ASSERT_TRUE(convertBack(sixteen));
      const auto before = readIndependently(source);
      const auto between = readIndependently(destination);
      const auto after = readIndependently(third);
      ASSERT_TRUE(before && between && after);
      EXPECT_EQ(between->frames, 500001);
      EXPECT_EQ(between->channels, static_cast<int>(channels));
      EXPECT_TRUE(before->ints == after->ints);
    }
  }
}

TEST_F(FileConverter, ThirtyTwoBitsStayAsTheyAre) {
  const auto format = pcm(48000, 2, 32, kBigEndianIntegers);
  makeSource(800000, format);
  ASSERT_TRUE(convert(format));
  EXPECT_TRUE(readIndependently(source)->ints == readIndependently(destination)->ints);
}

TEST_F(FileConverter, EveryResampledFrameArrives) {
  for (const auto& [from, to] :
       {std::pair{44100.0, 48000.0}, {48000.0, 44100.0}, {96000.0, 8000.0}, {8000.0, 96000.0}}) {
    SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
    orv::test::writeRecording(source, pcm(from, 2, 24, kBigEndianIntegers), {{3.7, 0.5}});
    ASSERT_TRUE(convert(pcm(to, 2, 24, kBigEndianIntegers)));
    const auto after = readIndependently(destination);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->sampleRate, to);
    EXPECT_NEAR(static_cast<double>(after->frames), 3.7 * to, 1.0);
    // The tone of 1 kHz, up to the last tenth of a second.
    double worst = 0;
    for (auto i = static_cast<std::size_t>(to / 10); i < static_cast<std::size_t>(3.6 * to); ++i) {
      const double expected = 0.5 * std::sin(2 * std::numbers::pi * 1000.0 * static_cast<double>(i) / to);
      worst = std::max(worst, std::abs(after->doubles[2 * i] - expected));
    }
    EXPECT_LT(worst, 1e-5);
  }
}

TEST_F(FileConverter, WithoutAFormatItBecomesSixteenBitsAtTheSourcesRateAndChannels) {
  for (const std::uint32_t channels : {1U, 2U, 5U}) {
    makeSource(std::size_t{3000} * channels, pcm(96000, channels, 24, kBigEndianIntegers));
    EXPECT_TRUE(OrvAudioFileConverter::initWithProgressSubscriber(nullptr)->convertFile_toPath(source, destination));
    const auto after = readIndependently(destination);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->sampleRate, 96000);
    EXPECT_EQ(after->channels, static_cast<int>(channels));
    EXPECT_EQ(after->frames, 1000);
    EXPECT_EQ(after->subFormat, 2);  // 16 bits
  }
}

TEST_F(FileConverter, AnEmptySourceIsSuccessWithoutAPass) {
  makeSource(0);
  const auto subscriber = std::make_shared<Subscriber>();
  EXPECT_TRUE(convert(pcm(48000, 2, 24, kBigEndianIntegers), subscriber));
  const auto after = readIndependently(destination);
  ASSERT_TRUE(after);
  EXPECT_EQ(after->frames, 0);
  EXPECT_EQ(after->sampleRate, 48000);
  EXPECT_TRUE(subscriber->values.empty());
  EXPECT_EQ(log.lines().back(), "BEFORE LOOP: bytesLeftToRead: 0, bytesToRead: 0");
}

TEST_F(FileConverter, ProgressCountsBytesOfTheSource) {
  makeSource(2'000'000);
  for (const double rate : {44100.0, 48000.0, 22050.0}) {
    const auto subscriber = std::make_shared<Subscriber>();
    ASSERT_TRUE(convert(pcm(rate, 2, 24, kBigEndianIntegers), subscriber));
    EXPECT_EQ(subscriber->values.front(), 0.0F);
    EXPECT_TRUE(std::is_sorted(subscriber->values.begin(), subscriber->values.end()));
    EXPECT_GE(subscriber->values.size(), 4U);
    EXPECT_LT(subscriber->values.back(), 1.0F);
  }
}

TEST_F(FileConverter, EachStepIsLogged) {
  makeSource(1'000'000);
  ASSERT_TRUE(convert(pcm(44100, 2, 16, kBigEndianIntegers)));
  EXPECT_EQ(log.lines(), (std::vector<std::string>{
                             "Entering convertFile with args: inSourcePath: " + source +
                                 ", inDestinationPath: " + destination + ", inFormat: 44100Hz, stereo, 16 bits",
                             "opened source file. length: 1000000", "created converter",
                             "BEFORE LOOP: bytesLeftToRead: 1000000, bytesToRead: 0",
                             "INSIDE LOOP: bytesLeftToRead: 1000000, bytesToRead: 524288",
                             "INSIDE LOOP 1: bytesLeftToRead: 1000000, bytesToRead: 524288, numPackets: 131072",
                             "INSIDE LOOP END: bytesLeftToRead: 475712, bytesToRead: 524288, numPackets: 131072",
                             "INSIDE LOOP: bytesLeftToRead: 475712, bytesToRead: 475712",
                             "INSIDE LOOP 1: bytesLeftToRead: 475712, bytesToRead: 475712, numPackets: 118928",
                             "INSIDE LOOP END: bytesLeftToRead: 0, bytesToRead: 475712, numPackets: 118928"}));
}

TEST_F(FileConverter, WithoutAPathItAnswersNo) {
  const auto converter = OrvAudioFileConverter::initWithProgressSubscriber(nullptr);
  const auto format = pcm(44100, 2, 16, kBigEndianIntegers);
  EXPECT_FALSE(converter->convertFile_toPath_toFormat(std::nullopt, destination, format));
  EXPECT_FALSE(converter->convertFile_toPath_toFormat(source, std::nullopt, format));
  EXPECT_FALSE(converter->convertFile_toPath(std::nullopt, destination));
  EXPECT_FALSE(converter->convertFile_toPath(source, std::nullopt));
  EXPECT_EQ(log.lines()[0], "Entering convertFile with args: inSourcePath: (null), inDestinationPath: " + destination +
                                ", inFormat: 44100Hz, stereo, 16 bits");
  EXPECT_FALSE(orv::fileManager()->exists(destination));
}

TEST_F(FileConverter, AMissingSourceCountsAsAnEmptyOne) {
  EXPECT_TRUE(convert(pcm(44100, 2, 16, kBigEndianIntegers)));
  EXPECT_EQ(readIndependently(destination)->frames, 0);
}

TEST_F(FileConverter, AFileIsNotConvertedOntoItself) {
  makeSource(4000);
  const std::string before = readWholeFile(source);
  const auto converter = OrvAudioFileConverter::initWithProgressSubscriber(nullptr);
  EXPECT_FALSE(converter->convertFile_toPath_toFormat(source, source, pcm(44100, 2, 24, kBigEndianIntegers)));
  EXPECT_EQ(readWholeFile(source), before);
}

TEST_F(FileConverter, FormatsThatCannotBeConvertedOrStoredAnswerNo) {
  makeSource(4000);
  EXPECT_FALSE(convert(nullptr));
  EXPECT_FALSE(convert(pcm(44100, 2, 16, 12)));  // no AIFF holds little-endian integers
  const auto unknown = pcm(44100, 2, 16, kBigEndianIntegers);
  unknown->setFormatID(orv::fourCC("aac "));
  testing::internal::CaptureStderr();  // where the graph tells of formats it does not know
  EXPECT_FALSE(convert(unknown));
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(FileConverter, ASubscriberThatDoesNotListenIsLetGo) {
  auto indifferent = std::make_shared<Indifferent>();
  const std::weak_ptr<Indifferent> observer = indifferent;
  const auto converter = OrvAudioFileConverter::initWithProgressSubscriber(indifferent);
  indifferent.reset();
  EXPECT_TRUE(observer.expired());
  makeSource(4000);
  EXPECT_TRUE(converter->convertFile_toPath(source, destination));
}

TEST_F(FileConverter, ASubscriberThatListensIsKept) {
  auto subscriber = std::make_shared<Subscriber>();
  const std::weak_ptr<Subscriber> observer = subscriber;
  auto converter = OrvAudioFileConverter::initWithProgressSubscriber(subscriber);
  subscriber.reset();
  EXPECT_FALSE(observer.expired());
  converter.reset();
  EXPECT_TRUE(observer.expired());
}

TEST_F(FileConverter, OneObjectConvertsOneFileAfterTheOther) {
  const auto converter = OrvAudioFileConverter::initWithProgressSubscriber(nullptr);
  for (const std::size_t frames : {1000U, 2000U}) {
    makeSource(frames * 4);
    EXPECT_TRUE(converter->convertFile_toPath(source, destination));
    EXPECT_TRUE(readIndependently(destination)->ints == readIndependently(source)->ints);
  }
}

TEST_F(FileConverter, WithoutAConversionItSuppliesNothing) {
  const auto converter = OrvAudioFileConverter::initWithProgressSubscriber(nullptr);
  AudioBufferList list{1, {{2, 0, nullptr}}};
  std::uint32_t packets = 10;
  EXPECT_EQ(converter->audioConverterCallback_data_packetDescription(&packets, &list, nullptr), kEndOfFileStatus);
  EXPECT_EQ(packets, 0U);
}

namespace {

/// Files in memory: the source by its name, everything else is the destination.
class TwoFiles final : public orv::AudioFileService {
 public:
  OSStatus create(const std::string&, AudioFileTypeID, const AudioStreamBasicDescription&,
                  std::unique_ptr<orv::AudioFileSession>* session) override {
    *session = std::make_unique<orv::test::FakeSession>(destination);
    return noErr;
  }
  OSStatus initialize(const std::string& path, AudioFileTypeID type, const AudioStreamBasicDescription& format,
                      std::unique_ptr<orv::AudioFileSession>* session) override {
    return create(path, type, format, session);
  }
  OSStatus open(const std::string&, bool, std::unique_ptr<orv::AudioFileSession>* session) override {
    *session = std::make_unique<orv::test::FakeSession>(source);
    return noErr;
  }

  const std::shared_ptr<orv::test::FakeFile> source = std::make_shared<orv::test::FakeFile>();
  const std::shared_ptr<orv::test::FakeFile> destination = std::make_shared<orv::test::FakeFile>();
};

/// Makes a file fail once the conversion has begun.
class Breaking final : public OrvObject, public OrvProgressDelegate {
 public:
  explicit Breaking(std::function<void()> breakIt) : breakIt_(std::move(breakIt)) {}
  void progressUpdate(float) override { breakIt_(); }

 private:
  std::function<void()> breakIt_;
};

class FileConverterInTrouble : public testing::Test {
 protected:
  FileConverterInTrouble() {
    files->source->data = noise(2'000'000);
    orv::installAudioFileService(files);
  }
  ~FileConverterInTrouble() override { orv::installAudioFileService(nullptr); }

  bool convert(std::function<void()> breakIt) {
    return OrvAudioFileConverter::initWithProgressSubscriber(std::make_shared<Breaking>(std::move(breakIt)))
        ->convertFile_toPath_toFormat("/no/source.aiff", "/no/destination.aiff", pcm(44100, 2, 16, kBigEndianIntegers));
  }

  LogCapture log;
  std::shared_ptr<TwoFiles> files = std::make_shared<TwoFiles>();
};

}  // namespace

TEST_F(FileConverterInTrouble, AFailedWriteEndsWithNo) {
  EXPECT_FALSE(convert([this] { files->destination->writeStatus = kDiskFullStatus; }));
  EXPECT_EQ(files->destination->data.size(), 524288U);
  EXPECT_EQ(files->destination->closes, 1);
  EXPECT_EQ(files->source->closes, 1);
}

TEST_F(FileConverterInTrouble, ASourceThatCannotBeReadToItsEndEndsWithNo) {
  EXPECT_FALSE(convert([this] { files->source->readStatus = kInputOutputErrorStatus; }));
  EXPECT_EQ(files->destination->data, files->source->data.substr(0, 524288));
}

TEST_F(FileConverterInTrouble, ADestinationThatCannotBeClosedEndsWithNo) {
  files->destination->closeStatus = kDiskFullStatus;
  EXPECT_FALSE(convert([] {}));
}

TEST_F(FileConverterInTrouble, WhatASubscriberThrowsEndsWithNo) {
  EXPECT_FALSE(convert([] { throw std::runtime_error("enough"); }));
  EXPECT_TRUE(log.contains("OrvAudioFileConverter: enough"));
}

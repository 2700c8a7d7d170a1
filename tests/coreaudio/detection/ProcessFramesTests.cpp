#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvCoreAudio/OrvAudioFileProcessor.h>
#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <stdexcept>
#include <tuple>

#include "coreaudio/support/FakeAudioFileService.h"
#include "coreaudio/support/Noise.h"
#include "coreaudio/support/Recording.h"
#include "support/IndependentReader.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::LogCapture;
using orv::test::noise;
using orv::test::pcm;
using orv::test::readIndependently;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeWholeFile;
using Processor = OrvAudioFileProcessor;

namespace {

constexpr std::size_t kChunk = 98304;  // bytes

class Delegate final : public OrvObject, public OrvProgressDelegate {
 public:
  void progressUpdate(float progress) override { values.push_back(progress); }
  std::vector<float> values;
};

/// Multiplies by a factor, tells what it was asked, and says no from a block on.
class Recording final : public OrvAudioProcessor {
 public:
  void reset() override { ++resets; }

  bool processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                 std::uint32_t channelsPerFrame,
                                                                 std::uint32_t* numberOfFrames) override {
    if (blocks.size() == blockToRefuse) {
      return false;
    }
    if (blocks.size() == blockToThrowAt) {
      throw std::runtime_error("no more");
    }
    blocks.emplace_back(channelsPerFrame, *numberOfFrames);
    if (isIdle) {
      return true;
    }
    const std::size_t samples = std::size_t{channelsPerFrame} * *numberOfFrames;
    std::transform(input, input + samples, output, [this](float sample) { return sample * factor; });
    *numberOfFrames = 0;  // Nobody looks at it.
    return true;
  }

  float factor = 0.5F;
  bool isIdle = false;
  std::size_t blockToRefuse = SIZE_MAX;
  std::size_t blockToThrowAt = SIZE_MAX;
  int resets = 0;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> blocks;  ///< channels and frames
};

class WithSource : public testing::Test {
 protected:
  void makeSource(std::size_t bytes, const orv::test::FormatPointer& format = pcm(44100, 2, 16, 14),
                  AudioFileTypeID type = 0) {
    const std::string data = noise(bytes);
    const auto file = OrvAudioFile::initWithPath_accessMode(source, 2);
    file->setFileStreamFormat(format);
    if (type != 0) {
      file->setFileType(type);
    }
    ASSERT_TRUE(file->open());
    auto length = static_cast<std::uint32_t>(bytes);
    ASSERT_TRUE(file->write_length(data.data(), &length));
    ASSERT_TRUE(file->close());
  }

  bool copy(std::uint64_t from, std::uint64_t to, const std::shared_ptr<OrvAudioProcessor>& via,
            const std::shared_ptr<OrvObject>& delegate = nullptr) {
    return Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame_via(delegate, source, destination,
                                                                                        from, to, via);
  }

  bool process(std::uint64_t from, std::uint64_t to, const std::shared_ptr<OrvAudioProcessor>& via,
               const std::shared_ptr<OrvObject>& delegate = nullptr) {
    return Processor::processFrames_sourcePath_startingAt_endingAt_via(delegate, source, from, to, via);
  }

  /// Every sample of `[from, to)` is the source's times `factor`, to half a step of `bits`.
  static void expectScaled(const orv::test::IndependentReading& before, const orv::test::IndependentReading& after,
                           std::size_t from, std::size_t to, double factor, int bits, std::size_t offset) {
    const auto channels = static_cast<std::size_t>(before.channels);
    const double step = std::ldexp(1.0, 1 - bits);
    for (std::size_t i = from * channels; i < to * channels; ++i) {
      ASSERT_NEAR(after.doubles[i - offset * channels], before.doubles[i] * factor, step / 2 + 1e-7) << "sample " << i;
    }
  }

  LogCapture log;
  TemporaryDirectory folder;
  std::string source = folder / "source.aiff";
  std::string destination = folder / "processed.aiff";
  std::shared_ptr<Recording> half = std::make_shared<Recording>();
};

using CopyThroughAProcessor = WithSource;
using ProcessInPlace = WithSource;
using ExportThroughAProcessor = WithSource;
using ProcessFramesInPlace = WithSource;

}  // namespace

TEST_F(CopyThroughAProcessor, WithoutAProcessorItAnswersYesAndDoesNothing) {
  makeSource(400);
  EXPECT_TRUE(copy(0, 100, nullptr));
  EXPECT_FALSE(orv::fileManager()->exists(destination));
}

TEST_F(CopyThroughAProcessor, AnEmptyRangeAnswersYesAndDoesNothing) {
  makeSource(400);
  EXPECT_TRUE(copy(10, 10, half));
  EXPECT_TRUE(copy(10, 5, half));
  EXPECT_FALSE(orv::fileManager()->exists(destination));
  EXPECT_EQ(half->resets, 0);
}

TEST_F(CopyThroughAProcessor, WithoutAPathItAnswersNo) {
  EXPECT_FALSE(Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame_via(nullptr, std::nullopt,
                                                                                            destination, 0, 1, half));
  EXPECT_FALSE(Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame_via(nullptr, source,
                                                                                            std::nullopt, 0, 1, half));
}

TEST_F(CopyThroughAProcessor, TheRangeIsProcessedInChunksOf98304Bytes) {
  makeSource(kChunk + 4000);
  const auto delegate = std::make_shared<Delegate>();
  EXPECT_TRUE(copy(0, 1'000'000, half, delegate));
  EXPECT_EQ(half->resets, 1);
  EXPECT_EQ(half->blocks, (std::vector<std::pair<std::uint32_t, std::uint32_t>>{{2, 24576}, {2, 1000}}));
  ASSERT_EQ(delegate->values.size(), 2U);
  EXPECT_EQ(delegate->values[0], 0.0F);
  EXPECT_NEAR(delegate->values[1], 98304.0 / 102304.0, 1e-6);
  const auto after = readIndependently(destination);
  ASSERT_TRUE(after);
  EXPECT_EQ(after->frames, 25576);
  expectScaled(*readIndependently(source), *after, 0, 25576, 0.5, 16, 0);
}

TEST_F(CopyThroughAProcessor, EveryNumberOfChannelsAndBitsWorks) {
  const std::tuple<std::uint32_t, std::uint32_t> kinds[] = {{1, 16}, {1, 24}, {2, 24}, {6, 16},
                                                            {6, 24}, {5, 24}, {3, 8}};
  for (const auto& [channels, bits] : kinds) {
    SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(bits) + " bits");
    const std::size_t frames = 40000;
    makeSource(frames * channels * (bits / 8), pcm(48000, channels, bits, 14));
    half = std::make_shared<Recording>();
    EXPECT_TRUE(copy(100, 39000, half));
    EXPECT_EQ(half->blocks.front().first, channels);
    EXPECT_EQ(half->blocks.front().second, std::min<std::size_t>(kChunk / (channels * bits / 8), 38900));
    const auto before = readIndependently(source);
    const auto after = readIndependently(destination);
    ASSERT_TRUE(before && after);
    EXPECT_EQ(after->sampleRate, 48000);
    EXPECT_EQ(after->channels, static_cast<int>(channels));
    ASSERT_EQ(after->frames, 38900);
    expectScaled(*before, *after, 100, 39000, 0.5, static_cast<int>(bits), 100);
  }
}

TEST_F(CopyThroughAProcessor, AProcessorThatSaysNoOnTheSecondChunkLeavesExactlyTheFirst) {
  makeSource(2 * kChunk);
  half->blockToRefuse = 1;
  EXPECT_FALSE(copy(0, 2 * kChunk / 4, half));
  EXPECT_EQ(readIndependently(destination)->frames, static_cast<std::int64_t>(kChunk / 4));
}

TEST_F(CopyThroughAProcessor, WhatAProcessorLeavesAloneIsSilence) {
  makeSource(4000);
  half->isIdle = true;
  EXPECT_TRUE(copy(0, 1000, half));
  const auto after = readIndependently(destination);
  EXPECT_EQ(after->ints, std::vector<std::int32_t>(2000, 0));
}

TEST_F(CopyThroughAProcessor, LittleEndianSourcesBecomeBigEndian) {
  makeSource(4000, pcm(44100, 2, 16, 12), orv::fourCC("WAVE"));
  half->factor = 1.0F;
  EXPECT_TRUE(copy(0, 1000, half));
  EXPECT_EQ(readWholeFile(destination).substr(8, 4), "AIFF");
  EXPECT_EQ(readIndependently(destination)->ints, readIndependently(source)->ints);
}

TEST_F(CopyThroughAProcessor, ARangeThatBeginsPastTheEndAnswersNoAndLeavesTheDestination) {
  makeSource(4000);
  writeWholeFile(destination, "precious");
  EXPECT_FALSE(copy(1001, 2000, half));
  EXPECT_EQ(readWholeFile(destination), "precious");
}

TEST_F(CopyThroughAProcessor, AFileIsNotCopiedOntoItself) {
  makeSource(4000);
  destination = source;
  EXPECT_FALSE(copy(0, 10, half));
  EXPECT_EQ(readIndependently(source)->frames, 1000);
}

TEST_F(CopyThroughAProcessor, AMissingSourceAnswersNoAndMakesNoFile) {
  EXPECT_FALSE(copy(0, 10, half));
  EXPECT_FALSE(orv::fileManager()->exists(destination));
}

TEST_F(CopyThroughAProcessor, AProcessorThatThrowsEndsItWithNo) {
  makeSource(2 * kChunk);
  half->blockToThrowAt = 1;
  EXPECT_FALSE(copy(0, 2 * kChunk / 4, half));
  EXPECT_TRUE(log.contains("OrvAudioFileProcessor: no more"));
}

TEST_F(ProcessInPlace, AnEmptyRangeAnswersNo) {
  makeSource(400);
  EXPECT_FALSE(process(0, 0, half));
  EXPECT_FALSE(process(5, 4, half));
}

TEST_F(ProcessInPlace, WithoutAPathOrAProcessorItAnswersNo) {
  makeSource(400);
  EXPECT_FALSE(process(0, 10, nullptr));
  EXPECT_FALSE(Processor::processFrames_sourcePath_startingAt_endingAt_via(nullptr, std::nullopt, 0, 10, half));
}

TEST_F(ProcessInPlace, OnlyTheRangeIsReplaced) {
  const std::tuple<std::uint32_t, std::uint32_t> kinds[] = {{2, 16}, {1, 24}, {6, 24}};
  for (const auto& [channels, bits] : kinds) {
    SCOPED_TRACE(std::to_string(channels) + " channels, " + std::to_string(bits) + " bits");
    makeSource(std::size_t{60000} * channels * (bits / 8), pcm(44100, channels, bits, 14));
    half = std::make_shared<Recording>();
    const auto before = readIndependently(source);
    const auto delegate = std::make_shared<Delegate>();
    EXPECT_TRUE(process(1000, 50001, half, delegate));
    EXPECT_EQ(half->resets, 1);
    EXPECT_EQ(delegate->values.front(), 0.0F);
    EXPECT_LT(delegate->values.back(), 1.0F);
    const auto after = readIndependently(source);
    ASSERT_EQ(after->frames, 60000);
    const int depth = static_cast<int>(bits);
    expectScaled(*before, *after, 0, 1000, 1.0, depth, 0);
    expectScaled(*before, *after, 1000, 50001, 0.5, depth, 0);
    expectScaled(*before, *after, 50001, 60000, 1.0, depth, 0);
    EXPECT_TRUE(std::equal(before->ints.begin(), before->ints.begin() + 1000 * channels, after->ints.begin()));
  }
}

TEST_F(ProcessInPlace, AnEndPastTheFileIsTakenBackToIt) {
  makeSource(4000);
  EXPECT_TRUE(process(900, 5000, half));
  EXPECT_EQ(half->blocks.front().second, 100U);
  EXPECT_EQ(readIndependently(source)->frames, 1000);
}

TEST_F(ProcessInPlace, ARangeThatBeginsPastTheEndAnswersNo) {
  makeSource(4000);
  const std::string before = readWholeFile(source);
  EXPECT_FALSE(process(1001, 5000, half));
  EXPECT_EQ(readWholeFile(source), before);
}

TEST_F(ProcessInPlace, AProcessorThatSaysNoLeavesTheRestAsItWas) {
  makeSource(2 * kChunk);
  const auto before = readIndependently(source);
  half->blockToRefuse = 1;
  EXPECT_FALSE(process(0, 2 * kChunk / 4, half));
  const auto after = readIndependently(source);
  expectScaled(*before, *after, 0, kChunk / 4, 0.5, 16, 0);
  EXPECT_TRUE(std::equal(before->ints.begin() + kChunk / 2, before->ints.end(), after->ints.begin() + kChunk / 2));
}

TEST(ProcessInPlaceOfAFileThatCanOnlyBeRead, AnswersNoAndEmptiesNothing) {
  const LogCapture log;
  const TemporaryDirectory folder;
  // A service whose files open for reading only: opening in mode 1 would make the file anew.
  class ReadOnly final : public orv::AudioFileService {
   public:
    OSStatus create(const std::string&, AudioFileTypeID, const AudioStreamBasicDescription&,
                    std::unique_ptr<orv::AudioFileSession>*) override {
      ++makings;
      return kAudioFilePermissionsError;
    }
    OSStatus initialize(const std::string&, AudioFileTypeID, const AudioStreamBasicDescription&,
                        std::unique_ptr<orv::AudioFileSession>*) override {
      ++makings;
      return kAudioFilePermissionsError;
    }
    OSStatus open(const std::string&, bool forUpdate, std::unique_ptr<orv::AudioFileSession>* session) override {
      if (forUpdate) {
        return kAudioFilePermissionsError;
      }
      *session = std::make_unique<orv::test::FakeSession>(file);
      return noErr;
    }
    std::shared_ptr<orv::test::FakeFile> file = std::make_shared<orv::test::FakeFile>();
    int makings = 0;
  };
  const auto service = std::make_shared<ReadOnly>();
  service->file->data = noise(4000);
  orv::installAudioFileService(service);
  EXPECT_FALSE(Processor::processFrames_sourcePath_startingAt_endingAt_via(nullptr, folder / "a.flac", 0, 10,
                                                                           std::make_shared<Recording>()));
  orv::installAudioFileService(nullptr);
  EXPECT_EQ(service->makings, 0);
  EXPECT_TRUE(service->file->writeSizes.empty());
}

TEST_F(ExportThroughAProcessor, EveryTypeOfFileTakesProcessedAudio) {
  makeSource(40000, pcm(44100, 2, 16, 12), orv::fourCC("WAVE"));
  const auto volume = OrvSoftwareVolumeControl::init();
  volume->setVolumeScalar(0.5F);
  for (const char* name : {"a.aiff", "a.aifc", "a.wav"}) {
    SCOPED_TRACE(name);
    Processor::ExportRequest request;
    request.sourcePath = source;
    request.destinationPath = folder / name;
    request.fromFrame = 100;
    request.toFrame = 9000;
    request.processor = volume;
    const auto result = Processor::exportFrames(request);
    ASSERT_TRUE(result.done) << result.problem;
    const auto after = readIndependently(folder / name);
    ASSERT_TRUE(after);
    ASSERT_EQ(after->frames, 8900);
    expectScaled(*readIndependently(source), *after, 100, 9000, 0.5, 16, 100);
  }
}

TEST_F(ExportThroughAProcessor, AProcessorThatSaysNoLeavesNothingBehind) {
  makeSource(2 * kChunk);
  half->blockToRefuse = 1;
  Processor::ExportRequest request;
  request.sourcePath = source;
  request.destinationPath = destination;
  request.toFrame = 2 * kChunk / 4;
  request.processor = half;
  const auto result = Processor::exportFrames(request);
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, "the processor refused the audio");
  EXPECT_EQ(half->resets, 1);
  EXPECT_FALSE(orv::fileManager()->exists(destination));
}

namespace {

Processor::ProcessRequest requestFor(const std::string& path, std::uint64_t from, std::uint64_t to,
                                     const std::shared_ptr<OrvAudioProcessor>& processor) {
  Processor::ProcessRequest request;
  request.path = path;
  request.fromFrame = from;
  request.toFrame = to;
  request.processor = processor;
  return request;
}

}  // namespace

TEST_F(ProcessFramesInPlace, ReplacesTheRangeAndSaysSo) {
  makeSource(400000);
  const auto before = readIndependently(source);
  const auto delegate = std::make_shared<Delegate>();
  auto request = requestFor(source, 1000, 90000, half);
  request.progressDelegate = delegate;
  const auto result = Processor::processFramesInPlace(request);
  ASSERT_TRUE(result.done) << result.problem;
  EXPECT_EQ(result.changedUpToFrame, 90000U);
  EXPECT_EQ(delegate->values.back(), 1.0F);
  const auto after = readIndependently(source);
  ASSERT_EQ(after->frames, 100000);
  expectScaled(*before, *after, 1000, 90000, 0.5, 16, 0);
  EXPECT_TRUE(std::equal(before->ints.begin(), before->ints.begin() + 2000, after->ints.begin()));
  EXPECT_TRUE(std::equal(before->ints.begin() + 180000, before->ints.end(), after->ints.begin() + 180000));
}

TEST_F(ProcessFramesInPlace, AChunkBehindTheAudioStaysByteForByte) {
  makeSource(4000);
  const std::string chunk("APPL\0\0\0\4abcd", 12);
  std::string bytes = readWholeFile(source) + chunk;
  bytes[7] = static_cast<char>(bytes[7] + 12);  // the FORM's size
  writeWholeFile(source, bytes);
  ASSERT_TRUE(Processor::processFramesInPlace(requestFor(source, 0, 1000, half)).done);
  EXPECT_EQ(readWholeFile(source).size(), bytes.size());
  EXPECT_EQ(readWholeFile(source).substr(bytes.size() - 12), chunk);
}

TEST_F(ProcessFramesInPlace, AFailureTellsUpToWhichFrameTheFileWasChanged) {
  makeSource(3 * kChunk);
  half->blockToRefuse = 2;
  const auto result = Processor::processFramesInPlace(requestFor(source, 10, 3 * kChunk / 4, half));
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, source + ": the processor refused the audio");
  EXPECT_EQ(result.changedUpToFrame, 10 + 2 * kChunk / 4);
}

TEST_F(ProcessFramesInPlace, AThrowingProcessorTellsUpToWhichFrameTheFileWasChanged) {
  makeSource(3 * kChunk);
  half->blockToThrowAt = 1;
  const auto result = Processor::processFramesInPlace(requestFor(source, 0, 3 * kChunk / 4, half));
  EXPECT_FALSE(result.done);
  EXPECT_FALSE(result.problem.empty());
  EXPECT_EQ(result.changedUpToFrame, kChunk / 4);
}

TEST_F(ProcessFramesInPlace, ACancelledRunChangesNothing) {
  makeSource(4000);
  const std::string before = readWholeFile(source);
  const std::atomic<bool> cancel{true};
  auto request = requestFor(source, 0, 1000, half);
  request.cancel = &cancel;
  const auto result = Processor::processFramesInPlace(request);
  EXPECT_TRUE(result.cancelled);
  EXPECT_EQ(result.changedUpToFrame, 0U);
  EXPECT_EQ(readWholeFile(source), before);
}

TEST_F(ProcessFramesInPlace, WhatCannotBeDoneIsSaid) {
  EXPECT_EQ(Processor::processFramesInPlace(requestFor(source, 0, 10, half)).problem,
            source + ": no such file or directory");
  EXPECT_FALSE(orv::fileManager()->exists(source));
  makeSource(4000);
  EXPECT_EQ(Processor::processFramesInPlace(requestFor(source, 10, 10, half)).problem,
            "the range is empty or reversed: frame 10 to 10");
  EXPECT_EQ(Processor::processFramesInPlace(requestFor(source, 10, 1001, half)).problem,
            "frame 1001 is past the end: the file holds 1000 frames");
  EXPECT_EQ(Processor::processFramesInPlace(requestFor(source, 0, 10, nullptr)).problem, "no processor was given");
}

TEST(SwapBytes, ReversesEachWord) {
  for (const std::uint32_t wordLength : {2U, 4U, 6U, 8U, 10U}) {
    const std::string before = noise(wordLength * std::size_t{50});
    std::string after = before;
    Processor::swapBytes_wordLength_length(after.data(), wordLength, after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
      const std::size_t word = i / wordLength * wordLength;
      ASSERT_EQ(after[i], before[word + wordLength - 1 - (i - word)]) << wordLength << ", " << i;
    }
  }
}

TEST(SwapBytes, OddWordLengthsChangeNothing) {
  for (const std::uint32_t wordLength : {0U, 1U, 3U, 5U}) {
    std::string bytes = "abcdefghij";
    Processor::swapBytes_wordLength_length(bytes.data(), wordLength, bytes.size());
    EXPECT_EQ(bytes, "abcdefghij") << wordLength;
  }
}

TEST(SwapBytes, BytesThatAreNoWholeWordStay) {
  std::string bytes = "abcdefg";
  Processor::swapBytes_wordLength_length(bytes.data(), 4, 6);
  EXPECT_EQ(bytes, "dcbaefg");
}

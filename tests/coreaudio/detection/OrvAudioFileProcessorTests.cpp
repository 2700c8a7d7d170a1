#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvCoreAudio/OrvAudioFileProcessor.h>
#include <OrvCoreAudio/OrvSoftwareVolumeControl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <numbers>

#include "coreaudio/support/Noise.h"
#include "coreaudio/support/Recording.h"
#include "support/IndependentReader.h"
#include "support/LogCapture.h"
#include "support/TemporaryDirectory.h"

using orv::test::LogCapture;
using orv::test::noise;
using orv::test::pcm;
using orv::test::readIndependently;
using orv::test::TemporaryDirectory;
using Processor = OrvAudioFileProcessor;

namespace {

class Delegate final : public OrvObject, public OrvProgressDelegate {
 public:
  void progressUpdate(float progress) override { values.push_back(progress); }
  std::vector<float> values;
};

class Indifferent final : public OrvObject {};

class PlainCopy : public testing::Test {
 protected:
  /// Makes a source of so many bytes of 16-bit stereo noise.
  void makeSource(std::size_t bytes, const orv::test::FormatPointer& format = pcm(44100, 2, 16, 14),
                  AudioFileTypeID type = 0) {
    data = noise(bytes);
    const auto file = OrvAudioFile::initWithPath_accessMode(folder / "source.aiff", 2);
    file->setFileStreamFormat(format);
    if (type != 0) {
      file->setFileType(type);
    }
    ASSERT_TRUE(file->open());
    auto length = static_cast<std::uint32_t>(bytes);
    ASSERT_TRUE(file->write_length(data.data(), &length));
    ASSERT_TRUE(file->close());
  }

  bool copy(std::uint64_t from, std::uint64_t to, const std::shared_ptr<OrvObject>& delegate = nullptr) {
    return Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(delegate, folder / "source.aiff",
                                                                                    folder / "copy.aiff", from, to);
  }

  std::string copied() {
    const auto file = OrvAudioFile::initWithPath_accessMode(folder / "copy.aiff", 0);
    EXPECT_TRUE(file->open());
    std::string bytes(file->lengthInBytes(), '\0');
    auto length = static_cast<std::uint32_t>(bytes.size());
    EXPECT_TRUE(bytes.empty() || file->read_length(bytes.data(), &length));
    return bytes;
  }

  LogCapture log;
  TemporaryDirectory folder;
  std::string data;
};

}  // namespace

TEST_F(PlainCopy, AnEmptyRangeWritesNothingAndAnswersYes) {
  makeSource(400);
  EXPECT_TRUE(copy(0, 0));
  EXPECT_TRUE(copy(7, 3));
  EXPECT_FALSE(orv::fileManager()->exists(folder / "copy.aiff"));
}

TEST_F(PlainCopy, WithoutAPathItAnswersNo) {
  EXPECT_FALSE(Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(nullptr, std::nullopt,
                                                                                        folder / "b", 0, 1));
  EXPECT_FALSE(Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(nullptr, folder / "a",
                                                                                        std::nullopt, 0, 0));
}

TEST_F(PlainCopy, TheRangeIsCopiedByteForByte) {
  makeSource(4000);
  EXPECT_TRUE(copy(10, 110));
  EXPECT_EQ(copied(), data.substr(40, 400));
}

TEST_F(PlainCopy, AnEndPastTheFileCopiesUpToTheEnd) {
  makeSource(4000);
  EXPECT_TRUE(copy(900, 5000));
  EXPECT_EQ(copied(), data.substr(3600));
}

TEST_F(PlainCopy, ARangeThatBeginsPastTheEndAnswersNoAndLeavesTheDestination) {
  makeSource(4000);
  orv::test::writeWholeFile(folder / "copy.aiff", "precious");
  EXPECT_FALSE(copy(2000, 3000));
  EXPECT_EQ(orv::test::readWholeFile(folder / "copy.aiff"), "precious");
}

TEST_F(PlainCopy, AMillionBytesAreReportedAt0AndPastTheFirstChunk) {
  makeSource(1'000'000);
  const auto delegate = std::make_shared<Delegate>();
  EXPECT_TRUE(copy(0, 250'000, delegate));
  EXPECT_EQ(delegate->values, (std::vector<float>{0.0F, 0.524288F}));
  EXPECT_EQ(copied(), data);
}

TEST_F(PlainCopy, ThreeHundredThousandBytesAreOneChunk) {
  makeSource(300'000);
  const auto delegate = std::make_shared<Delegate>();
  EXPECT_TRUE(copy(0, 75'000, delegate));
  EXPECT_EQ(delegate->values, std::vector<float>{0.0F});
}

TEST_F(PlainCopy, ADelegateThatDoesNotListenIsLeftAlone) {
  makeSource(4000);
  EXPECT_TRUE(copy(0, 10, std::make_shared<Indifferent>()));
}

TEST_F(PlainCopy, AMissingSourceAnswersNoAndMakesNoFile) {
  EXPECT_FALSE(copy(0, 10));
  EXPECT_FALSE(orv::fileManager()->exists(folder / "copy.aiff"));
}

TEST_F(PlainCopy, AFileIsNotCopiedOntoItself) {
  makeSource(4000);
  EXPECT_FALSE(Processor::copyFramesToPath_sourcePath_destinationPath_fromFrame_toFrame(nullptr, folder / "source.aiff",
                                                                                        folder / "source.aiff", 0, 10));
  EXPECT_EQ(readIndependently(folder / "source.aiff")->frames, 1000);
}

TEST_F(PlainCopy, LittleEndianIntegersFitNoAIFFAndAnswerNo) {
  makeSource(4000, pcm(44100, 2, 16, 12), orv::fourCC("WAVE"));
  EXPECT_FALSE(copy(0, 10));
}

TEST_F(PlainCopy, FloatSamplesBecomeAnAIFC) {
  makeSource(8000, pcm(44100, 2, 32, 11));
  EXPECT_TRUE(copy(5, 10));
  EXPECT_EQ(copied(), data.substr(40, 40));
}

namespace {

class Export : public PlainCopy {
 protected:
  Processor::ExportResult run(const std::string& name, std::uint64_t from, std::uint64_t to) {
    request.sourcePath = folder / "source.aiff";
    request.destinationPath = folder / name;
    request.fromFrame = from;
    request.toFrame = to;
    return Processor::exportFrames(request);
  }

  /// The samples of the export are those of the source range, as an independent reader has both.
  void expectSameSamples(const std::string& name, std::size_t from, std::size_t to) {
    const auto source = readIndependently(folder / "source.aiff");
    const auto exported = readIndependently(folder / name);
    ASSERT_TRUE(source && exported);
    const auto channels = static_cast<std::size_t>(source->channels);
    ASSERT_EQ(exported->frames, static_cast<std::int64_t>(to - from));
    EXPECT_EQ(exported->channels, source->channels);
    EXPECT_EQ(exported->sampleRate, source->sampleRate);
    const auto begin = source->ints.begin() + static_cast<std::ptrdiff_t>(from * channels);
    EXPECT_TRUE(std::equal(exported->ints.begin(), exported->ints.end(), begin));
  }

  std::size_t filesInFolder() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
  }

  Processor::ExportRequest request;
};

}  // namespace

TEST_F(Export, ARangeBecomesAFileOfTheTypeThatTheNameSays) {
  makeSource(40000);
  for (const char* name : {"a.aiff", "a.aif", "a.aifc", "a.wav", "a.wave", "a"}) {
    SCOPED_TRACE(name);
    const auto result = run(name, 100, 5000);
    EXPECT_TRUE(result.done) << result.problem;
    expectSameSamples(name, 100, 5000);
  }
}

TEST_F(Export, SamplesOfEveryFormatArriveUnchanged) {
  const std::pair<orv::test::FormatPointer, AudioFileTypeID> sources[] = {{pcm(44100, 2, 16, 12), orv::fourCC("WAVE")},
                                                                          {pcm(44100, 1, 8, 8), orv::fourCC("WAVE")},
                                                                          {pcm(96000, 2, 24, 14), 0},
                                                                          {pcm(96000, 2, 24, 12), orv::fourCC("WAVE")},
                                                                          {pcm(22050, 3, 8, 14), 0},
                                                                          {pcm(48000, 2, 32, 14), 0},
                                                                          {pcm(48000, 2, 16, 12), orv::fourCC("AIFC")}};
  for (const auto& [format, type] : sources) {
    makeSource(format->bytesPerFrame() * std::size_t{1000}, format, type);
    for (const char* name : {"b.aiff", "b.aifc", "b.wav"}) {
      SCOPED_TRACE(format->debugDescription() + name);
      request.replaceExisting = true;
      const auto result = run(name, 3, 777);
      ASSERT_TRUE(result.done) << result.problem;
      expectSameSamples(name, 3, 777);
    }
  }
}

TEST_F(Export, FloatSamplesArriveUnchanged) {
  orv::test::writeRecording(folder / "source.aiff", pcm(44100, 2, 32, 11), {{0.1, 0.7}});
  for (const char* name : {"c.aiff", "c.aifc", "c.wav"}) {
    SCOPED_TRACE(name);
    const auto result = run(name, 100, 4000);
    ASSERT_TRUE(result.done) << result.problem;
    const auto source = readIndependently(folder / "source.aiff");
    const auto exported = readIndependently(folder / name);
    ASSERT_TRUE(source && exported);
    EXPECT_EQ(exported->frames, 3900);
    EXPECT_TRUE(std::equal(exported->doubles.begin(), exported->doubles.end(), source->doubles.begin() + 200));
  }
}

TEST_F(Export, AnExistingDestinationIsRefusedUnlessAskedFor) {
  makeSource(4000);
  orv::test::writeWholeFile(folder / "d.aiff", "precious");
  EXPECT_EQ(run("d.aiff", 0, 10).problem, (folder / "d.aiff") + ": exists already");
  EXPECT_EQ(orv::test::readWholeFile(folder / "d.aiff"), "precious");
  request.replaceExisting = true;
  EXPECT_TRUE(run("d.aiff", 0, 10).done);
  expectSameSamples("d.aiff", 0, 10);
}

TEST_F(Export, TheSourceIsNeverItsOwnDestination) {
  makeSource(4000);
  request.replaceExisting = true;
  EXPECT_EQ(run("source.aiff", 0, 10).problem, (folder / "source.aiff") + ": is the source itself");
  EXPECT_EQ(readIndependently(folder / "source.aiff")->frames, 1000);
}

TEST_F(Export, RangesThatAreReversedEmptyOrPastTheEndAreRefused) {
  makeSource(4000);
  EXPECT_EQ(run("e.aiff", 20, 10).problem, "the range is empty or reversed: frame 20 to 10");
  EXPECT_EQ(run("e.aiff", 10, 10).problem, "the range is empty or reversed: frame 10 to 10");
  EXPECT_EQ(run("e.aiff", 10, 1001).problem, "frame 1001 is past the end: the file holds 1000 frames");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Export, AMissingSourceOrFolderIsNamed) {
  EXPECT_EQ(run("f.aiff", 0, 10).problem, (folder / "source.aiff") + ": no such file or directory");
  makeSource(4000);
  EXPECT_EQ(run("none/f.aiff", 0, 10).problem, (folder / "none/f.aiff") + ": no such file or directory");
}

TEST_F(Export, AFolderIsNoDestination) {
  makeSource(4000);
  std::filesystem::create_directory(folder / "g");
  request.replaceExisting = true;
  EXPECT_EQ(run("g", 0, 10).problem, (folder / "g") + ": is a directory");
}

TEST_F(Export, ACancelledRunLeavesNothingBehindAndTheOldFileAsItWas) {
  makeSource(4000);
  orv::test::writeWholeFile(folder / "h.aiff", "precious");
  const std::atomic<bool> cancel{true};
  request.cancel = &cancel;
  request.replaceExisting = true;
  const auto result = run("h.aiff", 0, 100);
  EXPECT_TRUE(result.cancelled);
  EXPECT_FALSE(result.done);
  EXPECT_EQ(orv::test::readWholeFile(folder / "h.aiff"), "precious");
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(Export, ARateThatTheContainerCannotHoldIsRefusedAndLeavesNothingBehind) {
  makeSource(4000, pcm(44100.5, 2, 16, 14));
  const auto result = run("i.wav", 0, 100);
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.status, kAudioFileUnsupportedDataFormatError);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Export, ProgressEndsAt1) {
  makeSource(4'000'000);
  const auto delegate = std::make_shared<Delegate>();
  request.progressDelegate = delegate;
  ASSERT_TRUE(run("j.aiff", 0, 1'000'000).done);
  EXPECT_TRUE(std::is_sorted(delegate->values.begin(), delegate->values.end()));
  EXPECT_GT(delegate->values.size(), 4U);
  EXPECT_EQ(delegate->values.back(), 1.0F);
}

TEST_F(Export, AnotherFormatMayBeAskedFor) {
  makeSource(400000);
  for (const auto& format : {pcm(44100, 2, 24, 14), pcm(44100, 2, 32, 11), pcm(44100, 2, 32, 12)}) {
    for (const char* name : {"k.aiff", "k.aifc", "k.wav"}) {
      SCOPED_TRACE(format->debugDescription() + name);
      request.format = format;
      request.replaceExisting = true;
      const auto result = run(name, 100, 99000);
      ASSERT_TRUE(result.done) << result.problem;
      const auto source = readIndependently(folder / "source.aiff");
      const auto exported = readIndependently(folder / name);
      ASSERT_TRUE(source && exported);
      ASSERT_EQ(exported->frames, 98900);
      EXPECT_TRUE(std::equal(exported->doubles.begin(), exported->doubles.end(), source->doubles.begin() + 200));
    }
  }
}

TEST_F(Export, AnotherRateKeepsEveryFrameToTheEnd) {
  orv::test::writeRecording(folder / "source.aiff", pcm(44100, 2, 24, 14), {{2.5, 0.5}});
  request.replaceExisting = true;
  for (const double rate : {48000.0, 22050.0, 96000.0}) {
    for (const bool isProcessed : {false, true}) {
      SCOPED_TRACE(std::to_string(rate) + (isProcessed ? " processed" : ""));
      request.format = pcm(rate, 2, 24, 14);
      request.processor = isProcessed ? OrvSoftwareVolumeControl::init() : nullptr;
      const auto result = run("l.wav", 0, 110250);
      ASSERT_TRUE(result.done) << result.problem;
      const auto exported = readIndependently(folder / "l.wav");
      ASSERT_TRUE(exported);
      EXPECT_EQ(exported->sampleRate, rate);
      EXPECT_NEAR(static_cast<double>(exported->frames), 2.5 * rate, 1.0);
      double worst = 0;
      for (auto i = static_cast<std::size_t>(rate / 10); i < static_cast<std::size_t>(2.4 * rate); ++i) {
        const double expected = 0.5 * std::sin(2 * std::numbers::pi * 1000.0 * static_cast<double>(i) / rate);
        worst = std::max(worst, std::abs(exported->doubles[2 * i] - expected));
      }
      EXPECT_LT(worst, 1e-6);
    }
  }
}

TEST_F(Export, AnEmptyRangeMakesAFileWithoutFramesWhereThatIsWelcome) {
  makeSource(4000);
  request.mayBeEmpty = true;
  request.format = pcm(48000, 2, 24, 14);
  const auto result = run("n.aiff", 10, 10);
  ASSERT_TRUE(result.done) << result.problem;
  EXPECT_EQ(readIndependently(folder / "n.aiff")->frames, 0);
  EXPECT_FALSE(run("o.aiff", 20, 10).done);
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(Export, TheLastStepIsGivenTheCompleteFileBeforeItAppears) {
  makeSource(4000);
  std::int64_t frames = 0;
  request.finish = [&](const std::string& path) {
    EXPECT_FALSE(std::filesystem::exists(folder / "p.aiff"));
    frames = readIndependently(path)->frames;
    return std::string();
  };
  ASSERT_TRUE(run("p.aiff", 0, 1000).done);
  EXPECT_EQ(frames, 1000);
  expectSameSamples("p.aiff", 0, 1000);
}

TEST_F(Export, ALastStepThatFailsLeavesNothingBehind) {
  makeSource(4000);
  request.finish = [](const std::string&) { return std::string("no room"); };
  const auto result = run("q.aiff", 0, 1000);
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, "no room");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Export, AFormatThatCannotBeMadeIsRefusedAndLeavesNothingBehind) {
  makeSource(4000);
  request.format = pcm(44100, 2, 16, 14);
  request.format->setFormatID(orv::fourCC("ima4"));
  testing::internal::CaptureStderr();  // where the converter's graph tells of formats it does not know
  const auto result = run("m.aifc", 0, 100);
  testing::internal::GetCapturedStderr();
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.status, kAudioFileUnsupportedDataFormatError);
  EXPECT_EQ(filesInFolder(), 1U);
}

// Export to and from Sound Designer II files: the companion appears and goes away with the audio.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <OrvCoreAudio/OrvAudioFileProcessor.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "coreaudio/support/Recording.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

using orv::test::pcm;
using orv::test::readIndependently;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeRecording;
using orv::test::writeWholeFile;

namespace {

namespace fs = std::filesystem;

class SD2Export : public testing::Test {
 protected:
  /// Exports the first 1000 frames.
  OrvAudioFileProcessor::ExportResult exportFrom(const std::string& source, const std::string& destination,
                                                 bool replaceExisting = false) {
    OrvAudioFileProcessor::ExportRequest request;
    request.sourcePath = folder / source;
    request.destinationPath = folder / destination;
    request.toFrame = 1000;
    request.replaceExisting = replaceExisting;
    return OrvAudioFileProcessor::exportFrames(request);
  }

  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void expectSameSamples(const std::string& first, const std::string& second) const {
    const auto a = readIndependently(folder / first);
    const auto b = readIndependently(folder / second);
    ASSERT_TRUE(a && b);
    ASSERT_EQ(b->frames, 1000);
    EXPECT_TRUE(std::equal(b->ints.begin(), b->ints.end(), a->ints.begin()));
  }

  const TemporaryDirectory folder;
};

using Names = std::vector<std::string>;

constexpr std::uint32_t kBig = 14;
constexpr std::uint32_t kLittle = 12;

}  // namespace

TEST_F(SD2Export, TheExtensionChoosesTheTypeAndSamplesStayTheSame) {
  for (const std::uint32_t bits : {16U, 20U, 24U, 32U}) {
    writeRecording(folder / "a.wav", pcm(48000, 2, bits, kLittle), {{1.0, 0.5}}, kAudioFileWAVEType);
    const auto result = exportFrom("a.wav", "b.sd2", true);
    ASSERT_TRUE(result.done) << result.problem;
    EXPECT_EQ(readIndependently(folder / "b.sd2")->majorFormat, SF_FORMAT_SD2);
    expectSameSamples("a.wav", "b.sd2");
    EXPECT_EQ(names(), (Names{"._b.sd2", "a.wav", "b.sd2"}));
    fs::remove(folder / "a.wav");
  }
}

TEST_F(SD2Export, ItsFramesGoIntoOtherContainers) {
  writeRecording(folder / "a.sd2", pcm(44100, 2, 24, kBig), {{1.0, 0.5}}, kAudioFileSoundDesigner2Type);
  for (const char* name : {"b.aiff", "b.wav", "b.sd2"}) {
    const auto result = exportFrom("a.sd2", name);
    ASSERT_TRUE(result.done) << result.problem;
    expectSameSamples("a.sd2", name);
  }
}

TEST_F(SD2Export, ADestinationIsReplacedWholeCompanionIncluded) {
  writeRecording(folder / "a.aiff", pcm(44100, 1, 16, kBig), {{1.0, 0.5}});
  writeRecording(folder / "b.sd2", pcm(96000, 2, 24, kBig), {{1.0, 0.5}}, kAudioFileSoundDesigner2Type);
  ASSERT_TRUE(exportFrom("a.aiff", "b.sd2", true).done);
  EXPECT_EQ(readIndependently(folder / "b.sd2")->channels, 1);
  expectSameSamples("a.aiff", "b.sd2");
  EXPECT_EQ(names(), (Names{"._b.sd2", "a.aiff", "b.sd2"}));
}

TEST_F(SD2Export, AnotherContainerInItsPlaceTakesTheCompanionAway) {
  writeRecording(folder / "a.aiff", pcm(44100, 1, 16, kBig), {{1.0, 0.5}});
  writeRecording(folder / "b", pcm(96000, 2, 24, kBig), {{1.0, 0.5}}, kAudioFileSoundDesigner2Type);
  ASSERT_TRUE(exportFrom("a.aiff", "b", true).done);
  EXPECT_EQ(names(), (Names{"a.aiff", "b"}));
}

TEST_F(SD2Export, FloatsAreRefusedAndNothingIsLeft) {
  writeRecording(folder / "a.aifc", pcm(44100, 2, 32, 11), {{1.0, 0.5}});
  const auto result = exportFrom("a.aifc", "b.sd2");
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem,
            folder / "b.sd2: Sound Designer II holds big-endian signed integers of 8, 16, 24 or 32 bits");
  EXPECT_EQ(names(), (Names{"a.aifc"}));
}

TEST_F(SD2Export, ACancelledRunLeavesNothing) {
  writeRecording(folder / "a.aiff", pcm(44100, 1, 16, kBig), {{1.0, 0.5}});
  const std::atomic<bool> cancel = true;
  OrvAudioFileProcessor::ExportRequest request;
  request.sourcePath = folder / "a.aiff";
  request.destinationPath = folder / "b.sd2";
  request.toFrame = 44100;
  request.cancel = &cancel;
  EXPECT_TRUE(OrvAudioFileProcessor::exportFrames(request).cancelled);
  EXPECT_EQ(names(), (Names{"a.aiff"}));
}

TEST_F(SD2Export, ACompanionOfSomebodyElseInTheWayIsKept) {
  writeRecording(folder / "a.aiff", pcm(44100, 1, 16, kBig), {{1.0, 0.5}});
  writeWholeFile(folder / "._b.sd2", "of somebody else");
  const auto result = exportFrom("a.aiff", "b.sd2");
  EXPECT_FALSE(result.done);
  EXPECT_EQ(result.problem, folder / "b.sd2: file exists");
  EXPECT_EQ(readWholeFile(folder / "._b.sd2"), "of somebody else");
  EXPECT_EQ(names(), (Names{"._b.sd2", "a.aiff"}));
}

#include <gtest/gtest.h>

#include "AudioFileRecipes.h"
#include "audiofile/BuiltInService.h"

/// The header follows the audio while a file is written.
namespace orv::test {
namespace {

using namespace std::chrono_literals;

class CommitPace : public ::testing::Test {
 protected:
  CommitPace()
      : previous_(installAudioFileService(std::make_shared<audiofile::BuiltInService>([this] { return now_; }))) {}
  ~CommitPace() override { installAudioFileService(previous_); }

  /// Bytes of audio that another process sees.
  std::int64_t visible() { return openForReading("f").session->dataByteCount(); }

  std::chrono::steady_clock::time_point now_{};
  std::shared_ptr<AudioFileService> previous_;
  InstalledMemoryFiles files_;
};

TEST_F(CommitPace, TheHeaderFollowsWhenHalfASecondHasPassed) {
  writeAudioFile("f", kAudioFileAIFFType, signedBig(16), audioBytes(40));
  const Opened file = openForUpdate("f");
  append(*file.session, audioBytes(40));
  now_ += 499ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 40);
  now_ += 1ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 160);
  now_ += 499ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 160);
  now_ += 1ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 240);
}

TEST_F(CommitPace, TheHeaderFollowsInAFileWithAChunkBehindTheSound) {
  const Bytes name = bigChunk("NAME", text("name"));
  files_->put("f", form("AIFF", commonChunk(2, 10, 16) + soundChunk(audioBytes(40)) + name));
  const Opened file = openForUpdate("f");
  now_ += 500ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 80);
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 80);
  now_ += 500ms;
  append(*file.session, audioBytes(40));
  EXPECT_EQ(visible(), 160);
}

TEST_F(CommitPace, UpdatingTheSizesDoesNotWait) {
  const Opened file = create("f", kAudioFileWAVEType, signedLittle(16));
  append(*file.session, audioBytes(40));
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(visible(), 40);
}

TEST_F(CommitPace, ClosingDoesNotWait) {
  const Opened file = create("f", kAudioFileWAVEType, signedLittle(16));
  append(*file.session, audioBytes(40));
  ASSERT_EQ(file.session->close(), noErr);
  EXPECT_EQ(visible(), 40);
}

TEST_F(CommitPace, WithoutACloseTheHeaderStaysAsItWasLastWritten) {
  {
    const Opened file = create("f", kAudioFileAIFFType, signedBig(16));
    append(*file.session, audioBytes(40));
    ASSERT_EQ(file.session->updateSizes(), noErr);
    append(*file.session, audioBytes(40));
  }
  EXPECT_EQ(visible(), 40);
}

TEST_F(CommitPace, OneCommitIsOneWrite) {
  const Opened file = create("f", kAudioFileAIFFType, signedBig(16));
  append(*file.session, audioBytes(40));
  const int before = files_->disk().changes;
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(files_->disk().changes, before + 1);
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_EQ(files_->disk().changes, before + 1) << "nothing new to say";
}

}  // namespace
}  // namespace orv::test

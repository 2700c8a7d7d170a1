#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "CompanionRecipes.h"
#include "OrvPlatform/AudioFileMoves.h"
#include "support/TemporaryDirectory.h"

/// Audio files are moved, copied, replaced and removed with their companions, whatever fails on the way.
namespace orv::test {
namespace {

const Bytes kAudio = audioBytes(400, 1);
const Bytes kOther = audioBytes(300, 2);
const Bytes kCompanion = appleDouble(resourceFork());
const Bytes kOtherCompanion = appleDouble(resourceFork(soundTexts("3", "96000", "1")));
const Bytes kComment = appleDouble(resourceFork({{{1000, "a comment"}}, "STR "}));

using Content = std::map<std::string, Bytes>;

/// A file system in memory of which one step can fail, and which shows every state between two steps.
class StepFiles final : public FileManager {
 public:
  int failAt = -1;  ///< this step fails
  int steps = 0;
  std::function<void(const Content&)> onStep;

  Content content() {
    Content all;
    for (const auto& [path, bytes] : files_.disk().files) {
      all[path] = *bytes;
    }
    return all;
  }
  void put(const Content& content) {
    files_.disk().files.clear();
    for (const auto& [path, bytes] : content) {
      files_.put(path, bytes);
    }
  }

  OSStatus open(const std::string& path, FileAccess access, std::unique_ptr<FileHandle>* handle) override {
    return files_.open(path, access, handle);
  }
  bool exists(const std::string& path) override { return files_.exists(path); }
  std::optional<FileAttributes> attributes(const std::string& path) override { return files_.attributes(path); }
  OSStatus move(const std::string& from, const std::string& to) override {
    return step([&] { return files_.move(from, to); });
  }
  OSStatus copy(const std::string& from, const std::string& to) override {
    return step([&] { return files_.copy(from, to); });
  }
  OSStatus remove(const std::string& path) override {
    return step([&] { return files_.remove(path); });
  }
  OSStatus replace(const std::string& from, const std::string& to) override {
    return step([&] { return files_.replace(from, to); });
  }
  OSStatus setHFSCodes(const std::string&, const HFSCodes&) override { return noErr; }

 private:
  template <typename Operation>
  OSStatus step(const Operation& operation) {
    if (steps++ == failAt) {
      return kInputOutputErrorStatus;
    }
    const OSStatus status = operation();
    if (onStep) {
      onStep(content());
    }
    return status;
  }

  MemoryFiles files_;
};

class AudioFileMoves : public ::testing::Test {
 protected:
  AudioFileMoves() : files_(std::make_shared<StepFiles>()), previous_(installFileManager(files_)) {}
  ~AudioFileMoves() override { installFileManager(previous_); }

  /// Every single step fails once. The operation then either reports that, and all is as it was, or has got over it.
  template <typename Operation>
  void failEachStep(const Content& before, const Content& after, const Operation& operation) {
    bool failed = true;
    for (int step = 0; failed; ++step) {
      SCOPED_TRACE("step " + std::to_string(step) + " fails");
      ASSERT_LT(step, 10);
      files_->put(before);
      files_->steps = 0;
      files_->failAt = step;
      const OSStatus status = operation();
      failed = files_->steps > step;
      if (status != noErr) {
        EXPECT_EQ(status, kInputOutputErrorStatus);
        EXPECT_EQ(files_->content(), before);
      } else {
        const Content left = files_->content();
        for (const auto& [path, bytes] : after) {
          ASSERT_TRUE(left.contains(path));
          EXPECT_EQ(left.at(path), bytes) << path;
        }
      }
    }
    EXPECT_EQ(files_->content(), after);
  }

  /// `check` is called with what a process killed after each step leaves.
  template <typename Operation, typename Check>
  void killAfterEachStep(const Content& before, const Operation& operation, const Check& check) {
    files_->put(before);
    int states = 0;
    files_->onStep = [&](const Content& state) {
      SCOPED_TRACE("state " + std::to_string(++states));
      check(state);
    };
    EXPECT_EQ(operation(), noErr);
    EXPECT_GE(states, 2);
  }

  std::shared_ptr<StepFiles> files_;
  std::shared_ptr<FileManager> previous_;
};

bool has(const Content& state, const std::string& path, const Bytes& bytes) {
  const auto found = state.find(path);
  return found != state.end() && found->second == bytes;
}

/// Audio wherever it is has its companion.
void expectNothingApart(const Content& state) {
  bool isThere = false;
  for (const std::string path : {"f.sd2", "g.sd2"}) {
    if (has(state, path, kAudio)) {
      isThere = true;
      EXPECT_TRUE(has(state, companionOf(path), kCompanion)) << path;
    }
  }
  EXPECT_TRUE(isThere);
}

const Content kBefore{{"f.sd2", kAudio}, {"._f.sd2", kCompanion}};

TEST_F(AudioFileMoves, MovingTakesTheCompanionAlong) {
  files_->put(kBefore);
  EXPECT_EQ(moveAudioFile("f.sd2", "folder/g.sd2"), noErr);
  EXPECT_EQ(files_->content(), (Content{{"folder/g.sd2", kAudio}, {"folder/._g.sd2", kCompanion}}));
}

TEST_F(AudioFileMoves, CopyingTakesTheCompanionAlong) {
  files_->put(kBefore);
  EXPECT_EQ(copyAudioFile("f.sd2", "folder/g.sd2"), noErr);
  EXPECT_EQ(
      files_->content(),
      (Content{{"f.sd2", kAudio}, {"._f.sd2", kCompanion}, {"folder/g.sd2", kAudio}, {"folder/._g.sd2", kCompanion}}));
}

TEST_F(AudioFileMoves, ACompanionOfAnyContentGoesAlong) {
  files_->put({{"f.aiff", kAudio}, {"._f.aiff", kComment}});
  EXPECT_EQ(copyAudioFile("f.aiff", "g.aiff"), noErr);
  EXPECT_EQ(moveAudioFile("f.aiff", "h.aiff"), noErr);
  EXPECT_EQ(files_->content(),
            (Content{{"g.aiff", kAudio}, {"._g.aiff", kComment}, {"h.aiff", kAudio}, {"._h.aiff", kComment}}));
}

TEST_F(AudioFileMoves, FilesWithoutCompanionMoveInOneStep) {
  files_->put({{"f.aiff", kAudio}});
  EXPECT_EQ(moveAudioFile("f.aiff", "g.aiff"), noErr);
  EXPECT_EQ(files_->steps, 1);
  EXPECT_EQ(files_->content(), (Content{{"g.aiff", kAudio}}));
}

TEST_F(AudioFileMoves, AFailedMoveLeavesDataAndCompanionTogetherInTheOldPlace) {
  failEachStep(kBefore, {{"g.sd2", kAudio}, {"._g.sd2", kCompanion}}, [] { return moveAudioFile("f.sd2", "g.sd2"); });
}

TEST_F(AudioFileMoves, AFailedCopyLeavesNothingBehind) {
  failEachStep(kBefore, {{"f.sd2", kAudio}, {"._f.sd2", kCompanion}, {"g.sd2", kAudio}, {"._g.sd2", kCompanion}},
               [] { return copyAudioFile("f.sd2", "g.sd2"); });
}

TEST_F(AudioFileMoves, AFailedReplacementLeavesTheOldFileWithItsCompanion) {
  Content before = kBefore;
  before["g.sd2"] = kOther;
  before["._g.sd2"] = kOtherCompanion;
  const Content after{{"g.sd2", kAudio}, {"._g.sd2", kCompanion}};
  // The last step only tidies up.
  files_->put(before);
  files_->failAt = 3;
  EXPECT_EQ(replaceAudioFile("f.sd2", "g.sd2"), noErr);
  EXPECT_TRUE(has(files_->content(), "g.sd2", kAudio));
  EXPECT_TRUE(has(files_->content(), "._g.sd2", kCompanion));

  failEachStep(before, after, [] { return replaceAudioFile("f.sd2", "g.sd2"); });
}

TEST_F(AudioFileMoves, AFailedReplacementOfAnotherContainerLeavesItWithoutCompanion) {
  Content before = kBefore;
  before["g.sd2"] = kOther;
  failEachStep(before, {{"g.sd2", kAudio}, {"._g.sd2", kCompanion}}, [] { return replaceAudioFile("f.sd2", "g.sd2"); });
}

TEST_F(AudioFileMoves, AProcessKilledWhileMovingNeverLeavesTheDataAlone) {
  killAfterEachStep(
      kBefore, [] { return moveAudioFile("f.sd2", "g.sd2"); }, expectNothingApart);
}

TEST_F(AudioFileMoves, AProcessKilledWhileCopyingNeverLeavesTheDataAlone) {
  killAfterEachStep(
      kBefore, [] { return copyAudioFile("f.sd2", "g.sd2"); }, expectNothingApart);
}

TEST_F(AudioFileMoves, AProcessKilledWhileReplacingLeavesTheNewDataWithItsCompanion) {
  Content before = kBefore;
  before["g.sd2"] = kOther;
  before["._g.sd2"] = kOtherCompanion;
  killAfterEachStep(
      before, [] { return replaceAudioFile("f.sd2", "g.sd2"); },
      [](const Content& state) {
        EXPECT_TRUE(has(state, "g.sd2", kOther) || has(state, "._g.sd2", kCompanion));
        EXPECT_TRUE(state.contains("._g.sd2"));
      });
}

TEST_F(AudioFileMoves, AnExistingDestinationIsRefusedAndKept) {
  for (const std::string existing : {"g.sd2", "._g.sd2"}) {
    Content before = kBefore;
    before[existing] = kOther;
    files_->put(before);
    EXPECT_EQ(moveAudioFile("f.sd2", "g.sd2"), kFileExistsStatus);
    EXPECT_EQ(copyAudioFile("f.sd2", "g.sd2"), kFileExistsStatus);
    EXPECT_EQ(files_->content(), before);
  }
}

TEST_F(AudioFileMoves, MovingAndCopyingOntoItselfIsRefused) {
  files_->put(kBefore);
  EXPECT_EQ(moveAudioFile("f.sd2", "f.sd2"), kFileExistsStatus);
  EXPECT_EQ(copyAudioFile("f.sd2", "f.sd2"), kFileExistsStatus);
  EXPECT_EQ(files_->content(), kBefore);
}

TEST_F(AudioFileMoves, AMissingSourceIsRefusedAndItsCompanionStays) {
  const Content before{{"._f.sd2", kCompanion}};
  files_->put(before);
  EXPECT_EQ(moveAudioFile("f.sd2", "g.sd2"), kFileNotFoundStatus);
  EXPECT_EQ(copyAudioFile("f.sd2", "g.sd2"), kFileNotFoundStatus);
  EXPECT_EQ(replaceAudioFile("f.sd2", "g.sd2"), kFileNotFoundStatus);
  EXPECT_EQ(removeAudioFile("f.sd2"), kFileNotFoundStatus);
  EXPECT_EQ(files_->content(), before);
}

TEST_F(AudioFileMoves, ReplacingByAFileWithoutCompanionTakesTheOldSoundsAway) {
  files_->put({{"f", kAudio}, {"g.sd2", kOther}, {"._g.sd2", kOtherCompanion}});
  EXPECT_EQ(replaceAudioFile("f", "g.sd2"), noErr);
  EXPECT_EQ(files_->content(), (Content{{"g.sd2", kAudio}}));
}

TEST_F(AudioFileMoves, ReplacingByAFileWithoutCompanionKeepsOneOfSomethingElse) {
  files_->put({{"f", kAudio}, {"g.aiff", kOther}, {"._g.aiff", kComment}});
  EXPECT_EQ(replaceAudioFile("f", "g.aiff"), noErr);
  EXPECT_EQ(files_->content(), (Content{{"g.aiff", kAudio}, {"._g.aiff", kComment}}));
}

TEST_F(AudioFileMoves, RemovingTakesTheSoundsCompanionAlongAndNoOther) {
  files_->put({{"f.sd2", kAudio}, {"._f.sd2", kCompanion}, {"g.aiff", kOther}, {"._g.aiff", kComment}});
  EXPECT_EQ(removeAudioFile("f.sd2"), noErr);
  EXPECT_EQ(removeAudioFile("g.aiff"), noErr);
  EXPECT_EQ(files_->content(), (Content{{"._g.aiff", kComment}}));
}

TEST(AudioFileMovesOnDisk, AMoveToAnotherFileSystemTakesTheCompanionAlong) {
  const TemporaryDirectory here;
  const std::string there = "/dev/shm/orv-audio-file-moves-" + std::to_string(::getpid());
  if (!std::filesystem::create_directory(there)) {
    GTEST_SKIP() << "there is no second file system";
  }
  writeAudioFile(here / "f.sd2", kAudioFileSoundDesigner2Type, signedBig(16), kAudio);
  EXPECT_EQ(moveAudioFile(here / "f.sd2", there + "/g.sd2"), noErr);
  EXPECT_TRUE(std::filesystem::is_empty(here.path()));
  EXPECT_EQ(audioOf(there + "/g.sd2"), kAudio);
  std::filesystem::remove_all(there);
}

}  // namespace
}  // namespace orv::test

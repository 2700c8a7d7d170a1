// Sound Designer II files through the framework's audio file: written, read, killed, moved and copied with the
// companion that says what they hold.
#include <OrvCoreAudio/OrvAudioFile.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

using orv::test::readIndependently;
using orv::test::readWholeFile;
using orv::test::TemporaryDirectory;
using orv::test::writeWholeFile;

namespace {

namespace fs = std::filesystem;

std::shared_ptr<OrvAudioFile> makeForWriting(const std::string& path, bool useCache) {
  auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(OrvAudioStreamBasicDescription::defaultStandardFileFormat());
  file->setFileType(kAudioFileSoundDesigner2Type);
  file->setUseCache(useCache);
  return file;
}

std::string numberedFrames(std::uint32_t count, std::uint32_t first = 0) {
  std::string frames;
  for (std::uint32_t frame = first; frame < first + count; ++frame) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      frames.push_back(static_cast<char>(frame >> shift));
    }
  }
  return frames;
}

bool writeFrames(OrvAudioFile& file, const std::string& frames) {
  auto length = static_cast<std::uint32_t>(frames.size());
  return file.write_length(frames.data(), &length) && length == frames.size();
}

std::string framesIn(const std::string& path) {
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  if (!file->open()) {
    ADD_FAILURE() << file->lastProblem();
    return {};
  }
  EXPECT_EQ(file->fileType(), kAudioFileSoundDesigner2Type);
  std::string frames(file->lengthInBytes(), '\0');
  auto length = static_cast<std::uint32_t>(frames.size());
  EXPECT_TRUE(frames.empty() || file->read_length(frames.data(), &length));
  EXPECT_EQ(length, frames.size());
  return frames;
}

std::vector<std::string> namesIn(const TemporaryDirectory& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class SD2File : public testing::Test {
 protected:
  void write(const std::string& frames, bool useCache = false) {
    const auto file = makeForWriting(path, useCache);
    ASSERT_TRUE(file->open()) << file->lastProblem();
    ASSERT_TRUE(writeFrames(*file, frames));
    ASSERT_TRUE(file->close()) << file->lastProblem();
  }

  const TemporaryDirectory folder;
  const std::string path = folder / "take.sd2";
};

}  // namespace

TEST_F(SD2File, WhatIsWrittenIsReadBackAndIsNothingButAudio) {
  for (const bool useCache : {false, true}) {
    write(numberedFrames(300000), useCache);
    EXPECT_EQ(readWholeFile(path), numberedFrames(300000));
    EXPECT_EQ(framesIn(path), numberedFrames(300000));
  }
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"._take.sd2", "take.sd2"}));
}

TEST_F(SD2File, LibsndfileReadsIt) {
  write(numberedFrames(1000));
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, 1000);
  EXPECT_EQ(reading->channels, 2);
  EXPECT_EQ(reading->sampleRate, 44100);
  EXPECT_EQ(reading->ints[2 * 777 + 1], 777 << 16);
}

TEST_F(SD2File, OpeningItForUpdateAppendsAndKeepsTheCompanion) {
  write(numberedFrames(1000));
  const std::string companion = readWholeFile(folder / "._take.sd2");
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeReadWrite);
  ASSERT_TRUE(file->open());
  file->setOffset(static_cast<std::int64_t>(file->lengthInBytes()));
  EXPECT_TRUE(writeFrames(*file, numberedFrames(500, 1000)));
  EXPECT_TRUE(file->close());
  EXPECT_EQ(framesIn(path), numberedFrames(1500));
  EXPECT_EQ(readWholeFile(folder / "._take.sd2"), companion);
}

TEST_F(SD2File, WithoutItsCompanionItIsRefusedAndNotEmptied) {
  write(numberedFrames(1000));
  fs::remove(folder / "._take.sd2");
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeReadWrite);
  EXPECT_FALSE(file->openForUpdateOnly());
  EXPECT_EQ(file->lastProblem(), "Sound Designer II: the file '._take.sd2' that says the format is missing");
  EXPECT_EQ(readWholeFile(path), numberedFrames(1000));
}

TEST_F(SD2File, AKilledWriterLeavesEveryFrameThatItWrote) {
  const pid_t child = fork();
  if (child == 0) {
    const auto file = makeForWriting(path, false);
    bool ok = file->open();
    for (std::uint32_t frame = 0; frame < 4410; frame += 441) {
      ok = ok && writeFrames(*file, numberedFrames(441, frame));
    }
    if (ok) {
      kill(getpid(), SIGKILL);
    }
    _exit(1);
  }
  int state = 0;
  waitpid(child, &state, 0);
  ASSERT_TRUE(WIFSIGNALED(state)) << "the writer failed";
  EXPECT_EQ(framesIn(path), numberedFrames(4410));
  const auto reading = readIndependently(path);
  ASSERT_TRUE(reading);
  EXPECT_EQ(reading->frames, 4410);
}

TEST_F(SD2File, AWriterKilledBeforeItsFirstFrameLeavesAFileThatOpens) {
  const pid_t child = fork();
  if (child == 0) {
    const bool ok = makeForWriting(path, false)->open();
    if (ok) {
      kill(getpid(), SIGKILL);
    }
    _exit(1);
  }
  int state = 0;
  waitpid(child, &state, 0);
  ASSERT_TRUE(WIFSIGNALED(state)) << "the writer failed";
  EXPECT_EQ(framesIn(path), "");
}

TEST_F(SD2File, MovingTakesTheCompanionAlong) {
  write(numberedFrames(1000));
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  EXPECT_TRUE(file->moveToPath_handler(folder / "song.sd2", nullptr));
  EXPECT_EQ(file->path(), folder / "song.sd2");
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"._song.sd2", "song.sd2"}));
  EXPECT_EQ(framesIn(folder / "song.sd2"), numberedFrames(1000));
}

TEST_F(SD2File, CopyingTakesTheCompanionAlong) {
  write(numberedFrames(1000));
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  EXPECT_TRUE(file->copyToPath_handler(folder / "song.sd2", nullptr));
  EXPECT_EQ(file->path(), path);
  EXPECT_EQ(framesIn(path), numberedFrames(1000));
  EXPECT_EQ(framesIn(folder / "song.sd2"), numberedFrames(1000));
}

TEST_F(SD2File, AMoveOrCopyThatFailsLeavesDataAndCompanionTogetherAndTellsTheHandler) {
  class Handler final : public orv::FileManagerHandler {
   public:
    bool shouldProceedAfterError(const std::string& error) override {
      texts.push_back(error);
      return true;
    }
    std::vector<std::string> texts;
  } handler;
  write(numberedFrames(1000));
  writeWholeFile(folder / "._song.sd2", "of somebody else");
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeRead);
  EXPECT_FALSE(file->moveToPath_handler(folder / "song.sd2", &handler));
  EXPECT_FALSE(file->copyToPath_handler(folder / "song.sd2", &handler));
  EXPECT_FALSE(file->moveToPath_handler(folder / "missing/song.sd2", &handler));
  EXPECT_FALSE(file->copyToPath_handler(folder / "missing/song.sd2", &handler));
  EXPECT_EQ(handler.texts, (std::vector<std::string>{"file exists", "file exists", "no such file or directory",
                                                     "no such file or directory"}));
  EXPECT_EQ(file->path(), path);
  EXPECT_EQ(framesIn(path), numberedFrames(1000));
  EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"._song.sd2", "._take.sd2", "take.sd2"}));
  EXPECT_EQ(readWholeFile(folder / "._song.sd2"), "of somebody else");
}

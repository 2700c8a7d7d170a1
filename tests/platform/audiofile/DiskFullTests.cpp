#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "AudioFileRecipes.h"

/// A disk that fills up, or fails, at any moment costs nothing that was written before.
namespace orv::test {
namespace {

const Bytes kOld = audioBytes(400, 1);
const Bytes kName = bigChunk("NAME", text("odd"));
const Bytes kInfo = littleChunk("LIST", text("INFO"));

struct Start {
  const char* name;
  Bytes file;
  std::uint32_t bytesPerFrame;
  std::string chunk;  ///< that is behind the sound; empty: none
};

std::ostream& operator<<(std::ostream& out, const Start& start) {
  return out << start.name;
}

std::vector<Start> starts() {
  return {
      {"AIFF", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld)), 4, ""},
      {"AIFFOfBytes", form("AIFF", commonChunk(1, 400, 8) + soundChunk(kOld)), 1, ""},
      {"AIFFOf24Bits", form("AIFF", commonChunk(1, 132, 24) + soundChunk(Bytes(kOld.begin(), kOld.end() - 4))), 3, ""},
      {"AIFFWithAChunkBehind", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName), 4, "NAME"},
      {"AIFFOfBytesWithAChunkBehind", form("AIFF", commonChunk(1, 400, 8) + soundChunk(kOld) + kName), 1, "NAME"},
      {"AIFFWithTheSoundFirst", form("AIFF", soundChunk(kOld) + kName + commonChunk(2, 100, 16)), 4, "NAME"},
      {"WAVE", riff(formatChunk(2, 16) + littleChunk("data", kOld)), 4, ""},
      {"WAVEWithAChunkBehind", riff(formatChunk(2, 16) + littleChunk("data", kOld) + kInfo), 4, "LIST"}};
}

class FullDisk : public ::testing::TestWithParam<Start> {
 protected:
  void SetUp() override { putFile(); }

  void putFile() {
    files_->put("f", GetParam().file);
    expected_ = audioOf("f");
    if (!GetParam().chunk.empty()) {
      chunk_ = chunksNamed(GetParam().file, GetParam().chunk);
    }
  }

  /// Appends `count` bytes, or as many as go. Answers the status.
  OSStatus appendWhatGoes(AudioFileSession& session, std::size_t count, unsigned seed) {
    const Bytes more = audioBytes(count, seed);
    auto moved = static_cast<std::uint32_t>(count);
    const std::int64_t before = session.dataByteCount();
    const OSStatus status = session.writeBytes(before, &moved, more.data());
    EXPECT_LE(moved, count);
    EXPECT_TRUE(status != noErr || moved == count);
    EXPECT_EQ(session.dataByteCount(), before + moved);
    expected_.insert(expected_.end(), more.begin(), more.begin() + moved);
    return status;
  }

  Bytes wholeFramesExpected() const {
    return {expected_.begin(),
            expected_.end() - static_cast<std::ptrdiff_t>(expected_.size() % GetParam().bytesPerFrame)};
  }

  void expectOtherChunk() {
    if (!GetParam().chunk.empty()) {
      EXPECT_EQ(chunksNamed(files_->file("f"), GetParam().chunk), chunk_);
    }
  }

  InstalledMemoryFiles files_;
  Bytes expected_;
  std::vector<Bytes> chunk_;
};

TEST_P(FullDisk, AtAnyLengthTheFileEndsWithTheLastWholeFrameThatIsOnTheDisk) {
  std::size_t full = 0;
  for (std::size_t room = 0; room < 3000; room += room < 40 ? 1 : 97) {
    SCOPED_TRACE(room);
    putFile();
    files_->disk().capacity = GetParam().file.size() + room;
    const Opened file = openForUpdate("f");
    OSStatus status = noErr;
    for (unsigned piece = 0; piece < 12 && status == noErr; ++piece) {
      status = appendWhatGoes(*file.session, 211, piece);
    }
    full += status == kDiskFullStatus ? 1 : 0;
    EXPECT_TRUE(status == noErr || status == kDiskFullStatus);
    EXPECT_EQ(audioOf(*file.session), expected_);
    EXPECT_EQ(file.session->updateSizes(), noErr);
    EXPECT_EQ(audioOf("f"), wholeFramesExpected());
    EXPECT_EQ(file.session->close(), noErr);
    EXPECT_EQ(audioOf("f"), wholeFramesExpected());
    expectOtherChunk();
  }
  EXPECT_GT(full, 10U) << "the disk was never full";
}

TEST_P(FullDisk, OnceThereIsRoomAgainRecordingGoesOn) {
  files_->disk().capacity = GetParam().file.size() + 100;
  const Opened file = openForUpdate("f");
  EXPECT_EQ(appendWhatGoes(*file.session, 501, 1), kDiskFullStatus);
  EXPECT_EQ(appendWhatGoes(*file.session, 501, 2), kDiskFullStatus);
  files_->disk().capacity = std::size_t{1} << 30;
  EXPECT_EQ(appendWhatGoes(*file.session, 501, 3), noErr);
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(audioOf("f"), wholeFramesExpected());
  expectOtherChunk();
}

TEST_P(FullDisk, TheRestOfTheGapIsUsedUp) {
  const Opened file = openForUpdate("f");
  ASSERT_EQ(appendWhatGoes(*file.session, 1000, 1), noErr);
  files_->disk().capacity = files_->file("f").size();
  std::size_t before = expected_.size();
  OSStatus status = noErr;
  while (status == noErr) {
    before = expected_.size();
    status = appendWhatGoes(*file.session, 9973, 2);
  }
  EXPECT_EQ(status, kDiskFullStatus);
  if (!GetParam().chunk.empty()) {
    EXPECT_GT(expected_.size(), before) << "a part of the last piece still fits";
    EXPECT_GT(expected_.size(), 60000U);
  }
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(audioOf("f"), wholeFramesExpected());
  expectOtherChunk();
}

class FullDiskAndAChunkBehind : public FullDisk {};

TEST_P(FullDiskAndAChunkBehind, AGapThatIsFilledToItsEndIsStillClosedSafely) {
  for (std::size_t last = 0; last < 24; ++last) {
    putFile();
    files_->disk().capacity = std::numeric_limits<std::size_t>::max();
    const Opened file = openForUpdate("f");
    ASSERT_EQ(appendWhatGoes(*file.session, 1000, 1), noErr);
    files_->disk().capacity = files_->file("f").size();
    while (appendWhatGoes(*file.session, 4001, 2) == noErr) {
    }
    // Some bytes less than the gap holds, then in several commits up to its end.
    appendWhatGoes(*file.session, last, 3);
    file.session->updateSizes();
    appendWhatGoes(*file.session, 1, 4);
    files_->disk().onChange = [&](const Bytes& state) { EXPECT_EQ(chunksNamed(state, GetParam().chunk), chunk_); };
    ASSERT_EQ(file.session->close(), noErr);
    files_->disk().onChange = nullptr;
    EXPECT_EQ(audioOf("f"), wholeFramesExpected());
  }
}

TEST_P(FullDiskAndAChunkBehind, AFailureToMakeRoomLeavesTheFileAsItWas) {
  const Bytes before = files_->file("f");
  // Reserving, copying the chunks, a filler behind them, the header, the filler before them.
  const int changes = GetParam().name == std::string("AIFFWithTheSoundFirst") ? 7 : 5;
  for (int change = 0; change < changes; ++change) {
    putFile();
    files_->disk().changes = 0;
    files_->disk().failAt = change;
    const Opened file = openForUpdate("f");
    EXPECT_EQ(appendWhatGoes(*file.session, 400, 1), kDiskFullStatus) << change;
    EXPECT_EQ(file.session->dataByteCount(), static_cast<std::int64_t>(wholeFramesExpected().size()));
    EXPECT_EQ(files_->file("f"), before) << change;
    EXPECT_EQ(appendWhatGoes(*file.session, 400, 1), noErr) << "the next try works";
  }
}

/// Runs a recording in which one change of the disk after the other fails.
class FailingDisk : public FullDisk {
 protected:
  /// True when no change was left to fail.
  bool failAt(int change, OSStatus failure) {
    putFile();
    files_->disk().changes = 0;
    files_->disk().failAt = change;
    files_->disk().failure = failure;
    const Opened file = openForUpdate("f");
    for (unsigned step = 0; step < 10; ++step) {
      appendWhatGoes(*file.session, step % 2 == 0 ? 5 : 1801, step);
      file.session->updateSizes();  // may fail once: the next one makes up for it
      EXPECT_EQ(audioOf(*file.session), expected_);
    }
    OSStatus status = file.session->close();
    const bool failedInClose = status != noErr;
    EXPECT_TRUE(status == noErr || status == failure);
    // All that was taken is there, at the latest at the next commit that worked.
    const Bytes audio = audioOf("f");
    EXPECT_EQ(audio, wholeFramesExpected());
    if (!failedInClose) {
      expectOtherChunk();
    } else if (!GetParam().chunk.empty()) {
      const Opened again = openForUpdate("f");
      EXPECT_EQ(appendWhatGoes(*again.session, 4, 99), noErr);
      EXPECT_EQ(again.session->close(), noErr);
      expectOtherChunk();
    }
    return files_->disk().changes <= change;
  }
};

TEST_P(FailingDisk, NoSingleFailureCostsAnything) {
  for (const OSStatus failure : {kDiskFullStatus, kInputOutputErrorStatus}) {
    int change = 0;
    while (!failAt(change, failure) && !HasFailure()) {
      ++change;
    }
    EXPECT_GT(change, 12) << "hardly anything was tried";
    EXPECT_FALSE(HasFailure()) << "change " << change << " with " << failure;
  }
}

std::vector<Start> startsWithAChunkBehind() {
  std::vector<Start> all = starts();
  std::erase_if(all, [](const Start& start) { return start.chunk.empty(); });
  return all;
}

std::string nameOf(const ::testing::TestParamInfo<Start>& parameter) {
  return parameter.param.name;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, FullDisk, ::testing::ValuesIn(starts()), nameOf);
INSTANTIATE_TEST_SUITE_P(Everywhere, FullDiskAndAChunkBehind, ::testing::ValuesIn(startsWithAChunkBehind()), nameOf);
INSTANTIATE_TEST_SUITE_P(Everywhere, FailingDisk, ::testing::ValuesIn(starts()), nameOf);

class NewFileOnAFullDisk : public ::testing::Test {
 protected:
  InstalledMemoryFiles files_;
};

TEST_F(NewFileOnAFullDisk, IsNotMadeWhenNotEvenItsHeaderFits) {
  files_->disk().capacity = 20;
  const Opened file = create("f", kAudioFileAIFFType, signedBig(16));
  EXPECT_EQ(file.status, kDiskFullStatus);
  EXPECT_EQ(file.problem, "disk full");
  EXPECT_FALSE(files_->exists("f"));
}

TEST_F(NewFileOnAFullDisk, SaysHowMuchOfAPieceWasTaken) {
  files_->disk().capacity = 54 + 10;
  const Opened file = create("f", kAudioFileAIFFType, signedBig(16));
  const Bytes audio = audioBytes(100);
  std::uint32_t count = 100;
  EXPECT_EQ(file.session->writeBytes(0, &count, audio.data()), kDiskFullStatus);
  EXPECT_EQ(count, 10U);
  EXPECT_EQ(file.session->close(), noErr);
  EXPECT_EQ(audioOf("f"), Bytes(audio.begin(), audio.begin() + 8));
  EXPECT_EQ(files_->file("f").size(), 54U + 8U);
}

}  // namespace
}  // namespace orv::test

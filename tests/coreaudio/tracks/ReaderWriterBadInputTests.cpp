// Files that lie, end early or mean harm: one clear line, nothing written, nothing half read.
#include "TracksInMemory.h"

namespace orv::test {
namespace {

class BadTracks : public ::testing::Test {
 protected:
  void SetUp() override {
    files_->put("f", plainAIFF());
    const auto writer = inFile("f");
    writer->addTrackInfo(track("One", 1, 2));
    writer->addTrackInfo(track("Two", 2, 3));
    ASSERT_TRUE(writer->writeTrackInfosToFile());
    whole_ = files_->file("f");
    chunkAt_ = plainAIFF().size();
  }

  /// Makes the FORM size true.
  static Bytes withFormSize(Bytes file) {
    if (file.size() >= 8) {
      const Bytes size = bigEndian(file.size() - 8, 4);
      std::copy(size.begin(), size.end(), file.begin() + 4);
    }
    return file;
  }

  /// Nothing is read of the file; what a write does leaves it sound.
  void expectRefused(const Bytes& file) {
    files_->put("f", file);
    const auto reader = inFile("f");
    EXPECT_FALSE(reader->loadTracks());
    EXPECT_FALSE(reader->lastProblem().empty());
    EXPECT_EQ(reader->lastProblem().find('\n'), std::string::npos);
    EXPECT_EQ(reader->trackInfos(), nullptr);
    EXPECT_EQ(files_->file("f"), file) << "reading writes nothing";
  }

  void expectNothingWritten(const Bytes& file, const std::string& problem) {
    files_->put("f", file);
    const auto writer = inFile("f");
    writer->addTrackInfo(track("New"));
    const LogCapture log;
    EXPECT_FALSE(writer->storeTracks());
    EXPECT_EQ(writer->lastProblem(), problem);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"UNABLE TO WRITE APPLICATION INFORMATION TO AUDIO FILE"});
    EXPECT_EQ(files_->file("f"), file);
  }

  InstalledMemoryFiles files_;
  Bytes whole_;
  std::size_t chunkAt_ = 0;
};

/// Cuts that leave the whole object in place take filler away, which counts as well.
TEST_F(BadTracks, AChunkCutShortAnywhereIsRefusedAndReplacedByTheNextWrite) {
  for (std::size_t length = chunkAt_; length < whole_.size(); length += length < chunkAt_ + 500 ? 1 : 997) {
    Bytes file = whole_;
    file.resize(length);
    file = withFormSize(file);
    expectRefused(file);
    ASSERT_TRUE(storeName("f", "New")) << "cut at " << length - chunkAt_;
    EXPECT_EQ(namesIn("f"), "New\n") << "cut at " << length - chunkAt_;
    EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
    EXPECT_EQ(audioOf("f"), shortAudio());
  }
}

TEST_F(BadTracks, WithAnyByteOfTheArchiveAnotherItIsRefused) {
  for (std::size_t at = chunkAt_ + 20; at < whole_.size(); at += at < chunkAt_ + 600 ? 1 : 499) {
    Bytes file = whole_;
    file[at] = static_cast<std::uint8_t>(file[at] ^ 0x40);
    expectRefused(file);
  }
}

TEST_F(BadTracks, WithAnyByteOfTheHeadersAnotherTheAudioOutlivesAWrite) {
  const std::size_t soundAt = 12 + commonChunk(2, 100, 16).size();
  for (std::size_t at = chunkAt_; at < chunkAt_ + 20; ++at) {
    for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
      Bytes file = whole_;
      file[at] = static_cast<std::uint8_t>(file[at] ^ flip);
      files_->put("f", file);
      const LogCapture log;
      const bool isStored = storeName("f", "New");
      EXPECT_EQ(audioOf("f"), shortAudio());
      if (isStored) {
        EXPECT_EQ(namesIn("f"), "New\n") << at - chunkAt_ << " " << flip;
      } else {
        EXPECT_EQ(files_->file("f"), file);
      }
    }
  }
  EXPECT_LT(soundAt, chunkAt_);
}

TEST_F(BadTracks, OfTheLengthsOfTheArchiveOnlyTheTrueOneIsRead) {
  for (const std::uint32_t length : {0U, 1U, 65523U, 65525U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    Bytes file = whole_;
    const Bytes bytes = bigEndian(length, 4);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(chunkAt_) + 16);
    expectRefused(file);
  }
}

TEST_F(BadTracks, AChunkThatClaimsMoreThanTheFileHoldsIsNotFollowed) {
  for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFF8U, 0x7FFFFFFFU, 1'000'000U}) {
    const Bytes claim = text("NAME") + bigEndian(size, 4);
    expectRefused(aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + claim));
    expectNothingWritten(aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + claim + Bytes(8)),
                         "the file's last chunk claims more bytes than the file holds");
  }
}

TEST_F(BadTracks, AnUnfinishedRecordingIsNotWrittenTo) {
  Bytes sound = soundChunk(shortAudio());
  const Bytes unknown = bigEndian(0xFFFFFFFF, 4);
  std::copy(unknown.begin(), unknown.end(), sound.begin() + 4);
  expectNothingWritten(aiff(commonChunk(2, 100, 16) + sound),
                       "the file's last chunk claims more bytes than the file holds");
}

TEST_F(BadTracks, ARecordingThatClaimsToBeEmptyButIsNotIsNotWrittenTo) {
  for (const std::uint32_t size : {0U, 8U}) {
    for (const std::size_t silence : {4U, 392U, 400U}) {
      const Bytes sound = text("SSND") + bigEndian(size, 4) + Bytes(8) + Bytes(silence);
      expectNothingWritten(aiff(commonChunk(2, 0, 16) + sound),
                           "the recording was never finished: its sound chunk claims to be empty");
    }
  }
}

TEST_F(BadTracks, AnEmptyRecordingTakesTracks) {
  files_->put("f", aiff(commonChunk(2, 0, 16) + soundChunk({})));
  ASSERT_TRUE(storeName("f", "One"));
  ASSERT_TRUE(storeName("f", "Two"));
  EXPECT_EQ(namesIn("f"), "Two\n");
  EXPECT_TRUE(audioOf("f").empty());
}

TEST_F(BadTracks, AFormThatLiesIsNeitherReadNorWritten) {
  for (const std::uint32_t size : {0U, 4U, 1000U, 0xFFFFFFFFU}) {
    Bytes file = whole_;
    const Bytes bytes = bigEndian(size, 4);
    std::copy(bytes.begin(), bytes.end(), file.begin() + 4);
    expectRefused(file);
    // Storing looks at the type of file first, and then finds the size.
    expectNothingWritten(file, "the size that the file's FORM states is not its length: repair the file first");
  }
}

TEST_F(BadTracks, ChunksInsideChunksAreNotTakenForChunks) {
  const Bytes own(whole_.begin() + static_cast<std::ptrdiff_t>(chunkAt_), whole_.end());
  const Bytes nested = bigChunk("NAME", own) + bigChunk("APPL", text("Else") + own);
  const Bytes file = aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + nested);
  expectRefused(file);
  ASSERT_TRUE(storeName("f", "New"));
  EXPECT_EQ(namesIn("f"), "New\n");
  EXPECT_TRUE(std::equal(file.begin() + 8, file.end(), files_->file("f").begin() + 8));
}

TEST_F(BadTracks, OurChunkInOurChunkIsNotFollowedForEver) {
  Bytes nested;
  for (int depth = 0; depth < 500; ++depth) {
    nested = text("APPL") + bigEndian(nested.size() + 4, 4) + text("Vorn") + nested;
  }
  files_->put("f", aiff(nested + commonChunk(2, 100, 16) + soundChunk(shortAudio())));
  const auto reader = inFile("f");
  EXPECT_FALSE(reader->loadTracks());
  ASSERT_TRUE(storeName("f", "New"));
  EXPECT_EQ(namesIn("f"), "New\n");
  EXPECT_EQ(audioOf("f"), shortAudio());
}

TEST_F(BadTracks, ChunksThatOverlapTheSoundAreNotWrittenOver) {
  // Ours claims the sound behind it as its own.
  const Bytes sound = soundChunk(shortAudio());
  const Bytes overlapping = text("APPL") + bigEndian(65536, 4) + text("Vorn") + Bytes{2, 0, 0, 0} + bigEndian(65524, 4);
  const Bytes file = aiff(commonChunk(2, 100, 16) + overlapping + sound);
  expectRefused(file);
  const LogCapture log;
  storeName("f", "New");
  const Bytes& after = files_->file("f");
  EXPECT_NE(std::search(after.begin(), after.end(), sound.begin(), sound.end()), after.end());
}

TEST_F(BadTracks, EmptyAndTinyFilesAreRefused) {
  for (const Bytes& file : {Bytes{}, text("F"), text("FORM"), text("FORM") + Bytes(3), Bytes(100)}) {
    expectRefused(file);
  }
  expectNothingWritten({}, "tracks can only be stored in AIFF and AIFC files");
  expectNothingWritten(text("FORM"), "tracks can only be stored in AIFF and AIFC files");
  expectNothingWritten(form("8SVX", {}), "tracks can only be stored in AIFF and AIFC files");
}

TEST_F(BadTracks, AnArchiveOfAnotherObjectIsRefused) {
  const auto writer = inFile("f");
  ASSERT_TRUE(writer->writeDataToFile_fileHandle(archive("a text", ArchiveForm::sequential), *openHandle("f")));
  EXPECT_EQ(namesIn("f"), "problem: what is stored are no tracks");
  ASSERT_TRUE(writer->writeDataToFile_fileHandle(archive(track("a"), ArchiveForm::sequential), *openHandle("f")));
  EXPECT_EQ(namesIn("f"), "problem: what is stored are no tracks");
}

}  // namespace
}  // namespace orv::test

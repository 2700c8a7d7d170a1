// Files that hold more than one chunk, ours among others: what a write replaces, and what it must not touch.
#include "TracksInMemory.h"

namespace orv::test {
namespace {

std::string longName(std::size_t units) {
  return std::string(units * 65536, 'L');
}

class TrackChunkUpdate : public ::testing::Test {
 protected:
  /// A file whose tracks lie between the sound and another chunk.
  void putTracksInTheMiddle() {
    files_->put("f", plainAIFF());
    ASSERT_TRUE(storeName("f", "Old"));
    own_ = bigChunk("APPL", ownChunks(files_->file("f")).at(0));
    files_->put("f", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + own_ + other_));
  }

  void expectOthersUntouched() {
    const Bytes& file = files_->file("f");
    EXPECT_EQ(chunksNamed(file, "NAME"), std::vector<Bytes>{text("odd")});
    EXPECT_EQ(audioOf("f"), shortAudio());
    EXPECT_EQ(file.size(), bigNumber(file, 4) + 8U);
  }

  std::vector<Bytes> fillers() { return chunksNamed(files_->file("f"), "Orvf"); }

  InstalledMemoryFiles files_;
  Bytes own_;
  const Bytes other_ = bigChunk("NAME", text("odd"));
};

TEST_F(TrackChunkUpdate, AChunkInTheMiddleIsOverwrittenInPlace) {
  putTracksInTheMiddle();
  const std::size_t length = files_->file("f").size();
  ASSERT_TRUE(storeName("f", "New"));
  EXPECT_EQ(files_->file("f").size(), length);
  EXPECT_EQ(namesIn("f"), "New\n");
  expectOthersUntouched();
  EXPECT_TRUE(fillers().empty());
}

TEST_F(TrackChunkUpdate, AChunkThatHasBecomeTooLongForTheMiddleGoesToTheEndAndLeavesAFiller) {
  putTracksInTheMiddle();
  ASSERT_TRUE(storeName("f", longName(2)));
  EXPECT_EQ(namesIn("f"), longName(2) + "\n");
  EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
  EXPECT_EQ(fillers().size(), 1U);
  expectOthersUntouched();
  const std::size_t length = files_->file("f").size();
  ASSERT_TRUE(storeName("f", longName(1)));
  EXPECT_EQ(files_->file("f").size(), length) << "and is overwritten there from then on";
}

TEST_F(TrackChunkUpdate, AChunkAtTheEndGrowsInItsPlace) {
  files_->put("f", aiff(commonChunk(2, 100, 16) + other_ + soundChunk(shortAudio())));
  const std::size_t before = files_->file("f").size();
  ASSERT_TRUE(storeName("f", "Old"));
  ASSERT_TRUE(storeName("f", longName(1)));
  EXPECT_EQ(files_->file("f").size(), before + 2 * 65536 + 8);
  EXPECT_EQ(namesIn("f"), longName(1) + "\n");
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, AShorterListKeepsTheLengthOfTheChunk) {
  putTracksInTheMiddle();
  ASSERT_TRUE(storeName("f", longName(3)));
  const std::size_t length = files_->file("f").size();
  ASSERT_TRUE(storeName("f", "short"));
  EXPECT_EQ(files_->file("f").size(), length);
  EXPECT_EQ(namesIn("f"), "short\n");
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, ABlockShorterThanTheChunkInItsPlaceLeavesAFillerBehind) {
  putTracksInTheMiddle();
  const std::size_t length = files_->file("f").size();
  const auto writer = inFileWithBlock("f", 4096);
  writer->addTrackInfo(track("New"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(files_->file("f").size(), length);
  EXPECT_EQ(ownChunks(files_->file("f")).at(0).size(), 4096U);
  EXPECT_EQ(fillers().at(0).size(), 65536U - 4096U - 8U);
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, ABlockThatLeavesLessThanAFillersHeaderGoesToTheEnd) {
  putTracksInTheMiddle();
  const std::size_t length = files_->file("f").size();
  const auto writer = inFileWithBlock("f", 65532);
  writer->addTrackInfo(track("New"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  EXPECT_EQ(files_->file("f").size(), length + 65532 + 8);
  EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, ABlockWhoseSizeIsCrossableIsCrossed) {
  files_->put("f", plainAIFF());
  const auto writer = inFileWithBlock("f", 65536);
  for (const char* name : {"One", "Two", "Three"}) {
    writer->clearTrackInfos();
    writer->addTrackInfo(track(name));
    ASSERT_TRUE(writer->storeTracks()) << writer->lastProblem();
    EXPECT_EQ(namesIn("f"), std::string(name) + "\n");
  }
  EXPECT_EQ(files_->file("f").size(), plainAIFF().size() + 65536 + 8);
}

TEST_F(TrackChunkUpdate, OfSeveralValidChunksTheLastIsOverwrittenAndTheOthersRetired) {
  putTracksInTheMiddle();
  files_->put("f", aiff(own_ + commonChunk(2, 100, 16) + own_ + soundChunk(shortAudio()) + own_ + other_));
  const std::size_t length = files_->file("f").size();
  ASSERT_TRUE(storeName("f", "New"));
  EXPECT_EQ(files_->file("f").size(), length);
  EXPECT_EQ(namesIn("f"), "New\n");
  EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
  EXPECT_EQ(fillers().size(), 2U);
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, AChunkOfAForeignLengthThatNoScanFindsIsReplaced) {
  files_->put("f", aiff(commonChunk(2, 100, 16) + ownChunk(2, bigEndian(300, 4) + Bytes(300, 0x11)) +
                        soundChunk(shortAudio()) + other_));
  EXPECT_EQ(namesIn("f"), "problem: the stored tracks are damaged");
  ASSERT_TRUE(storeName("f", "New"));
  EXPECT_EQ(namesIn("f"), "New\n");
  EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
  expectOthersUntouched();
}

TEST_F(TrackChunkUpdate, AnotherSignaturesChunksAreKept) {
  const Bytes foreign = bigChunk("APPL", text("Else") + Bytes(65532, 0x22));
  files_->put("f", aiff(commonChunk(2, 100, 16) + foreign + soundChunk(shortAudio()) + foreign + other_));
  for (const char* name : {"One", "Two"}) {
    ASSERT_TRUE(storeName("f", name));
    EXPECT_EQ(namesIn("f"), std::string(name) + "\n");
  }
  EXPECT_EQ(chunksNamed(files_->file("f"), "APPL").size(), 3U);
  expectOthersUntouched();
}

class LaterVersion : public TrackChunkUpdate, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(LaterVersion, IsNotRead) {
  files_->put("f", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) +
                        ownChunk(GetParam(), bigEndian(65524, 4) + Bytes(65524))));
  EXPECT_EQ(namesIn("f"), "problem: the tracks were stored by a later version (" + std::to_string(GetParam()) +
                              ") and can't be read");
}

TEST_P(LaterVersion, IsKeptAndOursIsFoundBesideIt) {
  for (const std::size_t length : {65524U, 300U, 301U, 1'048'564U}) {
    const Bytes later = ownChunk(GetParam(), bigEndian(length, 4) + audioBytes(length));
    files_->put("f", aiff(commonChunk(2, 100, 16) + later + soundChunk(shortAudio()) + other_));
    for (const char* name : {"One", "Two"}) {
      ASSERT_TRUE(storeName("f", name));
      EXPECT_EQ(namesIn("f"), std::string(name) + "\n") << length;
    }
    const auto own = ownChunks(files_->file("f"));
    ASSERT_EQ(own.size(), 2U);
    const Bytes body(later.begin() + 8, later.begin() + 8 + static_cast<std::ptrdiff_t>(length) + 12);
    EXPECT_TRUE(own[0] == body || own[1] == body) << "the later version's is there byte for byte";
    expectOthersUntouched();
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, LaterVersion, ::testing::Values(3U, 0xFFFFFFFFU));

/// A scan that steps by an unconverted size may land inside the sound; a write must not.
TEST_F(TrackChunkUpdate, SoundThatLooksLikeAChunkOfOursIsNotOverwritten) {
  const Bytes lure = text("APPL") + bigEndian(65536, 4) + text("Vorn") + Bytes{2, 0, 0, 0} + bigEndian(4, 4);
  Bytes audio;
  while (audio.size() < 400'000) {
    audio = std::move(audio) + lure;
  }
  // 2,048 bytes, read unconverted, are 524,288: in the file, and behind that chunk inside the sound.
  const Bytes own = ownChunk(2, bigEndian(2036, 4) + Bytes(2036));
  for (std::size_t shift = 0; shift < lure.size(); ++shift) {
    const Bytes shifted = Bytes(shift) + audio + audio + Bytes(lure.size() - shift);
    const auto frames = static_cast<std::uint32_t>(shifted.size() / 4);
    files_->put("f", aiff(commonChunk(2, frames, 16) + own + soundChunk(shifted) + other_));
    ASSERT_TRUE(storeName("f", "New"));
    EXPECT_EQ(audioOf("f"), shifted);
    EXPECT_EQ(namesIn("f"), "New\n");
  }
}

TEST_F(TrackChunkUpdate, AWriteThatFailsAnywhereIsUndone) {
  for (const std::size_t units : {0U, 2U}) {
    for (int step = 0;; ++step) {
      putTracksInTheMiddle();
      const Bytes before = files_->file("f");
      files_->disk().failAt = files_->disk().changes + step;
      const LogCapture log;
      const bool isWritten = storeName("f", longName(units) + "New");
      files_->disk().failAt = -1;
      if (isWritten) {
        EXPECT_GE(step, 2);
        break;
      }
      const bool isUndone = files_->file("f") == before;
      EXPECT_TRUE(isUndone || step >= 2) << "only retiring the old chunk comes behind the point of no return";
      expectOthersUntouched();
      EXPECT_TRUE(namesIn("f") == "Old\n" || namesIn("f") == longName(units) + "New\n");
    }
  }
}

TEST_F(TrackChunkUpdate, AFullDiskLeavesTheFileAsItWasAndSaysSo) {
  putTracksInTheMiddle();
  const Bytes before = files_->file("f");
  files_->disk().capacity = before.size() + 1000;
  const auto writer = inFile("f");
  writer->addTrackInfo(track(longName(2)));
  const LogCapture log;
  EXPECT_FALSE(writer->storeTracks());
  EXPECT_EQ(writer->lastProblem(), "disk full");
  EXPECT_EQ(files_->file("f"), before);
}

}  // namespace
}  // namespace orv::test

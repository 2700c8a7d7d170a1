#include <gtest/gtest.h>

#include "AudioFileRecipes.h"
#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

/// Files that are opened for update keep all that is not audio.
namespace orv::test {
namespace {

class UpdateInPlace : public ::testing::Test {
 protected:
  /// Opens `file`, appends the pieces one by one, closes, and returns the bytes.
  Bytes afterAppending(const Bytes& file, const std::vector<Bytes>& pieces) {
    files_->put("f", file);
    Opened opened = openForUpdate("f");
    EXPECT_EQ(opened.status, noErr) << opened.problem;
    for (const Bytes& piece : pieces) {
      append(*opened.session, piece);
    }
    EXPECT_EQ(opened.session->close(), noErr);
    return files_->file("f");
  }

  InstalledMemoryFiles files_;
};

const Bytes kOld = audioBytes(400, 1);
const Bytes kNew = audioBytes(2000, 2);
const Bytes kName = bigChunk("NAME", text("odd"));
const Bytes kApplication = bigChunk("APPL", text("orvT") + audioBytes(5000, 7));
const Bytes kInfo = littleChunk("LIST", text("INFOINAM") + Bytes{4, 0, 0, 0} + text("song"));

TEST_F(UpdateInPlace, ASingleFileWithoutFurtherChunksJustGrows) {
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld)), {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew)));
  EXPECT_EQ(afterAppending(riff(formatChunk(2, 16) + littleChunk("data", kOld)), {kNew}),
            riff(formatChunk(2, 16) + littleChunk("data", kOld + kNew)));
}

TEST_F(UpdateInPlace, ChunksBeforeAndBehindTheSoundAreKept) {
  EXPECT_EQ(
      afterAppending(form("AIFF", kName + commonChunk(2, 100, 16) + soundChunk(kOld) + kApplication + kName), {kNew}),
      form("AIFF", kName + commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kApplication + kName));
  EXPECT_EQ(afterAppending(riff(kInfo + formatChunk(2, 16) + littleChunk("data", kOld) + kInfo), {kNew}),
            riff(kInfo + formatChunk(2, 16) + littleChunk("data", kOld + kNew) + kInfo));
}

TEST_F(UpdateInPlace, ACommonChunkBehindTheSoundMovesAndCountsOn) {
  EXPECT_EQ(afterAppending(form("AIFF", soundChunk(kOld) + kName + commonChunk(2, 100, 16) + kApplication), {kNew}),
            form("AIFF", soundChunk(kOld + kNew) + kName + commonChunk(2, 600, 16) + kApplication));
}

TEST_F(UpdateInPlace, AFactChunkIsCountedOnWhereverItLies) {
  const Bytes format = littleChunk("fmt ", formatBody(3, 2, 44100, 8, 32) + Bytes{0, 0});
  const auto fact = [](std::uint32_t frames) { return littleChunk("fact", littleEndian(frames, 4)); };
  EXPECT_EQ(afterAppending(riff(format + fact(50) + littleChunk("data", kOld) + kInfo), {kNew}),
            riff(format + fact(300) + littleChunk("data", kOld + kNew) + kInfo));
  EXPECT_EQ(afterAppending(riff(format + littleChunk("data", kOld) + kInfo + fact(50)), {kNew}),
            riff(format + littleChunk("data", kOld + kNew) + kInfo + fact(300)));
}

TEST_F(UpdateInPlace, BytesBehindTheFormAreKeptBehindTheForm) {
  const Bytes rest = text("not a chunk, but somebody's");
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName) + rest, {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kName) + rest);
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld)) + text("abc"), {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew)) + text("abc"));
}

TEST_F(UpdateInPlace, EveryNumberOfAppendedBytesKeepsEverything) {
  for (std::size_t count = 0; count <= 40; ++count) {
    const Bytes more = audioBytes(count, 3);
    EXPECT_EQ(
        afterAppending(form("AIFF", commonChunk(1, 400, 8) + soundChunk(kOld) + kName), {more}),
        form("AIFF", commonChunk(1, static_cast<std::uint32_t>(400 + count), 8) + soundChunk(kOld + more) + kName))
        << count;
  }
}

TEST_F(UpdateInPlace, OddOldLengthsAreNoTroubleEither) {
  const Bytes old = audioBytes(401, 1);
  for (std::size_t count = 0; count <= 40; ++count) {
    const Bytes more = audioBytes(count, 3);
    EXPECT_EQ(afterAppending(form("AIFF", commonChunk(1, 401, 8) + soundChunk(old) + kName), {more}),
              form("AIFF", commonChunk(1, static_cast<std::uint32_t>(401 + count), 8) + soundChunk(old + more) + kName))
        << count;
  }
}

TEST_F(UpdateInPlace, AForgottenPadByteIsPutRightWhenTheSoundGrows) {
  const Bytes old = audioBytes(401, 1);
  const Bytes before = form("AIFF", commonChunk(1, 401, 8) + soundChunk(old, 0, 0, Padding::forgotten) + kName);
  const Bytes padOfTheForm{0};  // which was odd, too
  EXPECT_EQ(afterAppending(before, {kNew}),
            form("AIFF", commonChunk(1, 2401, 8) + soundChunk(old + kNew) + kName) + padOfTheForm);
}

TEST_F(UpdateInPlace, AForgottenPadByteBeforeAChunkOfUnusualNameDoesNotHideIt) {
  const Bytes old = audioBytes(401, 1);
  const Bytes unusual = Bytes{0x91, 'r', 'v', 'f', 0, 0, 0, 4, 1, 2, 3, 4};
  const Bytes filler = bigChunk("Orvf", Bytes(40, 0));
  for (const Bytes& gap : {filler, filler + filler}) {
    files_->put("f", form("AIFF", soundChunk(old, 0, 0, Padding::forgotten) + gap + unusual + commonChunk(1, 401, 8)));
    const Opened file = openForUpdate("f");
    ASSERT_EQ(file.status, noErr) << file.problem;
    Bytes expected = old;
    files_->disk().onChange = [&](const Bytes&) { EXPECT_EQ(openForReading("f").status, noErr); };
    for (unsigned count : {1U, 2U, 30U, 500U}) {
      append(*file.session, audioBytes(count, count));
      expected = std::move(expected) + audioBytes(count, count);
      ASSERT_EQ(file.session->updateSizes(), noErr);
      EXPECT_EQ(audioOf("f"), expected);
    }
    ASSERT_EQ(file.session->close(), noErr);
    files_->disk().onChange = nullptr;
    EXPECT_EQ(audioOf("f"), expected);
  }
}

TEST_F(UpdateInPlace, OffsetAndBlockSizeOfTheSoundAreKept) {
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld, 18, 512) + kName), {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew, 18, 512) + kName));
}

TEST_F(UpdateInPlace, SoundThatWasFilledUpToABlockGrowsIntoIt) {
  const Bytes file = form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld + Bytes(112, 0), 0, 512) + kName);
  const Bytes few = audioBytes(20, 4);
  EXPECT_EQ(afterAppending(file, {few}),
            form("AIFF", commonChunk(2, 105, 16) + soundChunk(kOld + few + Bytes(92, 0), 0, 512) + kName));
  EXPECT_EQ(afterAppending(file, {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew, 0, 512) + kName));
}

TEST_F(UpdateInPlace, AFileCutInMidFrameIsContinuedAtTheLastWholeFrame) {
  Bytes file = form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld));
  file.resize(file.size() - 5);
  const Bytes whole(kOld.begin(), kOld.end() - 8);
  EXPECT_EQ(afterAppending(file, {kNew}), form("AIFF", commonChunk(2, 598, 16) + soundChunk(whole + kNew)));
}

TEST_F(UpdateInPlace, HalfAFrameBeforeAChunkIsLeftAloneUntilTheFileGrows) {
  Bytes file = form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld + Bytes{1, 2}) + kName);
  std::fill_n(file.begin() + 4, 4, std::uint8_t{0xFF});  // the form's size is not put right, either
  EXPECT_EQ(afterAppending(file, {}), file);
  EXPECT_EQ(afterAppending(file, {kNew}), form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kName));
}

TEST_F(UpdateInPlace, APartOfAFrameAloneMakesNoAudioOfWhatWasThere) {
  const Bytes odds{1, 2, 3};
  for (const Bytes& file : {form("AIFF", commonChunk(2, 0, 16) + soundChunk(odds)),
                            form("AIFF", commonChunk(2, 0, 16) + soundChunk(odds) + bigChunk("Orvf", Bytes(18, 0))),
                            riff(formatChunk(2, 16) + littleChunk("data", odds))}) {
    afterAppending(file, {{0x99}});
    EXPECT_EQ(audioOf("f"), Bytes{});
  }
}

TEST_F(UpdateInPlace, LyingSizesAreTrueAfterwards) {
  Bytes file = form("AIFF", commonChunk(2, 0, 16) + soundChunk(kOld));
  for (const std::size_t size : {4U, 42U}) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(size), 4, std::uint8_t{0xFF});
  }
  EXPECT_EQ(afterAppending(file, {kNew}), form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew)));
}

TEST_F(UpdateInPlace, AnUnfinishedRecordingSaysWhatItHoldsBeforeItGrows) {
  Bytes aiff = form("AIFF", commonChunk(2, 0, 16) + soundChunk(kOld));
  std::fill_n(aiff.begin() + 42, 4, std::uint8_t{0});
  Bytes wave = riff(formatChunk(2, 16) + littleChunk("data", kOld));
  std::fill_n(wave.begin() + 40, 4, std::uint8_t{0xFF});
  for (const Bytes& before : {aiff, wave}) {
    files_->put("f", before);
    const Opened file = openForUpdate("f");
    append(*file.session, kNew);
    EXPECT_EQ(audioOf("f"), kOld);
    ASSERT_EQ(file.session->close(), noErr);
    EXPECT_EQ(audioOf("f"), kOld + kNew);
  }
}

TEST_F(UpdateInPlace, OverwritingChangesNothingElse) {
  files_->put("f", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName));
  const Opened file = openForUpdate("f");
  const Bytes piece = audioBytes(40, 5);
  std::uint32_t count = 40;
  ASSERT_EQ(file.session->writeBytes(100, &count, piece.data()), noErr);
  ASSERT_EQ(file.session->close(), noErr);
  Bytes expected = kOld;
  std::copy(piece.begin(), piece.end(), expected.begin() + 100);
  EXPECT_EQ(files_->file("f"), form("AIFF", commonChunk(2, 100, 16) + soundChunk(expected) + kName));
}

TEST_F(UpdateInPlace, WritingAcrossTheEndOverwritesAndAppends) {
  files_->put("f", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName));
  const Opened file = openForUpdate("f");
  std::uint32_t count = 2000;
  ASSERT_EQ(file.session->writeBytes(396, &count, kNew.data()), noErr);
  ASSERT_EQ(file.session->close(), noErr);
  const Bytes expected = Bytes(kOld.begin(), kOld.end() - 4) + kNew;
  EXPECT_EQ(files_->file("f"), form("AIFF", commonChunk(2, 599, 16) + soundChunk(expected) + kName));
}

TEST_F(UpdateInPlace, WhatWasWrittenIsReadBackAtOnceWhereverItIsKept) {
  files_->put("f", form("AIFF", commonChunk(2, 100, 24) + soundChunk(audioBytes(600)) + kName));
  const Opened file = openForUpdate("f");
  Bytes expected = audioBytes(600);
  // Pieces that end in mid-frame, with rewritten bytes and commits between them.
  for (unsigned piece = 0; piece < 200; ++piece) {
    const Bytes more = audioBytes(1 + piece % 19, 100 + piece);
    append(*file.session, more);
    expected = std::move(expected) + more;
    const std::size_t back = std::min<std::size_t>(expected.size(), 1 + piece % 23);
    const Bytes again = audioBytes(back, 900 + piece);
    auto count = static_cast<std::uint32_t>(back);
    ASSERT_EQ(file.session->writeBytes(static_cast<std::int64_t>(expected.size() - back), &count, again.data()), noErr);
    std::copy(again.begin(), again.end(), expected.end() - static_cast<std::ptrdiff_t>(back));
    if (piece % 7 == 3) {
      ASSERT_EQ(file.session->updateSizes(), noErr);
    }
    ASSERT_EQ(file.session->dataByteCount(), static_cast<std::int64_t>(expected.size()));
    ASSERT_EQ(audioOf(*file.session), expected) << piece;
  }
  ASSERT_EQ(file.session->close(), noErr);
  expected.resize(expected.size() / 6 * 6);
  const auto frames = static_cast<std::uint32_t>(expected.size() / 6);
  EXPECT_EQ(files_->file("f"), form("AIFF", commonChunk(2, frames, 24) + soundChunk(expected) + kName));
}

TEST_F(UpdateInPlace, ManyLargePiecesMoveTheTailOnlyAFewTimes) {
  files_->put("f", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kApplication));
  int copies = 0;
  const Opened file = openForUpdate("f");
  const Bytes piece = audioBytes(20000, 6);
  Bytes expected = kOld;
  std::size_t length = files_->file("f").size();
  files_->disk().onChange = [&](const Bytes& bytes) {
    copies += bytes.size() != length ? 1 : 0;
    length = bytes.size();
  };
  for (int i = 0; i < 200; ++i) {
    append(*file.session, piece);
    expected = std::move(expected) + piece;
  }
  EXPECT_LT(copies, 12);
  ASSERT_EQ(file.session->close(), noErr);
  EXPECT_EQ(files_->file("f"), form("AIFF", commonChunk(2, 1000100, 16) + soundChunk(expected) + kApplication));
}

TEST_F(UpdateInPlace, ATailLargerThanAnyBufferIsMovedWhole) {
  const Bytes large = bigChunk("APPL", text("orvT") + audioBytes(3000001, 8));
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + large), {kNew, kNew}),
            form("AIFF", commonChunk(2, 1100, 16) + soundChunk(kOld + kNew + kNew) + large));
}

TEST_F(UpdateInPlace, ALongTailIsMovedAgainAndAgain) {
  const Bytes large = bigChunk("APPL", text("orvT") + audioBytes(300000, 8));
  const std::vector<Bytes> pieces(30, audioBytes(20000, 9));
  Bytes expected = kOld;
  for (const Bytes& piece : pieces) {
    expected = std::move(expected) + piece;
  }
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + large), pieces),
            form("AIFF", commonChunk(2, 150100, 16) + soundChunk(expected) + large));
}

/// What a killed process leaves: fillers between the sound and the other chunks, and behind them.
class AbandonedFiller : public UpdateInPlace {
 protected:
  static Bytes filler(std::size_t size) { return bigChunk("Orvf", Bytes(size, 0)); }
  static Bytes sound() { return commonChunk(2, 100, 16) + soundChunk(kOld); }
};

TEST_F(AbandonedFiller, IsLeftAloneUntilTheFileGrows) {
  for (const Bytes& behind :
       {filler(200), filler(200) + kName, kName + filler(200), filler(200) + kName + filler(90)}) {
    EXPECT_EQ(afterAppending(form("AIFF", sound() + behind), {}), form("AIFF", sound() + behind));
  }
}

TEST_F(AbandonedFiller, IsGoneOnceTheFileHasGrown) {
  for (const Bytes& behind :
       {filler(200) + kName, kName + filler(200), filler(200) + kName + filler(90),
        filler(200000) + kName + filler(300000), filler(0) + kName, filler(200) + filler(0) + kName}) {
    EXPECT_EQ(afterAppending(form("AIFF", sound() + behind), {kNew}),
              form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kName));
  }
  EXPECT_EQ(afterAppending(form("AIFF", sound() + filler(200)), {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew)));
}

TEST_F(AbandonedFiller, BehindAChunkIsCutOffEvenWhenTheSoundOnlyFillsItsPadByte) {
  const Bytes old = audioBytes(401, 1);
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(1, 401, 8) + soundChunk(old) + kName + filler(90)), {{0x99}}),
            form("AIFF", commonChunk(1, 402, 8) + soundChunk(old + Bytes{0x99}) + kName));
}

TEST_F(AbandonedFiller, AtAnOddPlaceIsReplacedByOneAtAnEvenPlace) {
  const Bytes old = audioBytes(401, 1);
  const Bytes unusual = Bytes{0x91, 'r', 'v', 'f', 0, 0, 0, 4, 1, 2, 3, 4};
  files_->put("f", form("AIFF", commonChunk(1, 401, 8) + soundChunk(old, 0, 0, Padding::forgotten) + filler(400) +
                                    unusual + kName));
  const Opened file = openForUpdate("f");
  Bytes expected = old;
  for (unsigned count : {1U, 2U, 30U}) {
    append(*file.session, audioBytes(count, count));
    expected = std::move(expected) + audioBytes(count, count);
    ASSERT_EQ(file.session->updateSizes(), noErr);
    EXPECT_EQ(audioOf("f"), expected);
    // Even where nobody knows the code of the chunk behind the filler, everybody finds it.
    EXPECT_EQ(chunksNamed(files_->file("f"), "NAME"), (std::vector<Bytes>{text("odd")}));
  }
  ASSERT_EQ(file.session->close(), noErr);
}

TEST_F(AbandonedFiller, IsNotWhatOnlyBearsItsName) {
  const Bytes alike = text("Orvf") + bigEndian(1000, 4) + text("cut off, and somebody else's");
  EXPECT_EQ(afterAppending(form("AIFF", sound() + kName) + alike, {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kName) + alike);
}

TEST_F(AbandonedFiller, BehindTheOtherChunksIsCutOffBeforeTheyMove) {
  files_->put("f", form("AIFF", sound() + kName + filler(300000)));
  const Opened file = openForUpdate("f");
  append(*file.session, kNew);
  ASSERT_EQ(file.session->updateSizes(), noErr);
  EXPECT_LT(files_->file("f").size(), 150000U);
  EXPECT_EQ(chunksNamed(files_->file("f"), "NAME"), (std::vector<Bytes>{text("odd")}));
  ASSERT_EQ(file.session->close(), noErr);
}

TEST_F(UpdateInPlace, AFileSystemThatCannotReserveIsNoObstacle) {
  files_->disk().canReserve = false;
  EXPECT_EQ(afterAppending(form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName), {kNew}),
            form("AIFF", commonChunk(2, 600, 16) + soundChunk(kOld + kNew) + kName));
}

TEST_F(UpdateInPlace, AnUpdateOfTheSizesShowsAllThatWasWrittenToOthers) {
  files_->put("f", form("AIFF", commonChunk(1, 400, 8) + soundChunk(kOld) + kName));
  const Opened file = openForUpdate("f");
  Bytes expected = kOld;
  for (unsigned count : {1U, 1U, 2U, 3U, 7U, 8U, 9U, 1U, 500U, 1U}) {
    const Bytes more = audioBytes(count, count);
    append(*file.session, more);
    expected = std::move(expected) + more;
    ASSERT_EQ(file.session->updateSizes(), noErr);
    EXPECT_EQ(audioOf("f"), expected);
    EXPECT_EQ(chunksNamed(files_->file("f"), "NAME"), (std::vector<Bytes>{text("odd")}));
    EXPECT_EQ(chunksNamed(files_->file("f"), "SSND").front().size(), 8 + expected.size());
  }
  EXPECT_EQ(file.session->close(), noErr);
}

TEST_F(UpdateInPlace, ANewFileIsFilledBitByBit) {
  const Opened file = create("f", kAudioFileWAVEType, signedLittle(24));
  Bytes expected;
  for (unsigned count = 1; count < 60; ++count) {
    append(*file.session, audioBytes(count, count));
    expected = std::move(expected) + audioBytes(count, count);
    EXPECT_EQ(audioOf(*file.session), expected);
  }
  ASSERT_EQ(file.session->close(), noErr);
  expected.resize(expected.size() / 6 * 6);
  EXPECT_EQ(audioOf("f"), expected);
}

TEST_F(UpdateInPlace, InitializeEmptiesAFile) {
  files_->put("f", form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName));
  std::unique_ptr<AudioFileSession> session;
  ASSERT_EQ(audioFileService()->initialize("f", kAudioFileWAVEType, signedLittle(16), &session), noErr);
  append(*session, kNew);
  ASSERT_EQ(session->close(), noErr);
  const Opened file = openForReading("f");
  EXPECT_EQ(file.session->fileType(), kAudioFileWAVEType);
  EXPECT_EQ(audioOf(*file.session), kNew);
}

TEST(UpdateForOthers, LibsndfileAndSoxReadAFileThatGrewWithChunksBehindTheSound) {
  const TemporaryDirectory directory;
  const std::string path = directory / "f.aiff";
  writeBytesToFile(path, form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kApplication + kName));
  const Opened file = openForUpdate(path);
  append(*file.session, kNew);
  // While it is open, with the filler in it, and afterwards.
  for (const bool close : {false, true}) {
    ASSERT_EQ(close ? file.session->close() : file.session->updateSizes(), noErr);
    const auto reading = readIndependently(path);
    ASSERT_TRUE(reading.has_value());
    EXPECT_EQ(reading->frames, 600);
    EXPECT_EQ(reading->ints.size(), 1200U);
    EXPECT_EQ(run({"soxi", "-s", path}).output, "600\n");
  }
}

}  // namespace
}  // namespace orv::test

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "AudioFileRecipes.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

/// Chunks in any order, any number, of any size, and sizes that lie.
namespace orv::test {
namespace {

class ChunkOrder : public ::testing::Test {
 protected:
  void expectAudio(const Bytes& file, const Bytes& audio) {
    files_->put("f", file);
    EXPECT_EQ(audioOf("f"), audio);
    const Opened forUpdate = openForUpdate("f");
    ASSERT_EQ(forUpdate.status, noErr) << forUpdate.problem;
    EXPECT_EQ(audioOf(*forUpdate.session), audio);
    EXPECT_EQ(forUpdate.session->close(), noErr);
    EXPECT_EQ(files_->file("f"), file) << "opened and closed without a write, yet changed";
  }

  InstalledMemoryFiles files_;
};

const Bytes kAudio = audioBytes(404);
const Bytes kOddAudio = audioBytes(405);

TEST_F(ChunkOrder, EveryOrderOfAIFFChunksOpens) {
  const std::vector<Bytes> chunks{commonChunk(2, 101, 16), soundChunk(kAudio), bigChunk("NAME", text("a name")),
                                  bigChunk("ANNO", text("odd")), bigChunk("APPL", text("orvTxxxx"))};
  std::vector<std::size_t> order(chunks.size());
  std::iota(order.begin(), order.end(), 0);
  do {
    Bytes all;
    for (const std::size_t index : order) {
      all = std::move(all) + chunks[index];
    }
    expectAudio(form("AIFF", all), kAudio);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ChunkOrder, EveryOrderOfWAVEChunksOpens) {
  const std::vector<Bytes> chunks{formatChunk(2, 16), littleChunk("data", kAudio), littleChunk("LIST", text("INFO")),
                                  littleChunk("note", text("odd")), littleChunk("bext", Bytes(602, 'x'))};
  std::vector<std::size_t> order(chunks.size());
  std::iota(order.begin(), order.end(), 0);
  do {
    Bytes all;
    for (const std::size_t index : order) {
      all = std::move(all) + chunks[index];
    }
    expectAudio(riff(all), kAudio);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ChunkOrder, ForgottenPadBytesAreNoticed) {
  constexpr auto kForgotten = Padding::forgotten;
  const Bytes common = commonChunk(1, 405, 8);
  const Bytes name = bigChunk("NAME", text("odd"), kForgotten);
  const Bytes note = bigChunk("ANNO", text("x"), kForgotten);
  const Bytes sound = soundChunk(kOddAudio, 0, 0, kForgotten);
  expectAudio(form("AIFF", name + common + sound), kOddAudio);
  expectAudio(form("AIFF", name + note + common + note + sound + name), kOddAudio);
  expectAudio(form("AIFF", sound + name + common), kOddAudio);

  const Bytes oddChunk = littleChunk("note", text("odd"), kForgotten);
  const Bytes data = littleChunk("data", kOddAudio, kForgotten);
  expectAudio(riff(oddChunk + formatChunk(1, 8) + oddChunk + data + oddChunk), kOddAudio);
  expectAudio(riff(data + formatChunk(1, 8)), kOddAudio);
}

TEST_F(ChunkOrder, AForgottenPadByteIsNoticedWhateverTheNextSizeSpells) {
  // Read one byte late, "data" and a size of 0x20 bytes spell the code "ata ".
  const Bytes audio = Bytes(0x20, 0);
  expectAudio(
      riff(formatChunk(1, 8) + littleChunk("note", text("odd"), Padding::forgotten) + littleChunk("data", audio)),
      audio);
}

TEST_F(ChunkOrder, HundredsOfChunksBeforeTheSoundAreWalkedOver) {
  Bytes chunks;
  for (int i = 0; i < 3000; ++i) {
    chunks = std::move(chunks) + bigChunk("ANNO", Bytes(static_cast<std::size_t>(i % 7), 'x'));
  }
  expectAudio(form("AIFF", chunks + commonChunk(2, 101, 16) + soundChunk(kAudio) + chunks), kAudio);
}

TEST_F(ChunkOrder, TheFirstCommonAndSoundChunkCount) {
  expectAudio(
      form("AIFF", commonChunk(2, 101, 16) + commonChunk(1, 3, 8) + soundChunk(kAudio) + soundChunk(audioBytes(40, 2))),
      kAudio);
}

TEST_F(ChunkOrder, EmptyChunksAreWalkedOver) {
  expectAudio(form("AIFF", bigChunk("NAME", {}) + commonChunk(2, 101, 16) + bigChunk("ANNO", {}) + soundChunk(kAudio)),
              kAudio);
}

TEST_F(ChunkOrder, SoundMayBeginAtAnOffset) {
  expectAudio(form("AIFF", commonChunk(2, 101, 16) + soundChunk(kAudio, 498)), kAudio);
  expectAudio(form("AIFF", commonChunk(1, 404, 8) + soundChunk(kAudio, 17)), kAudio);
}

TEST_F(ChunkOrder, SoundInBlocksEndsWithTheFrameCountNotWithTheBlock) {
  expectAudio(form("AIFF", commonChunk(2, 101, 16) + soundChunk(kAudio + Bytes(108, 0), 0, 512)), kAudio);
}

TEST_F(ChunkOrder, WithoutBlocksTheSoundChunkCountsNotTheFrameCount) {
  expectAudio(form("AIFF", commonChunk(2, 0, 16) + soundChunk(kAudio)), kAudio);
  expectAudio(form("AIFF", commonChunk(2, 50, 16) + soundChunk(kAudio)), kAudio);
  expectAudio(form("AIFF", commonChunk(2, 99999, 16) + soundChunk(kAudio)), kAudio);
}

TEST_F(ChunkOrder, AnEndInMidFrameIsCutToWholeFrames) {
  const Bytes whole(kAudio.begin(), kAudio.end() - 4);
  const Bytes cut(kAudio.begin(), kAudio.end() - 1);
  expectAudio(form("AIFF", commonChunk(2, 101, 16) + soundChunk(cut)), whole);
  expectAudio(riff(formatChunk(2, 16) + littleChunk("data", cut)), whole);
}

TEST_F(ChunkOrder, BytesBehindTheFormDoNoHarm) {
  expectAudio(form("AIFF", commonChunk(2, 101, 16) + soundChunk(kAudio)) + text("TAG and other things"), kAudio);
  expectAudio(riff(formatChunk(2, 16) + littleChunk("data", kAudio)) + Bytes(128, 0), kAudio);
}

class LyingSizes : public ChunkOrder {
 protected:
  static Bytes withNumber(Bytes file, std::size_t offset, const Bytes& number) {
    std::copy(number.begin(), number.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
    return file;
  }
};

TEST_F(LyingSizes, OfTheForm) {
  const Bytes aiff = form("AIFF", commonChunk(2, 101, 16) + soundChunk(kAudio) + bigChunk("NAME", text("n")));
  const Bytes wave = riff(formatChunk(2, 16) + littleChunk("data", kAudio) + littleChunk("LIST", text("INFO")));
  for (const std::uint32_t size : {0U, 1U, 4U, 20U, 100U, 1000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    expectAudio(withNumber(aiff, 4, bigEndian(size, 4)), kAudio);
    expectAudio(withNumber(wave, 4, littleEndian(size, 4)), kAudio);
  }
}

TEST_F(LyingSizes, OfASoundChunkThatClaimsMoreThanTheFileHas) {
  const Bytes aiff = form("AIFF", commonChunk(2, 101, 16) + soundChunk(kAudio));
  const Bytes wave = riff(formatChunk(2, 16) + littleChunk("data", kAudio));
  for (const std::uint32_t size : {413U, 1000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    expectAudio(withNumber(aiff, 42, bigEndian(size, 4)), kAudio);
    expectAudio(withNumber(wave, 40, littleEndian(size, 4)), kAudio);
  }
}

TEST_F(LyingSizes, OfARecordingThatWasNeverFinishedMeanToTheEndOfTheFile) {
  const Bytes aiff = form("AIFF", commonChunk(2, 0, 16) + soundChunk(kAudio));
  const Bytes wave = riff(formatChunk(2, 16) + littleChunk("data", kAudio));
  expectAudio(withNumber(aiff, 42, bigEndian(0, 4)), kAudio);
  expectAudio(withNumber(aiff, 42, bigEndian(8, 4)), kAudio);
  expectAudio(withNumber(aiff, 42, bigEndian(0xFFFFFFFF, 4)), kAudio);
  expectAudio(withNumber(wave, 40, littleEndian(0, 4)), kAudio);
  expectAudio(withNumber(wave, 40, littleEndian(0xFFFFFFFF, 4)), kAudio);
}

TEST_F(LyingSizes, AnEmptySoundChunkWithAChunkBehindItIsEmpty) {
  expectAudio(form("AIFF", commonChunk(2, 0, 16) + soundChunk({}) + bigChunk("NAME", text("name"))), {});
  expectAudio(riff(formatChunk(2, 16) + littleChunk("data", {}) + littleChunk("LIST", text("INFO"))), {});
}

TEST_F(LyingSizes, OfAChunkBeforeTheSoundHideIt) {
  files_->put("f",
              form("AIFF", commonChunk(2, 101, 16) + text("NAME") + bigEndian(0xFFFFFFF0, 4) + soundChunk(kAudio)));
  EXPECT_EQ(openForReading("f").status, kAudioFileInvalidFileError);
}

Bytes rf64(std::uint64_t formSize, std::uint64_t dataSize, const Bytes& audio, std::uint32_t dataField = 0xFFFFFFFF) {
  const Bytes sizes =
      littleEndian(formSize, 8) + littleEndian(dataSize, 8) + littleEndian(dataSize / 4, 8) + littleEndian(0, 4);
  return text("RF64") + littleEndian(0xFFFFFFFF, 4) + text("WAVE") + littleChunk("ds64", sizes) + formatChunk(2, 16) +
         text("data") + littleEndian(dataField, 4) + audio;
}

TEST_F(LyingSizes, OfAnRF64) {
  const Bytes list = littleChunk("LIST", text("INFO"));
  expectAudio(rf64(72 + 404 + 12, 404, kAudio + list), kAudio);
  expectAudio(rf64(72 + 404 + 12, 0, kAudio + list, 404), kAudio);
  expectAudio(rf64(0, 0, kAudio), kAudio);
  expectAudio(rf64(~std::uint64_t{0}, ~std::uint64_t{0}, kAudio), kAudio);
  expectAudio(rf64(std::uint64_t{1} << 63, std::uint64_t{1} << 63, kAudio), kAudio);
}

}  // namespace
}  // namespace orv::test

// Pins the bytes of the chunk that holds the tracks, and checks how a scan gets across it.
#include <numeric>

#include "TracksInMemory.h"
#include "tracks/ApplicationChunkLayout.h"
#include "tracks/ApplicationChunkScan.h"

namespace orv::test {
namespace {

constexpr std::uint32_t kUnit = 65536;

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t length) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
          bytes.begin() + static_cast<std::ptrdiff_t>(from + length)};
}

class TrackChunk : public ::testing::Test {
 protected:
  TrackChunk() { files_->put("f", plainAIFF()); }

  /// Offsets of the usable rows of a scan.
  std::vector<std::uint32_t> scan() {
    std::array<OrvApplicationChunk, 10> table{};
    std::uint32_t signature = 0;
    std::memcpy(&signature, "Vorn", 4);
    const std::uint32_t count = scanApplicationChunks(*openHandle("f"), signature, table);
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t row = 0; row < std::min<std::uint32_t>(count, 10); ++row) {
      EXPECT_TRUE(isUsable(table[row])) << "row " << row;
      offsets.push_back(table[row].fileOffset);
    }
    return offsets;
  }

  InstalledMemoryFiles files_;
};

TEST_F(TrackChunk, OfVariableSizeHasTheseBytes) {
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(
      OrvAudioTrackInfo::initWithTrackName_trackBeginFrame_trackEndFrame_isActive("Intro", 1, 258, true));
  const auto writer = inFile("f");
  writer->addTrackInfo(info->trackInfos()->front());
  ASSERT_TRUE(writer->writeTrackInfosToFile());

  const Bytes chunk = slice(files_->file("f"), plainAIFF().size(), kUnit + 8);
  EXPECT_EQ(slice(chunk, 0, 20),
            (text("APPL") + Bytes{0, 1, 0, 0} + text("Vorn") + Bytes{2, 0, 0, 0} + Bytes{0, 0, 0xFF, 0xF4}));
  EXPECT_EQ(slice(chunk, 20, 8), Bytes({0x85, 0x65}) + text("orv1s") + Bytes{0x1A});
  // Filler up to where a scan goes on: 256, the size read unconverted, behind the chunk's first eight bytes.
  EXPECT_EQ(slice(chunk, 32, 5), (Bytes{0x5A, 0, 0, 0, 235}));
  EXPECT_EQ(slice(chunk, 37, 227), Bytes(227));
  EXPECT_EQ(slice(chunk, 264, 8), (Bytes(4) + Bytes{0, 0, 0xFE, 0xF8})) << "leads to the chunk's end";
  const Bytes object = Bytes{0x85, 7, 0x78, 25} + text("OrvTrackAndProcessingInfo") +  //
                       Bytes{0x82, 0, 0x86, 7, 0x71} + text("OrvAudioTrackInfo") +     //
                       Bytes{0x65} + text("Intro") +                                   //
                       Bytes{0x82, 4, 0x1B, 1, 0, 0, 0, 0, 0, 0, 0} +                  // 1, reversed
                       Bytes{0x82, 4, 0x1B, 2, 1, 0, 0, 0, 0, 0, 0} +                  // 258, reversed
                       Bytes{0xF5} +                                                   // active
                       Bytes{0xF6} +                                                   // no processing
                       Bytes{0xF4};                                                    // not processed
  EXPECT_EQ(slice(chunk, 272, object.size()), object);
  const std::size_t behind = 272 + object.size();
  EXPECT_EQ(slice(chunk, behind, 5), Bytes{0x5A} + bigEndian(chunk.size() - behind - 5, 4));
  EXPECT_EQ(slice(chunk, behind + 5, chunk.size() - behind - 5), Bytes(chunk.size() - behind - 5));
}

TEST_F(TrackChunk, OfFixedSizeIsFilledWithZeros) {
  const auto writer = inFileWithBlock("f", 1000);
  writer->addTrackInfo(track("Intro"));
  ASSERT_TRUE(writer->writeTrackInfosToFile());
  const Bytes chunk = slice(files_->file("f"), plainAIFF().size(), 1008);
  const auto info = OrvTrackAndProcessingInfo::init();
  info->addTrackInfo(track("Intro"));
  const ArchiveBytes compact = archive(info, ArchiveForm::sequential);
  EXPECT_EQ(chunk, (text("APPL") + bigEndian(1000, 4) + text("Vorn") + Bytes{2, 0, 0, 0} +
                    bigEndian(compact.size(), 4) + compact + Bytes(1000 - 12 - compact.size())));
}

TEST(TrackChunkSize, EveryCrossableSizeLeadsToTheEndOfTheChunkInOneStep) {
  const ArchiveBytes compact = archive("text", ArchiveForm::sequential);
  for (std::uint32_t units : {1U, 2U, 3U, 100U, 254U, 255U, 257U, 300U, 511U, 513U, 1023U}) {
    const std::uint32_t size = units * kUnit;
    ASSERT_TRUE(applicationchunk::isCrossable(size));
    const auto laidOut = applicationchunk::layOut(compact, size);
    ASSERT_TRUE(laidOut);
    const Bytes chunk = applicationchunk::bytesOf({size, 0, *laidOut, false});
    ASSERT_EQ(chunk.size(), size + 8);
    std::uint32_t unconverted = 0;
    std::memcpy(&unconverted, chunk.data() + 4, 4);
    const std::size_t landing = 8 + unconverted + (unconverted & 1);
    ASSERT_LT(landing + 8, chunk.size());
    EXPECT_EQ(landing + 8 + bigNumber(chunk, landing + 4), chunk.size()) << units << " units";
    EXPECT_NE(slice(chunk, landing, 4), text("APPL"));
    EXPECT_TRUE(unarchive(*laidOut, {}, nullptr));
  }
  EXPECT_FALSE(applicationchunk::isCrossable(256 * kUnit));
  EXPECT_FALSE(applicationchunk::isCrossable(0));
  EXPECT_FALSE(applicationchunk::isCrossable(32768));
  EXPECT_FALSE(applicationchunk::layOut(compact, 256 * kUnit));
}

TEST(TrackChunkSize, GrowsWithTheArchiveAndLeavesOutSizesThatAreNotCrossable) {
  const auto least = [](std::size_t characters) {
    return applicationchunk::leastCrossableSize(archive(std::string(characters, 'x'), ArchiveForm::sequential));
  };
  EXPECT_EQ(least(10), kUnit);
  EXPECT_EQ(least(65'000), kUnit);
  EXPECT_EQ(least(65'536), 2 * kUnit);
  EXPECT_EQ(least(255U * kUnit), 257 * kUnit);
  EXPECT_FALSE(applicationchunk::leastCrossableSize(ArchiveBytes(100)));
}

TEST_F(TrackChunk, IsCrossedToTheNextChunkWhateverItHolds) {
  ASSERT_TRUE(storeName("f", std::string("APPL\0\0\0\4Vorn", 12)));
  const Bytes own = bigChunk("APPL", ownChunks(files_->file("f")).at(0));
  const Bytes name = bigChunk("NAME", text("odd"));
  files_->put("f", aiff(commonChunk(2, 100, 16) + own + name + own + soundChunk(shortAudio()) + own));
  const auto first = static_cast<std::uint32_t>(12 + commonChunk(2, 100, 16).size());
  const auto step = static_cast<std::uint32_t>(own.size());
  const auto second = first + step + static_cast<std::uint32_t>(name.size());
  const auto third = second + step + static_cast<std::uint32_t>(soundChunk(shortAudio()).size());
  EXPECT_EQ(scan(), (std::vector<std::uint32_t>{first, second, third}));
}

TEST_F(TrackChunk, NamesOfAnyTextSurvive) {
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0');
  std::string headers;
  while (headers.size() < 65536) {
    headers += std::string("APPL\0\1\0\0Vorn\2\0\0\0\0\0\xFF\xF4", 20);
  }
  for (const std::string& name :
       {std::string(), std::string("Größe"), std::string("Дорожка 1"), std::string("第一曲"), std::string("مقطع"),
        std::string("🎻🎼 \u200D👩‍🎤"), std::string(65536, 'n'), std::string(65536, '\0'), everyByte,
        headers, std::string("APPL"), std::string("FORM\0\0\0\0AIFFSSND", 16),
        std::string("line\nline: with : colons")}) {
    ASSERT_TRUE(storeName("f", name));
    const auto reader = inFile("f");
    ASSERT_TRUE(reader->loadTracks()) << reader->lastProblem();
    EXPECT_EQ(reader->trackInfos()->front()->trackName(), name);
    EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
    EXPECT_EQ(scan().size(), 1U);
    EXPECT_EQ(audioOf("f"), shortAudio());
  }
}

TEST_F(TrackChunk, HeadersInNamesAreNotTakenForChunksWhereverTheyLie) {
  // Shifted by each of sixteen bytes, so that one of them lies where a walk by eights would look.
  const std::string header("APPL\0\0\0\0Vorn\2\0\0\0", 16);
  for (std::size_t shift = 0; shift < 16; ++shift) {
    std::string name(shift, '\0');
    for (int i = 0; i < 5000; ++i) {
      name += header;
    }
    ASSERT_TRUE(storeName("f", name));
    EXPECT_EQ(scan(), std::vector<std::uint32_t>{static_cast<std::uint32_t>(plainAIFF().size())});
  }
}

TEST_F(TrackChunk, IsReadBackFromFilesOfAnyLength) {
  for (std::size_t frames = 0; frames < 70; ++frames) {
    for (const auto padding : {Padding::asRequired, Padding::forgotten}) {
      files_->put("f", aiff(commonChunk(1, static_cast<std::uint32_t>(frames), 8) +
                            soundChunk(audioBytes(frames), 0, 0, padding)));
      ASSERT_TRUE(storeName("f", "One"));
      ASSERT_TRUE(storeName("f", "Two"));
      EXPECT_EQ(namesIn("f"), "Two\n") << frames << " frames";
      EXPECT_EQ(audioOf("f"), audioBytes(frames));
      EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
    }
  }
}

TEST_F(TrackChunk, IsReadBackBehindAFewBytesThatAreNoChunk) {
  for (std::size_t count = 1; count < 8; ++count) {
    files_->put("f", aiff(commonChunk(2, 100, 16) + soundChunk(shortAudio()) + Bytes(count)));
    ASSERT_TRUE(storeName("f", "One")) << count;
    EXPECT_EQ(namesIn("f"), "One\n") << count;
    EXPECT_EQ(audioOf("f"), shortAudio());
  }
}

TEST_F(TrackChunk, IsReadBackFromAFormWithoutAnyChunk) {
  for (const Bytes& file : {aiff({}), form("AIFC", {}), text("FORM") + bigEndian(0, 4)}) {
    files_->put("f", file);
    ASSERT_TRUE(storeName("f", "One"));
    EXPECT_EQ(namesIn("f"), "One\n");
  }
}

TEST_F(TrackChunk, ListsOfAnyLengthAreReadBackAsTheyGrowAndShrink) {
  const auto writer = inFile("f");
  for (const std::size_t count : {1U, 1000U, 3000U, 10U, 20'000U, 1U}) {
    writer->clearTrackInfos();
    for (std::size_t i = 0; i < count; ++i) {
      writer->addTrackInfo(track("Track number " + std::to_string(i), i, i + 1));
    }
    ASSERT_TRUE(writer->writeTrackInfosToFile());
    const auto reader = inFile("f");
    ASSERT_TRUE(reader->loadTracks()) << reader->lastProblem();
    ASSERT_EQ(reader->trackInfos()->size(), count);
    EXPECT_EQ(reader->trackInfos()->back()->trackBeginFrame(), count - 1);
    EXPECT_EQ(ownChunks(files_->file("f")).size(), 1U);
  }
}

}  // namespace
}  // namespace orv::test

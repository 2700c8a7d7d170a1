#include <OrvCoreAudio/OrvAIFFUtility.h>
#include <gtest/gtest.h>

#include <cstring>

#include "AudioFileRecipes.h"

namespace orv::test {
namespace {

class AIFFUtility : public ::testing::Test {
 protected:
  /// A file of a million bytes with that FORM size.
  void putMillion(std::uint32_t formSize) {
    Bytes file = text("FORM") + bigEndian(formSize, 4) + text("AIFF");
    file.resize(1'000'000);
    files_->put("f", file);
  }
  std::uint32_t formSize() { return static_cast<std::uint32_t>(number(files_->file("f"), 4)); }
  static std::uint64_t number(const Bytes& file, std::size_t at) {
    return std::uint64_t{file[at]} << 24 | file[at + 1] << 16 | file[at + 2] << 8 | file[at + 3];
  }
  std::uint32_t check(bool shouldRepair) {
    std::unique_ptr<FileHandle> file;
    EXPECT_EQ(fileManager()->open("f", FileAccess::readWrite, &file), noErr);
    return OrvAIFFUtility::checkFileAtPath_shouldRepair(*file, shouldRepair);
  }
  std::uint32_t find(const char* id, std::uint32_t start, std::uint32_t end) {
    std::unique_ptr<FileHandle> file;
    EXPECT_EQ(fileManager()->open("f", FileAccess::read, &file), noErr);
    return OrvAIFFUtility::findOffsetForChunkId_inFile_startingAtOffset_endingOffset(id, *file, start, end);
  }
  std::uint32_t findApplication(const char* signature, std::uint32_t start, std::uint32_t end) {
    std::unique_ptr<FileHandle> file;
    EXPECT_EQ(fileManager()->open("f", FileAccess::read, &file), noErr);
    std::uint32_t creator = 0;
    std::memcpy(&creator, signature, 4);
    return OrvAIFFUtility::findOffsetForApplicationChunkWithCreator_inFile_startingAtOffset_endingOffset(creator, *file,
                                                                                                         start, end);
  }

  InstalledMemoryFiles files_;
};

TEST_F(AIFFUtility, AFileWhoseSizeMatchesItsLengthIsValid) {
  putMillion(999'992);
  EXPECT_EQ(check(false), 1U);
  EXPECT_EQ(check(true), 1U);
  EXPECT_TRUE(OrvAIFFUtility::validateFileAtPath("f"));
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("f"), 1U);
  EXPECT_EQ(formSize(), 999'992U);
}

TEST_F(AIFFUtility, AWrongSizeIsToldAndLeftWithoutRepair) {
  putMillion(1'234);
  EXPECT_EQ(check(false), 0U);
  EXPECT_FALSE(OrvAIFFUtility::validateFileAtPath("f"));
  EXPECT_EQ(formSize(), 1'234U);
}

TEST_F(AIFFUtility, AWrongSizeIsRepaired) {
  putMillion(1'234);
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("f"), 2U);
  EXPECT_EQ(formSize(), 999'992U);
  EXPECT_EQ(files_->file("f").size(), 1'000'000U);
}

TEST_F(AIFFUtility, AnOddWrongSizeIsRepairedToOneThatCountsAPadByte) {
  putMillion(1'235);
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("f"), 2U);
  EXPECT_EQ(formSize(), 999'993U);
}

TEST_F(AIFFUtility, AFileThatDoesNotBeginWithFormIsNone) {
  files_->put("f", riff(formatChunk(2, 16)));
  EXPECT_EQ(check(false), 4U);
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("f"), 4U);
  EXPECT_FALSE(OrvAIFFUtility::validateFileAtPath("f"));
  for (const char* beginning : {"", "F", "FOR"}) {
    files_->put("f", text(beginning));
    EXPECT_EQ(check(true), 4U);
    EXPECT_EQ(files_->file("f"), text(beginning));
  }
}

TEST_F(AIFFUtility, AFileThatCannotBeOpenedIsNone) {
  EXPECT_FALSE(OrvAIFFUtility::validateFileAtPath("missing"));
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("missing"), 4U);
}

TEST_F(AIFFUtility, AFileThatEndsInsideItsHeaderIsRepairedToWhatIsThere) {
  files_->put("f", text("FORM"));
  EXPECT_EQ(check(false), 0U);
  EXPECT_EQ(check(true), 2U);
  EXPECT_EQ(files_->file("f"), text("FORM") + bigEndian(0, 4));
  EXPECT_EQ(check(false), 1U);
}

TEST_F(AIFFUtility, ARepairThatCannotBeWrittenIsNotCalledOne) {
  putMillion(1'234);
  files_->disk().failAt = files_->disk().changes;
  EXPECT_EQ(OrvAIFFUtility::repairFileAtPath("f"), 0U);
}

TEST_F(AIFFUtility, ChunksThatClaimTooMuchDoNotKeepTheCheckFromEnding) {
  files_->put("f", form("AIFF", text("SSND") + bigEndian(0xFFFFFFF8, 4)));
  EXPECT_EQ(check(false), 1U);
  files_->put("f", form("AIFF", Bytes(100'000)));
  EXPECT_EQ(check(false), 1U);
}

TEST_F(AIFFUtility, KnownChunksHaveTheirNumbers) {
  const char* const names[] = {"SSND", "COMM", "MARK", "INST", "MIDI", "AESD", "APPL",
                               "COMT", "NAME", "AUTH", "(c) ", "ANNO", "FLLR", "FVER"};
  for (std::uint32_t i = 0; i < 14; ++i) {
    EXPECT_EQ(OrvAIFFUtility::getNextChunkId(names[i]), i + 1);
  }
  EXPECT_EQ(OrvAIFFUtility::getNextChunkId("(c) "), 11U);
  EXPECT_EQ(OrvAIFFUtility::getNextChunkId("LIST"), 0U);
  EXPECT_EQ(OrvAIFFUtility::getNextChunkId("ssnd"), 0U);
  EXPECT_EQ(OrvAIFFUtility::getNextChunkId("SSNDmore"), 1U) << "four characters are compared";
  EXPECT_EQ(OrvAIFFUtility::getNextChunkId(nullptr), 0U);
}

TEST_F(AIFFUtility, ASearchFromTheStartBeginsAtTheFirstChunk) {
  files_->put("f", form("AIFF", soundChunk(audioBytes(4))));
  EXPECT_EQ(find("SSND", 0, 32), 12U);
}

TEST_F(AIFFUtility, AChunkOfOddSizeIsFollowedByAPadByte) {
  files_->put("f", form("AIFF", bigChunk("NAME", Bytes(7, 'n')) + bigChunk("SSND", Bytes(8))));
  EXPECT_EQ(find("SSND", 0, 44), 12U + 16U);
}

TEST_F(AIFFUtility, ASearchEndsBeforeItsEndAndInsideTheFile) {
  files_->put("f", form("AIFF", bigChunk("NAME", Bytes(8)) + bigChunk("SSND", Bytes(8))));
  EXPECT_EQ(find("SSND", 0, 28), 28U);
  EXPECT_EQ(find("SSND", 0, 29), 28U);
  EXPECT_EQ(find("NAME", 28, 44), 44U);
  EXPECT_EQ(find("NAME", 44, 44), 44U);
  EXPECT_EQ(find("NAME", 50, 44), 44U);
  EXPECT_EQ(find("MARK", 0, 0xFFFFFFFF), 0xFFFFFFFFU);
  EXPECT_EQ(find(nullptr, 0, 44), 44U);
}

TEST_F(AIFFUtility, ASizeThatWouldWrapEndsTheSearch) {
  for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFF8U, 0xFFFFFFF0U, 0x80000000U}) {
    files_->put("f", form("AIFF", text("NAME") + bigEndian(size, 4) + bigChunk("SSND", Bytes(8))));
    EXPECT_EQ(find("SSND", 0, 36), 36U);
  }
}

TEST_F(AIFFUtility, AnApplicationChunkIsFoundByItsSignature) {
  const Bytes other = bigChunk("APPL", text("Else") + Bytes(3));
  const Bytes ours = bigChunk("APPL", text("Vorn") + Bytes(20));
  files_->put("f", form("AIFF", other + ours + other + ours));
  EXPECT_EQ(findApplication("Vorn", 0, 120), 12U + 16U);
  EXPECT_EQ(findApplication("Vorn", 12 + 16 + 32, 120), 12U + 16U + 32U + 16U);
  EXPECT_EQ(findApplication("Else", 0, 120), 12U);
  EXPECT_EQ(findApplication("None", 0, 108), 108U);
  EXPECT_EQ(findApplication("Vorn", 108, 108), 108U);
}

TEST_F(AIFFUtility, ZerosAreWalkedOverToTheEnd) {
  files_->put("f", form("AIFF", Bytes(10'000'000) + bigChunk("SSND", Bytes(8))));
  EXPECT_EQ(find("SSND", 0, 10'000'028), 10'000'012U);
}

}  // namespace
}  // namespace orv::test

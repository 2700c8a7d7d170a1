#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

std::string bigEndian(std::size_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(value >> static_cast<unsigned>(shift) & 0xFFU);
  }
  return bytes;
}

// An application chunk as `orv` names it, with whatever sizes are wanted.
std::string trackChunk(std::size_t size, const std::string& version, std::size_t archiveLength,
                       const std::string& archive) {
  return "APPL" + bigEndian(size) + "Vorn" + version + bigEndian(archiveLength) + archive;
}

const std::string kVersion2("\2\0\0\0", 4);

class OrvTracksBadInput : public testing::Test {
 protected:
  void SetUp() override {
    writeRecording(source_, noise(20'000));
    audio_ = readWholeFile(source_);
  }

  // The recording with bytes behind its audio, its FORM as long as the file.
  void append(const std::string& bytes) {
    std::string file = audio_ + bytes;
    file.replace(4, 4, bigEndian(file.size() - 8));
    writeWholeFile(source_, file);
  }

  // Every use of stored tracks must refuse in one line and change nothing.
  void expectRefused(const std::vector<std::string>& fragments) {
    const std::vector<std::string> entries = entriesOf(scratch_.path());
    const std::string before = readWholeFile(source_);
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"tracks", source_},
             {"tracks", source_, "--json"},
             {"tracks", source_, "--add", "A:0:10"},
             {"tracks", source_, "--clear"},
             {"split", source_, "--method", "crossings", "--store", store_},
             {"process", source_, "--from", "0", "--to", "10", "--gain-db", "-6", "--backup"}}) {
      SCOPED_TRACE(arguments[0] + (arguments.size() > 2 ? " " + arguments[2] : ""));
      expectFailure(runOrv(arguments), fragments);
    }
    EXPECT_EQ(entriesOf(scratch_.path()), entries);
    EXPECT_EQ(readWholeFile(source_), before);
  }

  std::string sideArchive() {
    EXPECT_EQ(runOrv({"tracks", source_, "--store", "external", "--add", "A:0:10", "--add", "B:10:20"}).status, 0);
    return readWholeFile(sideFile_);
  }

  TemporaryDirectory scratch_;
  const std::string source_ = scratch_ / "a.aiff";
  const std::string sideFile_ = scratch_ / "a.tracks";
  std::string audio_;
  std::string store_ = "internal";
};

TEST_F(OrvTracksBadInput, ChunkThatClaims4GiB) {
  append(trackChunk(0xFFFFFFFF, kVersion2, 0xFFFFFFFF, std::string(100, 'x')));
  expectRefused({source_, "damaged"});
}

TEST_F(OrvTracksBadInput, ArchiveThatClaims4GiB) {
  append(trackChunk(0x10000, kVersion2, 0xFFFFFFFF, std::string(0x10000 - 12, 'x')));
  expectRefused({source_, "damaged"});
}

TEST_F(OrvTracksBadInput, ChunksThatOverlap) {
  const std::string inner = trackChunk(0x10000, kVersion2, 0xFFF4, std::string(60, 'y'));
  append(trackChunk(0x10000, kVersion2, 0xFFF4, inner + std::string(100, 'x')));
  expectRefused({source_});
}

TEST_F(OrvTracksBadInput, ChunksThatRecurse) {
  std::string nested;
  for (int depth = 0; depth < 200; ++depth) {
    nested = trackChunk(nested.size() + 12, kVersion2, nested.size(), nested);
  }
  append(nested);
  expectRefused({source_});
}

TEST_F(OrvTracksBadInput, ChunkCutShort) {
  for (const std::size_t length : {12U, 16U, 19U, 20U}) {
    SCOPED_TRACE(length);
    append(trackChunk(0x10000, kVersion2, 0xFFF4, "").substr(0, length));
    expectRefused({source_});
  }
}

TEST_F(OrvTracksBadInput, LaterVersions) {
  for (const std::string& version : {std::string("\3\0\0\0", 4), std::string(4, '\xFF')}) {
    append(trackChunk(0x10000, version, 0xFFF4, std::string(0xFFF4, 'x')));
    expectRefused({source_, "later version"});
  }
}

TEST_F(OrvTracksBadInput, FormThatLies) {
  std::string file = audio_;
  file.replace(4, 4, bigEndian(1234));
  writeWholeFile(source_, file);
  expectRefused({source_, "FORM", "repair"});
}

TEST_F(OrvTracksBadInput, SideFileThatIsADirectory) {
  store_ = "external";
  std::filesystem::create_directory(sideFile_);
  expectRefused({sideFile_});
}

TEST_F(OrvTracksBadInput, SideFileThatIsEmpty) {
  store_ = "external";
  writeWholeFile(sideFile_, "");
  expectRefused({sideFile_});
}

TEST_F(OrvTracksBadInput, SideFileThatIsAText) {
  store_ = "external";
  writeWholeFile(sideFile_, "1. Intro 3:28\n2. Outro 4:05\n");
  expectRefused({sideFile_});
}

// Every length and every byte is the tests' of the class that reads; here it is whether the command passes it on.
TEST_F(OrvTracksBadInput, SideFileCutShort) {
  const std::string archive = sideArchive();
  for (std::size_t length = 0; length < archive.size(); length += 23) {
    writeWholeFile(sideFile_, archive.substr(0, length));
    expectFailure(runOrv({"tracks", source_}), {sideFile_});
  }
}

TEST_F(OrvTracksBadInput, SideFileWithAByteFlipped) {
  const std::string archive = sideArchive();
  for (std::size_t i = 0; i < archive.size(); i += 23) {
    std::string flipped = archive;
    flipped[i] = static_cast<char>(~flipped[i]);
    writeWholeFile(sideFile_, flipped);
    expectFailure(runOrv({"tracks", source_}), {sideFile_});
  }
}

TEST_F(OrvTracksBadInput, TextThatCouldBeReadOnceIsLeftAloneByASplit) {
  writeWholeFile(sideFile_, "my notes\n");
  expectFailure(runOrv({"split", source_, "--method", "crossings", "--store", "external"}), {sideFile_});
  EXPECT_EQ(readWholeFile(sideFile_), "my notes\n");
}

TEST_F(OrvTracksBadInput, ClearingAStoreByNameGivesUpWhatCannotBeRead) {
  append(trackChunk(0x10000, kVersion2, 0xFFF4, std::string(0xFFF4, 'x')));
  expectFailure(runOrv({"tracks", source_}), {source_});
  EXPECT_EQ(runOrv({"tracks", source_, "--clear", "--store", "internal", "--add", "A:0:10"}).status, 0);
  EXPECT_EQ(orvJson({"tracks", source_})["tracks"].size(), 1U);
}

TEST_F(OrvTracksBadInput, FileThatCannotBeRead) {
  for (const char* command : {"tracks", "check"}) {
    expectFailure(runOrv({command, scratch_ / "missing.aiff"}), {"missing.aiff", "no such file"});
    expectFailure(runOrv({command, scratch_.path()}), {"is a directory"});
    expectFailure(runOrv({command, "/dev/null"}), {"not a regular file"});
  }
}

}  // namespace
}  // namespace orv::test

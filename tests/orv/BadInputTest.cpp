#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

class OrvBadInput : public testing::Test {
 protected:
  // Every subcommand must refuse `path` in one line that names it, and write nothing.
  void expectRefused(const std::string& path, const std::string& reason = "") {
    SCOPED_TRACE(path);
    const std::vector<std::string> before = entriesOf(scratch_.path());
    expectFailure(runOrv({"info", path}), {path, reason});
    expectFailure(runOrv({"info", path, "--json"}), {path, reason});
    for (const char* method : {"levels", "crossings"}) {
      expectFailure(runOrv({"split", path, "--method", method, "--export", scratch_ / "tracks", "--picture",
                            scratch_ / "p.svg", "--output", scratch_ / "p.txt"}),
                    {path, reason});
    }
    expectFailure(runOrv({"export", path, "--from", "0", "--to", "1", "--output", scratch_ / "out.aiff"}),
                  {path, reason});
    expectFailure(runOrv({"tracks", path, "--add", "A:0:1"}), {path, reason});
    expectFailure(runOrv({"process", path, "--from", "0", "--to", "1", "--gain-db", "-6", "--backup"}), {path, reason});
    expectFailure(runOrv({"convert", path, scratch_ / "out.wav"}), {path, reason});
    EXPECT_EQ(entriesOf(scratch_.path()), before);
  }

  std::string fileOf(const std::string& name, const std::string& bytes) {
    writeWholeFile(scratch_ / name, bytes);
    return scratch_ / name;
  }

  std::string source() {
    writeRecording(scratch_ / "a.aiff", threePieces());
    return scratch_ / "a.aiff";
  }

  TemporaryDirectory scratch_;
};

TEST_F(OrvBadInput, MissingFile) {
  expectRefused(scratch_ / "missing.aiff", "no such file");
}

TEST_F(OrvBadInput, EmptyPath) {
  expectFailure(runOrv({"info", ""}), {"empty path"});
}

TEST_F(OrvBadInput, Directory) {
  expectRefused(scratch_.path(), "is a directory");
}

TEST_F(OrvBadInput, Pipe) {
  ASSERT_EQ(mkfifo((scratch_ / "pipe").c_str(), 0600), 0);
  expectRefused(scratch_ / "pipe", "not a regular file");
}

TEST_F(OrvBadInput, NoPermission) {
  const std::string path = source();
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  if (access(path.c_str(), R_OK) == 0) {
    GTEST_SKIP() << "permissions don't bind this user";
  }
  expectRefused(path, "ermission");
}

TEST_F(OrvBadInput, EmptyFile) {
  expectRefused(fileOf("empty", ""));
}

TEST_F(OrvBadInput, TwelveBytes) {
  expectRefused(fileOf("form", std::string("FORM\0\0\0\4AIFF", 12)));
  expectRefused(fileOf("riff", std::string("RIFF\4\0\0\0WAVE", 12)));
  expectRefused(fileOf("zeros", std::string(12, '\0')));
}

TEST_F(OrvBadInput, TextFile) {
  expectRefused(fileOf("letter.aiff", "Dear friend,\n\nthis is no recording.\n"));
}

TEST_F(OrvBadInput, HeaderWithoutAudio) {
  const std::string path = source();
  const std::string bytes = readWholeFile(path);
  writeWholeFile(path, bytes.substr(0, bytes.find("SSND") + 16));
  expectFailure(runOrv({"split", path}), {path});
  expectFailure(runOrv({"export", path, "--from", "0", "--to", "1", "--output", scratch_ / "out.aiff"}), {path});
  EXPECT_EQ(entriesOf(scratch_.path()).size(), 1U);
}

// Cut short anywhere, a file is opened up to what is there or refused in one line; nothing else.
void expectEveryBeginningIsSafe(const std::string& path, const std::string& bytes, std::size_t headerBytes) {
  for (std::size_t size = 1; size < headerBytes + 40; size += 3) {
    writeWholeFile(path, bytes.substr(0, size));
    const ProcessResult result = runOrv({"info", path, "--json"});
    if (result.status == 0) {
      EXPECT_LE(nlohmann::json::parse(result.output)["lengthInBytes"].get<std::size_t>(), size);
    } else {
      expectFailure(result, {path});
    }
  }
}

TEST_F(OrvBadInput, TruncatedAiff) {
  const std::string bytes = readWholeFile(source());
  expectEveryBeginningIsSafe(scratch_ / "cut.aiff", bytes, bytes.find("SSND") + 16);
}

TEST_F(OrvBadInput, TruncatedWave) {
  writeRecording(scratch_ / "a.wav", noise(1000), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  const std::string bytes = readWholeFile(scratch_ / "a.wav");
  expectEveryBeginningIsSafe(scratch_ / "cut.wav", bytes, bytes.find("data") + 8);
}

TEST_F(OrvBadInput, TruncatedAudioIsCutUpToWhatIsThere) {
  const std::string path = source();
  const std::string bytes = readWholeFile(path);
  writeWholeFile(path, bytes.substr(0, bytes.size() / 2));
  const nlohmann::json answer = orvJson({"split", path, "--export", scratch_ / "tracks"});
  EXPECT_LT(answer["lengthInFrames"], 140'000);
  EXPECT_EQ(answer["tracks"].back()["end"], answer["lengthInFrames"]);
}

TEST_F(OrvBadInput, FormatsThatMakeNoSense) {
  const std::string path = source();
  const std::string good = readWholeFile(path);
  const std::size_t common = good.find("COMM") + 8;
  const auto changed = [&](std::size_t offset, const std::string& bytes) {
    std::string text = good;
    text.replace(common + offset, bytes.size(), bytes);
    return fileOf("changed.aiff", text);
  };
  expectRefused(changed(0, std::string(2, '\0')));                      // no channels
  expectRefused(changed(6, std::string(2, '\0')));                      // no bits
  expectRefused(changed(8, std::string(10, '\0')));                     // rate 0
  expectRefused(changed(8, std::string("\x7F\xFF\xC0", 3)));            // rate that is no number
  expectRefused(changed(8, std::string("\x7F\xFF\x80\0\0\0\0\0", 8)));  // infinite rate
}

TEST_F(OrvBadInput, DestinationDirectoryIsMissing) {
  const std::string path = source();
  const std::string missing = scratch_ / "no";
  expectFailure(runOrv({"split", path, "--export", missing + "/tracks"}), {missing, "no such directory"});
  expectFailure(runOrv({"split", path, "--picture", missing + "/p.svg"}), {missing, "no such directory"});
  expectFailure(runOrv({"split", path, "--output", missing + "/p.txt"}), {missing, "no such directory"});
  expectFailure(runOrv({"export", path, "--from", "0", "--to", "9", "--output", missing + "/o.aiff"}),
                {missing, "no such directory"});
  EXPECT_EQ(entriesOf(scratch_.path()).size(), 1U);
}

TEST_F(OrvBadInput, DestinationDirectoryIsAFile) {
  const std::string path = source();
  const std::string file = fileOf("file", "precious");
  expectFailure(runOrv({"split", path, "--export", file}), {file, "not a directory"});
  expectFailure(runOrv({"split", path, "--picture", file + "/p.svg"}), {file});
  EXPECT_EQ(readWholeFile(file), "precious");
}

TEST_F(OrvBadInput, DestinationDirectoryIsReadOnly) {
  const std::string path = source();
  const std::string closed = scratch_ / "closed";
  std::filesystem::create_directory(closed);
  std::filesystem::permissions(closed, std::filesystem::perms(0555));
  if (access(closed.c_str(), W_OK) == 0) {
    GTEST_SKIP() << "permissions don't bind this user";
  }
  expectFailure(runOrv({"split", path, "--export", closed}), {closed});
  expectFailure(runOrv({"split", path, "--picture", closed + "/p.svg"}), {closed});
  expectFailure(runOrv({"export", path, "--from", "0", "--to", "9", "--output", closed + "/o.aiff"}), {closed});
  EXPECT_TRUE(entriesOf(closed).empty());
}

// A file system of 256 KiB, for who may mount one.
class OrvFullDisk : public OrvBadInput {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(disk());
    mounted_ = mount("tmpfs", disk().c_str(), "tmpfs", 0, "size=256k") == 0;
    if (!mounted_) {
      GTEST_SKIP() << "no file system can be mounted here";
    }
  }
  void TearDown() override {
    if (mounted_) {
      umount2(disk().c_str(), MNT_DETACH);
    }
  }
  std::string disk() const { return scratch_ / "disk"; }

 private:
  bool mounted_ = false;
};

TEST_F(OrvFullDisk, ExportLeavesNothing) {
  expectFailure(runOrv({"export", source(), "--from", "0", "--to", "140000", "--output", disk() + "/o.aiff"}),
                {"orv: " + disk() + "/o.aiff: disk full\n"});
  EXPECT_TRUE(entriesOf(disk()).empty());
}

TEST_F(OrvFullDisk, SplitLeavesNoTrackEvenWhereSomeHaveRoom) {
  const std::string path = source();
  // Of the three tracks of 160, 232 and 168 KB the first one fits.
  expectFailure(runOrv({"split", "--method", "crossings", path, "--export", disk(), "--picture", scratch_ / "p.svg"}),
                {"orv: " + disk() + "/02 Untitled Track 2.aiff: disk full\n"});
  EXPECT_TRUE(entriesOf(disk()).empty());
  expectFailure(runOrv({"split", path, "--export", disk() + "/tracks"}), {disk()});
  EXPECT_TRUE(entriesOf(disk()).empty());
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "p.svg"));
}

TEST_F(OrvFullDisk, PictureLeavesNeitherItselfNorTracks) {
  const std::string path = source();
  writeWholeFile(disk() + "/ballast", std::string(240 * 1024, 'x'));
  expectFailure(runOrv({"split", path, "--export", scratch_ / "tracks", "--picture", disk() + "/p.svg"}),
                {disk() + "/p.svg"});
  EXPECT_EQ(entriesOf(disk()), std::vector<std::string>{"ballast"});
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "tracks"));
}

TEST_F(OrvFullDisk, OutputLeavesNeitherItselfNorTracks) {
  const std::string path = source();
  writeWholeFile(disk() + "/ballast", std::string(256 * 1024, 'x'));
  expectFailure(runOrv({"split", path, "--export", scratch_ / "tracks", "--json", "--output", disk() + "/a.json"}),
                {disk() + "/a.json"});
  EXPECT_EQ(entriesOf(disk()), std::vector<std::string>{"ballast"});
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "tracks"));
}

TEST_F(OrvBadInput, FullStandardOutputIsAFailure) {
  const ProcessResult result = run({"sh", "-c", "exec \"$0\" info \"$1\" > /dev/full", ORV_PROGRAM, source()});
  expectFailure(result, {"standard output"});
}

}  // namespace
}  // namespace orv::test

#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;

class OrvCheck : public testing::Test {
 protected:
  // An AIFF file of 1,000,000 bytes whose FORM states `size`.
  void makeFile(std::uint32_t size) {
    writeRecording(path_, noise((1'000'000 - 54) / 4));
    std::string bytes = readWholeFile(path_);
    bytes.resize(1'000'000);
    for (std::size_t i = 0; i < 4; ++i) {
      bytes[4 + i] = static_cast<char>(size >> (24 - 8 * i) & 0xFFU);
    }
    writeWholeFile(path_, bytes);
  }

  std::uint32_t statedSize() const {
    std::uint32_t size = 0;
    for (const char byte : readWholeFile(path_).substr(4, 4)) {
      size = size << 8 | static_cast<unsigned char>(byte);
    }
    return size;
  }

  // Status 0, or status 1 with one line; the report comes either way.
  Json check(const std::vector<std::string>& more, int status, const std::string& complaint = "") const {
    std::vector<std::string> arguments{"check", path_, "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, status) << result.errors;
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), status);
    EXPECT_NE(result.errors.find(complaint), std::string::npos) << result.errors;
    return Json::parse(result.output);
  }

  static Json report(const std::string& path, int code, const Json& formSize) {
    return {{"path", path},          {"code", code},         {"valid", code == 1},
            {"repaired", code == 2}, {"formSize", formSize}, {"lengthInBytes", 1'000'000}};
  }

  TemporaryDirectory scratch_;
  const std::string path_ = scratch_ / "a.aiff";
};

TEST_F(OrvCheck, RightSizeIsCode1) {
  makeFile(999'992);
  const std::string before = readWholeFile(path_);
  EXPECT_EQ(check({}, 0), report(path_, 1, 999'992));
  EXPECT_EQ(check({"--repair"}, 0), report(path_, 1, 999'992));
  EXPECT_EQ(readWholeFile(path_), before);
}

TEST_F(OrvCheck, WrongSizeIsCode0AndLeftAlone) {
  makeFile(1234);
  EXPECT_EQ(check({}, 1, "1234 where 999992 would be true; --repair"), report(path_, 0, 1234));
  EXPECT_EQ(statedSize(), 1234U);
}

TEST_F(OrvCheck, RepairRewritesTheSizeAndNothingElse) {
  makeFile(1234);
  const std::string before = readWholeFile(path_);
  EXPECT_EQ(check({"--repair"}, 0), report(path_, 2, 999'992));
  EXPECT_EQ(statedSize(), 999'992U);
  EXPECT_EQ(readWholeFile(path_).substr(8), before.substr(8));
  EXPECT_EQ(check({}, 0), report(path_, 1, 999'992));
}

TEST_F(OrvCheck, OddSizeIsRepairedToCountAPadByte) {
  makeFile(1235);
  const ProcessResult result = runOrv({"check", path_, "--repair"});
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("Result     2: "), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("1235, now 999993"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("pad byte that the file lacks"), std::string::npos) << result.output;
  EXPECT_EQ(statedSize(), 999'993U);
}

TEST_F(OrvCheck, WaveIsCode4AndSaidToBeOne) {
  writeRecording(path_, noise((1'000'000 - 44) / 4), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  std::filesystem::resize_file(path_, 1'000'000);
  const std::string before = readWholeFile(path_);
  for (const auto& more : {std::vector<std::string>{}, {"--repair"}}) {
    EXPECT_EQ(check(more, 1, "WAVE"), report(path_, 4, nullptr));
  }
  EXPECT_EQ(readWholeFile(path_), before);
}

TEST_F(OrvCheck, OtherFilesAreCode4) {
  for (const std::string& bytes : {std::string(), std::string("FOR"), std::string("my notes\n")}) {
    writeWholeFile(path_, bytes);
    const Json result = check({"--repair"}, 1, bytes.empty() ? "it is empty" : "it is no recording");
    EXPECT_EQ(result["code"], 4);
    EXPECT_EQ(readWholeFile(path_), bytes);
  }
}

TEST_F(OrvCheck, FormOfAFewBytesIsMeasuredToo) {
  writeWholeFile(path_, "FORM");
  EXPECT_EQ(check({}, 1)["code"], 0);
  writeWholeFile(path_, std::string("FORM\0\0\0\0", 8));
  EXPECT_EQ(check({}, 0)["code"], 1);
}

TEST_F(OrvCheck, TableTellsSizesAndResult) {
  makeFile(1234);
  const ProcessResult result = runOrv({"check", path_});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, path_ +
                               "\n"
                               "  Type       FORM, AIFF\n"
                               "  FORM size  1234\n"
                               "  Length     1000000 bytes\n"
                               "  Result     0: the FORM size does not match the file's length\n");
}

TEST_F(OrvCheck, RecordingTakesTracksAgainOnceItIsRepaired) {
  makeFile(1234);
  expectFailure(runOrv({"tracks", path_, "--add", "A:0:10"}), {"FORM", "repair"});
  EXPECT_EQ(check({"--repair"}, 0)["code"], 2);
  EXPECT_EQ(runOrv({"tracks", path_, "--add", "A:0:10"}).status, 0);
  EXPECT_EQ(orvJson({"tracks", path_})["tracks"].size(), 1U);
}

TEST_F(OrvCheck, FileLongerThanAFormCanBeIsNotRepaired) {
  makeFile(999'992);
  std::filesystem::resize_file(path_, std::uint64_t{5} << 30);
  const ProcessResult result = runOrv({"check", path_, "--repair"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("longer than a FORM can be"), std::string::npos) << result.errors;
  EXPECT_EQ(run({"head", "-c", "8", path_}).output, std::string("FORM\x00\x0F\x42\x38", 8));
}

}  // namespace
}  // namespace orv::test

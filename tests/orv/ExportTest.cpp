#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

class OrvExport : public testing::Test {
 protected:
  // What libsndfile reads from `path` must be the frames `from` to `to` of what it reads from the source.
  void expectSameSamples(const std::string& source, const std::string& path, std::ptrdiff_t from, std::ptrdiff_t to) {
    const auto whole = readIndependently(source);
    const auto part = readIndependently(path);
    ASSERT_TRUE(whole && part);
    EXPECT_EQ(part->sampleRate, whole->sampleRate);
    ASSERT_EQ(part->channels, whole->channels);
    const std::ptrdiff_t channels = whole->channels;
    EXPECT_EQ(part->frames, to - from);
    EXPECT_EQ(part->doubles,
              std::vector<double>(whole->doubles.begin() + from * channels, whole->doubles.begin() + to * channels));
    EXPECT_EQ(part->ints,
              std::vector<std::int32_t>(whole->ints.begin() + from * channels, whole->ints.begin() + to * channels));
  }

  void exportRange(const std::string& source, const std::string& from, const std::string& to,
                   const std::string& destination, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"export", source, "--from", from, "--to", to, "--output", destination};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
  }

  TemporaryDirectory scratch_;
};

TEST_F(OrvExport, CopiesTheVerySamplesOfTheRange) {
  const std::string source = scratch_ / "a.aiff";
  const std::string out = scratch_ / "b.aiff";
  writeRecording(source, noise(5000));
  exportRange(source, "123", "4567", out);
  expectSameSamples(source, out, 123, 4567);
}

TEST_F(OrvExport, CopiesWaveIntoAiffWithoutLoss) {
  for (const int subFormat : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24}) {
    const std::string source = scratch_ / "a.wav";
    const std::string out = scratch_ / "b.aiff";
    writeRecording(source, noise(3000, 3), SF_FORMAT_WAV | subFormat);
    exportRange(source, "1", "2999", out, {"--force"});
    expectSameSamples(source, out, 1, 2999);
    EXPECT_EQ(orvJson({"info", out})["type"], "AIFF");
  }
}

TEST_F(OrvExport, CopiesFloatSamplesIntoAifc) {
  const std::string source = scratch_ / "a.wav";
  const std::string out = scratch_ / "b.aifc";
  writeRecording(source, noise(3000, 1), SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  exportRange(source, "10", "2000", out);
  expectSameSamples(source, out, 10, 2000);
  EXPECT_EQ(orvJson({"info", out})["type"], "AIFC");
}

TEST_F(OrvExport, SoxAndFFmpegDecodeTheSameSamples) {
  const std::string source = scratch_ / "a.aiff";
  const std::string out = scratch_ / "b.aiff";
  writeRecording(source, noise(4000));
  exportRange(source, "1000", "3000", out);
  const std::string expected =
      run({"sox", source, "-t", "raw", "-e", "signed", "-b", "16", "-L", "-", "trim", "1000s", "2000s"}).output;
  ASSERT_EQ(expected.size(), 8000U);
  EXPECT_EQ(run({"sox", out, "-t", "raw", "-e", "signed", "-b", "16", "-L", "-"}).output, expected);
  EXPECT_EQ(run({"ffmpeg", "-v", "error", "-i", out, "-f", "s16le", "-"}).output, expected);
}

TEST_F(OrvExport, TypeIsTheOneAskedForBeforeTheExtension) {
  const std::string source = scratch_ / "a.aiff";
  writeRecording(source, noise(100));
  exportRange(source, "0", "100", scratch_ / "by-extension.wav");
  exportRange(source, "0", "100", scratch_ / "asked.wav", {"--type", "AIFC"});
  exportRange(source, "0", "100", scratch_ / "as-source");
  EXPECT_EQ(orvJson({"info", scratch_ / "by-extension.wav"})["type"], "WAVE");
  EXPECT_EQ(orvJson({"info", scratch_ / "asked.wav"})["type"], "AIFC");
  EXPECT_EQ(orvJson({"info", scratch_ / "as-source"})["type"], "AIFF");
}

TEST_F(OrvExport, TakesTimesForFrames) {
  const std::string source = scratch_ / "a.aiff";
  const std::string out = scratch_ / "b.aiff";
  writeRecording(source, threePieces(1));
  exportRange(source, "250ms", "0:01.5", out);
  expectSameSamples(source, out, 2000, 12'000);
}

TEST_F(OrvExport, SaysWhatItWrote) {
  const std::string source = scratch_ / "a.aiff";
  writeRecording(source, threePieces(1));
  const ProcessResult result =
      runOrv({"export", source, "--from", "8000", "--to", "2s", "--output", scratch_ / "b.aiff"});
  EXPECT_EQ(result.output, scratch_ / "b.aiff: 0:01.000 from 0:01.000 to 0:02.000\n");
}

TEST_F(OrvExport, ReplacesOnlyByForce) {
  const std::string source = scratch_ / "a.aiff";
  const std::string out = scratch_ / "b.aiff";
  writeRecording(source, noise(100));
  writeWholeFile(out, "precious");
  expectFailure(runOrv({"export", source, "--from", "0", "--to", "50", "--output", out}), {out, "exists", "--force"});
  EXPECT_EQ(readWholeFile(out), "precious");
  exportRange(source, "0", "50", out, {"--force"});
  expectSameSamples(source, out, 0, 50);
}

TEST_F(OrvExport, NeverReplacesTheRecordingItself) {
  const std::string source = scratch_ / "a.aiff";
  const std::string link = scratch_ / "link.aiff";
  writeRecording(source, noise(100));
  std::filesystem::create_symlink(source, link);
  const std::string before = readWholeFile(source);
  for (const std::string& out : {source, link, scratch_ / "./a.aiff"}) {
    expectFailure(runOrv({"export", source, "--from", "0", "--to", "50", "--output", out, "--force"}),
                  {out, "the recording itself"});
  }
  EXPECT_EQ(readWholeFile(source), before);
}

TEST_F(OrvExport, RefusesRangesThatAreNotInTheRecording) {
  const std::string source = scratch_ / "a.aiff";
  writeRecording(source, noise(100));
  const auto tryRange = [&](const std::string& from, const std::string& to) {
    return runOrv({"export", source, "--from", from, "--to", to, "--output", scratch_ / "b.aiff"});
  };
  expectFailure(tryRange("60", "50"), {source, "60 to 50", "ends before it begins"});
  expectFailure(tryRange("50", "50"), {source, "empty"});
  expectFailure(tryRange("50", "101"), {source, "50 to 101", "ends at frame 100"});
  expectFailure(tryRange("200", "300"), {source, "ends at frame 100"});
  expectFailure(tryRange("0", "18446744073709551615"), {source, "ends at frame 100"});
  expectFailure(tryRange("0", "99999999999999999999999s"), {source, "ends at frame 100"});
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

}  // namespace
}  // namespace orv::test

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// By both methods: one works on an envelope, for the other it is measured for the picture.
class OrvPicture : public testing::TestWithParam<const char*> {
 protected:
  // The picture of `audio`, which a renderer must accept too.
  std::string pictureOf(const Recording& audio, int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
                        const std::string& name = "a.aiff") {
    writeRecording(scratch_ / name, audio, format);
    return drawn(scratch_ / name);
  }

  // Where both methods find three tracks without a setting.
  static Recording threeTracks() { return std::string(GetParam()) == "levels" ? threeSongs() : threePieces(); }

  std::string drawn(const std::string& source) {
    const ProcessResult result =
        runOrv({"split", source, "--method", GetParam(), "--picture", scratch_ / "a.svg", "--force"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const ProcessResult rendered = run({"rsvg-convert", scratch_ / "a.svg", "-o", scratch_ / "a.png"});
    EXPECT_EQ(rendered.status, 0) << rendered.errors;
    // A PNG tells its width and height, big-endian, from byte 16 on: 1600 by 520.
    EXPECT_EQ(readWholeFile(scratch_ / "a.png").substr(16, 8), std::string("\0\0\x06\x40\0\0\x02\x08", 8));
    return readWholeFile(scratch_ / "a.svg");
  }

  TemporaryDirectory scratch_;
};

TEST_P(OrvPicture, ShowsWaveformLevelsCutsNumbersAndTimes) {
  const std::string svg = pictureOf(threeTracks());
  EXPECT_EQ(countOf(svg, "class=\"wave\" d="), 1U);
  EXPECT_EQ(countOf(svg, "class=\"level\" d="), 1U);
  EXPECT_EQ(countOf(svg, "class=\"cut\" x1="), 3U);  // one of them in the legend
  EXPECT_EQ(countOf(svg, "class=\"number\""), 3U);
  EXPECT_EQ(countOf(svg, "class=\"time\""), 3U);
  EXPECT_GE(countOf(svg, "class=\"tick\""), 5U);
  EXPECT_NE(svg.find("8000Hz, stereo, 16 bits"), std::string::npos);
  EXPECT_NE(svg.find("3 tracks"), std::string::npos);
}

TEST_P(OrvPicture, CutsAreDrawnWhereTheyAre) {
  writeRecording(scratch_ / "a.aiff", threeTracks());
  const nlohmann::json answer =
      orvJson({"split", scratch_ / "a.aiff", "--method", GetParam(), "--picture", scratch_ / "a.svg"});
  const std::string svg = readWholeFile(scratch_ / "a.svg");
  const double share = answer["tracks"][1]["begin"].get<double>() / answer["lengthInFrames"].get<double>();
  char line[64];
  std::snprintf(line, sizeof line, "class=\"cut\" x1=\"%.1f\"", 50 + 1500 * share);
  EXPECT_EQ(countOf(svg, line), 1U);
}

TEST_P(OrvPicture, WaveformReachesThePeakAndRestsInSilence) {
  // The lane's middle is 164, and full scale takes 84.6: a square wave of 0.25 is drawn four times as large, from there
  // up to 79.4 and down to 248.6.
  Recording square{8000, 1, {}};
  for (int i = 0; i < 24'000; ++i) {
    square.samples.push_back(i < 12'000 ? 0.0 : (i % 2 == 0 ? 0.2499 : -0.2499));
  }
  const std::string svg = pictureOf(square);
  EXPECT_NE(svg.find("class=\"wave\" d=\"M50.0 164.0V164.0H"), std::string::npos);
  const std::size_t blocks = countOf(svg, "V79.4H");
  EXPECT_GT(blocks, 30U);
  EXPECT_EQ(countOf(svg, "V248.6H"), blocks);
  EXPECT_NE(svg.find("peak -12.0 dBFS, drawn ×4"), std::string::npos);
}

TEST_P(OrvPicture, LevelOfATwentiethOfFullScaleIsTwentySixDecibelsBelow) {
  // A sine of 0.0707 has an RMS value of a twentieth, -26 dB: on a scale to -40 dB in a lane from 276 to 456 it lies at
  // 276 + 26 / 40 * 180 = 393. The filters between the octaves may take two decibels, 9 pixels.
  const std::string svg = pictureOf(recordingOf({{4, 0.0707}}, 1));
  const std::size_t at = svg.find("class=\"level\" d=\"M50.0 ");
  ASSERT_NE(at, std::string::npos);
  EXPECT_NEAR(std::stod(svg.substr(at + 22)), 393, 9) << svg.substr(at, 60);
}

TEST_P(OrvPicture, DrawsEveryKindOfSamples) {
  for (const int format : {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, SF_FORMAT_WAV | SF_FORMAT_PCM_24,
                           SF_FORMAT_AIFF | SF_FORMAT_PCM_32, SF_FORMAT_AIFF | SF_FORMAT_DOUBLE}) {
    SCOPED_TRACE(format);
    const std::string svg = pictureOf(recordingOf({{2, 0.8}}, 1), format);
    const std::size_t peak = svg.find("peak ");
    ASSERT_NE(peak, std::string::npos);
    // Eight samples of the tone's period come no nearer to its crest than this, and 8 bits not much nearer to that.
    EXPECT_NEAR(std::stod(svg.substr(peak + 5)), -2.33, 0.11);
  }
}

TEST_P(OrvPicture, OneWaveformStandsForAllChannels) {
  for (const int channels : {1, 2, 5, 8}) {
    EXPECT_EQ(countOf(pictureOf(recordingOf({{1, 0.5}}, channels)), "class=\"wave\" d="), 1U);
  }
  // A peak in any of them is seen.
  Recording last = recordingOf({{1, 0.1}}, 3);
  last.samples[9002] = 0.99;
  EXPECT_NE(pictureOf(last).find("peak -0.1 dBFS"), std::string::npos);
}

TEST_P(OrvPicture, SingleFrameCanBeDrawn) {
  EXPECT_EQ(countOf(pictureOf(noise(1)), "class=\"wave\" d="), 1U);
}

TEST_P(OrvPicture, SilenceCanBeDrawn) {
  EXPECT_NE(pictureOf(recordingOf({{1, 0}})).find("silent"), std::string::npos);
}

TEST_P(OrvPicture, FloatSamplesPastFullScaleAndThoseThatAreNoNumbersCanBeDrawn) {
  Recording wild = recordingOf({{2, 4.0}}, 2);
  for (std::size_t i = 100; i < 8000; ++i) {
    wild.samples[i] = std::numeric_limits<double>::quiet_NaN();
  }
  wild.samples[9000] = std::numeric_limits<double>::infinity();
  const std::string svg = pictureOf(wild, SF_FORMAT_WAV | SF_FORMAT_FLOAT, "a.wav");
  EXPECT_NE(svg.find("peak 0.0 dBFS"), std::string::npos);
  EXPECT_EQ(countOf(svg, "nan") + countOf(svg, "inf"), 0U);
}

TEST_P(OrvPicture, SizeIsBoundedWhateverTheLength) {
  writeLongSilence(scratch_ / "long.wav", 60'000'000);
  EXPECT_LT(drawn(scratch_ / "long.wav").size(), 150'000U);
  EXPECT_LT(pictureOf(noise(2'000'000, 1)).size(), 150'000U);
}

TEST_P(OrvPicture, AnyNameMakesAValidDocument) {
  EXPECT_NE(pictureOf(noise(100), SF_FORMAT_AIFF | SF_FORMAT_PCM_16, "a<b>&\"c\x01\xFF.aiff").find("a&lt;b&gt;&amp;"),
            std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(By, OrvPicture, testing::Values("levels", "crossings"),
                         [](const auto& each) { return std::string(each.param); });

TEST(OrvPictureByLevels, ShowsFloorAndConfidence) {
  const TemporaryDirectory scratch;
  writeRecording(scratch / "a.aiff", threeSongs());
  const nlohmann::json answer = orvJson({"split", scratch / "a.aiff", "--picture", scratch / "a.svg"});
  const std::string svg = readWholeFile(scratch / "a.svg");
  EXPECT_EQ(countOf(svg, "<polyline class=\"floor\""), 1U);
  EXPECT_EQ(countOf(svg, "class=\"cutConfidence\""), 2U);
  ASSERT_EQ(answer["boundaries"].size(), 2U);
  char confidence[16];
  std::snprintf(confidence, sizeof confidence, ">%.2f</text>", answer["boundaries"][0]["confidence"].get<double>());
  EXPECT_GE(countOf(svg, confidence), 1U);
  EXPECT_EQ(countOf(svg, "class=\"doubtful\" x1="), answer["doubtful"].empty() ? 0 : answer["doubtful"].size() + 1);
}

TEST(OrvPictureFile, ReplacesOnlyByForceAndOnlyFiles) {
  const TemporaryDirectory scratch;
  const std::string source = scratch / "a.aiff";
  const std::string out = scratch / "b.svg";
  writeRecording(source, noise(100));
  writeWholeFile(out, "precious");
  expectFailure(runOrv({"split", source, "--picture", out}), {out, "exists", "--force"});
  EXPECT_EQ(readWholeFile(out), "precious");
  EXPECT_EQ(runOrv({"split", source, "--picture", out, "--force"}).status, 0);
  EXPECT_NE(readWholeFile(out), "precious");
  expectFailure(runOrv({"split", source, "--picture", source, "--force"}), {source, "the recording itself"});
  expectFailure(runOrv({"split", source, "--picture", "/dev/null", "--force"}), {"/dev/null", "not a regular file"});
  expectFailure(runOrv({"split", source, "--picture", scratch.path(), "--force"}), {"is a directory"});
}

}  // namespace
}  // namespace orv::test

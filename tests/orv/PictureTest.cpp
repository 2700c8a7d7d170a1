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

class OrvPicture : public testing::Test {
 protected:
  // The picture of `audio`, which a renderer must accept too.
  std::string pictureOf(const Recording& audio, int format = SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
                        const std::string& name = "a.aiff") {
    writeRecording(scratch_ / name, audio, format);
    return drawn(scratch_ / name);
  }

  std::string drawn(const std::string& source) {
    const ProcessResult result = runOrv({"split", source, "--picture", scratch_ / "a.svg", "--force"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const ProcessResult rendered = run({"rsvg-convert", scratch_ / "a.svg", "-o", scratch_ / "a.png"});
    EXPECT_EQ(rendered.status, 0) << rendered.errors;
    // A PNG tells its width and height, big-endian, from byte 16 on.
    EXPECT_EQ(readWholeFile(scratch_ / "a.png").substr(16, 8), std::string("\0\0\x06\x40\0\0\x01\x90", 8));
    return readWholeFile(scratch_ / "a.svg");
  }

  TemporaryDirectory scratch_;
};

TEST_F(OrvPicture, ShowsChannelsCutsNumbersAndTimes) {
  const std::string svg = pictureOf(threePieces());
  EXPECT_EQ(countOf(svg, "class=\"wave\""), 2U);
  EXPECT_EQ(countOf(svg, "class=\"cut\""), 2U);
  EXPECT_EQ(countOf(svg, "class=\"number\""), 3U);
  EXPECT_EQ(countOf(svg, "class=\"time\""), 3U);
  EXPECT_GE(countOf(svg, "class=\"tick\""), 5U);
  EXPECT_NE(svg.find("8000Hz, stereo, 16 bits"), std::string::npos);
  EXPECT_NE(svg.find("3 tracks"), std::string::npos);
}

TEST_F(OrvPicture, CutsAreDrawnWhereTheyAre) {
  writeRecording(scratch_ / "a.aiff", threePieces());
  const nlohmann::json answer = orvJson({"split", scratch_ / "a.aiff", "--picture", scratch_ / "a.svg"});
  const std::string svg = readWholeFile(scratch_ / "a.svg");
  const double share = answer["tracks"][1]["begin"].get<double>() / answer["lengthInFrames"].get<double>();
  char line[64];
  std::snprintf(line, sizeof line, "class=\"cut\" x1=\"%.1f\"", 50 + 1500 * share);
  EXPECT_EQ(countOf(svg, line), 1U);
}

TEST_F(OrvPicture, WaveformReachesThePeakAndRestsInSilence) {
  // One channel's lane runs from 74 to 368 and full scale takes 0.94 of it: a square wave of 0.5 on top of nothing is
  // drawn twice as large, from its middle 221 up to 82.8 and down to 359.2.
  Recording square{1000, 1, {}};
  for (int i = 0; i < 3000; ++i) {
    square.samples.push_back(i < 1500 ? 0.0 : (i % 2 == 0 ? 0.5 : -0.5));
  }
  const std::string svg = pictureOf(square);
  EXPECT_NE(svg.find("d=\"M50.0 221.0V221.0H51.0V221.0H52.0"), std::string::npos);
  EXPECT_EQ(countOf(svg, "V82.8H"), 750U);
  EXPECT_EQ(countOf(svg, "V359.2H"), 750U);
  EXPECT_NE(svg.find("peak -6.0 dBFS, drawn ×2"), std::string::npos);
}

TEST_F(OrvPicture, DrawsEveryKindOfSamples) {
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

TEST_F(OrvPicture, HasALaneForEachOfUpToEightChannels) {
  for (const int channels : {1, 2, 5, 8}) {
    EXPECT_EQ(countOf(pictureOf(recordingOf({{1, 0.5}}, channels)), "class=\"wave\""),
              static_cast<std::size_t>(channels));
  }
  const std::string svg = pictureOf(recordingOf({{1, 0.5}}, 12), SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  EXPECT_EQ(countOf(svg, "class=\"wave\""), 8U);
  EXPECT_NE(svg.find("channels 1 to 8 of 12"), std::string::npos);
}

TEST_F(OrvPicture, SingleFrameCanBeDrawn) {
  EXPECT_EQ(countOf(pictureOf(noise(1)), "class=\"wave\""), 2U);
}

TEST_F(OrvPicture, SilenceCanBeDrawn) {
  EXPECT_NE(pictureOf(recordingOf({{1, 0}})).find("silent"), std::string::npos);
}

TEST_F(OrvPicture, FloatSamplesPastFullScaleAndThoseThatAreNoNumbersCanBeDrawn) {
  Recording wild = recordingOf({{2, 4.0}}, 2);
  for (std::size_t i = 100; i < 8000; ++i) {
    wild.samples[i] = std::numeric_limits<double>::quiet_NaN();
  }
  const std::string scaled = pictureOf(wild, SF_FORMAT_WAV | SF_FORMAT_FLOAT, "a.wav");
  EXPECT_NE(scaled.find("scaled to the peak"), std::string::npos);
  wild.samples[9000] = std::numeric_limits<double>::infinity();
  const std::string infinite = pictureOf(wild, SF_FORMAT_WAV | SF_FORMAT_FLOAT, "a.wav");
  EXPECT_EQ(countOf(infinite, "nan") + countOf(infinite, "inf"), 0U);
}

TEST_F(OrvPicture, SizeIsBoundedWhateverTheLength) {
  writeLongSilence(scratch_ / "long.wav", 60'000'000);
  EXPECT_LT(drawn(scratch_ / "long.wav").size(), 100'000U);
  EXPECT_LT(pictureOf(noise(20'000, 8), SF_FORMAT_WAV | SF_FORMAT_PCM_16).size(), 400'000U);
}

TEST_F(OrvPicture, AnyNameMakesAValidDocument) {
  EXPECT_NE(pictureOf(noise(100), SF_FORMAT_AIFF | SF_FORMAT_PCM_16, "a<b>&\"c\x01\xFF.aiff").find("a&lt;b&gt;&amp;"),
            std::string::npos);
}

TEST_F(OrvPicture, ReplacesOnlyByForceAndOnlyFiles) {
  const std::string source = scratch_ / "a.aiff";
  const std::string out = scratch_ / "b.svg";
  writeRecording(source, noise(100));
  writeWholeFile(out, "precious");
  expectFailure(runOrv({"split", source, "--picture", out}), {out, "exists", "--force"});
  EXPECT_EQ(readWholeFile(out), "precious");
  EXPECT_EQ(runOrv({"split", source, "--picture", out, "--force"}).status, 0);
  EXPECT_NE(readWholeFile(out), "precious");
  expectFailure(runOrv({"split", source, "--picture", source, "--force"}), {source, "the recording itself"});
  expectFailure(runOrv({"split", source, "--picture", "/dev/null", "--force"}), {"/dev/null", "not a regular file"});
  expectFailure(runOrv({"split", source, "--picture", scratch_.path(), "--force"}), {"is a directory"});
}

}  // namespace
}  // namespace orv::test

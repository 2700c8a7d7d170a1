#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <numbers>

#include "OrvProgram.h"
#include "Recordings.h"
#include "support/IndependentReader.h"

namespace orv::test {
namespace {

using Json = nlohmann::json;

class OrvConvert : public testing::Test {
 protected:
  void SetUp() override { writeRecording(source_, noise(20'000)); }

  static std::string convert(const std::string& from, const std::string& to,
                             const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"convert", from, to};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProcessResult result = runOrv(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  // The audio as sox reads it, as 32-bit integers.
  static std::string bySox(const std::string& path) {
    return run({"sox", path, "-t", "raw", "-e", "signed", "-b", "32", "-L", "-"}).output;
  }

  static void expectSameAudio(const std::string& path, const std::string& other) {
    const auto a = readIndependently(path);
    const auto b = readIndependently(other);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(a->sampleRate, b->sampleRate);
    EXPECT_EQ(a->channels, b->channels);
    EXPECT_EQ(a->doubles, b->doubles);
    EXPECT_FALSE(bySox(path).empty());
    EXPECT_EQ(bySox(path), bySox(other));
  }

  TemporaryDirectory scratch_;
  const std::string source_ = scratch_ / "a.aiff";
};

TEST_F(OrvConvert, SaysWhatItMade) {
  const std::string out = scratch_ / "b.wav";
  EXPECT_EQ(convert(source_, out, {"--bits", "24"}), out + ": WAVE, 8000Hz, stereo, 24 bits, 0:02.500\n");
}

struct RoundTrip {
  const char* extension;
  std::vector<std::string> wide;
  int subFormat;
};

class OrvConvertRoundTrip : public OrvConvert, public testing::WithParamInterface<RoundTrip> {};

TEST_P(OrvConvertRoundTrip, IsBitExact) {
  const RoundTrip& trip = GetParam();
  const std::string wide = scratch_ / ("wide" + std::string(trip.extension));
  const std::string back = scratch_ / ("back" + std::string(trip.extension));
  convert(source_, wide, trip.wide);
  EXPECT_EQ(readIndependently(wide)->subFormat, trip.subFormat);
  expectSameAudio(wide, source_);
  convert(wide, back, {"--bits", "16"});
  EXPECT_EQ(readIndependently(back)->subFormat, SF_FORMAT_PCM_16);
  expectSameAudio(back, source_);
}

INSTANTIATE_TEST_SUITE_P(Through, OrvConvertRoundTrip,
                         testing::Values(RoundTrip{".aiff", {"--bits", "24"}, SF_FORMAT_PCM_24},
                                         RoundTrip{".aifc", {"--bits", "24"}, SF_FORMAT_PCM_24},
                                         RoundTrip{".wav", {"--bits", "24"}, SF_FORMAT_PCM_24},
                                         RoundTrip{".aiff", {"--float"}, SF_FORMAT_FLOAT},
                                         RoundTrip{".aifc", {"--float"}, SF_FORMAT_FLOAT},
                                         RoundTrip{".wav", {"--float"}, SF_FORMAT_FLOAT},
                                         RoundTrip{".wav", {"--bits", "32"}, SF_FORMAT_PCM_32}));

TEST_F(OrvConvert, TypeIsTheOneAskedForBeforeTheExtension) {
  convert(source_, scratch_ / "b.wav");
  convert(source_, scratch_ / "c.wav", {"--type", "AIFC"});
  convert(source_, scratch_ / "d.aiff", {"--float"});
  EXPECT_EQ(orvJson({"info", scratch_ / "b.wav"})["type"], "WAVE");
  EXPECT_EQ(orvJson({"info", scratch_ / "c.wav"})["type"], "AIFC");
  EXPECT_EQ(orvJson({"info", scratch_ / "d.aiff"})["type"], "AIFC");
}

TEST_F(OrvConvert, EightBitsAreRoundedToTheNearest) {
  for (const char* name : {"b.aiff", "b.aifc", "b.wav"}) {
    convert(source_, scratch_ / name, {"--bits", "8"});
    const auto wide = readIndependently(source_);
    const auto narrow = readIndependently(scratch_ / name);
    ASSERT_TRUE(narrow);
    ASSERT_EQ(narrow->doubles.size(), wide->doubles.size());
    for (std::size_t i = 0; i < wide->doubles.size(); ++i) {
      ASSERT_LE(std::abs(narrow->doubles[i] - std::min(wide->doubles[i], 127.0 / 128)), 0.5 / 128) << name << " " << i;
    }
  }
}

TEST_F(OrvConvert, MonoIsDoubledAndStereoAveraged) {
  const std::string mono = scratch_ / "mono.aiff";
  const std::string stereo = scratch_ / "stereo.aiff";
  convert(source_, mono, {"--channels", "1", "--bits", "24"});
  convert(mono, stereo, {"--channels", "2"});
  const auto both = readIndependently(source_);
  const auto mean = readIndependently(mono);
  const auto doubled = readIndependently(stereo);
  ASSERT_EQ(mean->channels, 1);
  ASSERT_EQ(doubled->channels, 2);
  for (std::size_t i = 0; i < mean->doubles.size(); ++i) {
    ASSERT_EQ(mean->doubles[i], (both->doubles[2 * i] + both->doubles[2 * i + 1]) / 2);
    ASSERT_EQ(doubled->doubles[2 * i], mean->doubles[i]);
    ASSERT_EQ(doubled->doubles[2 * i + 1], mean->doubles[i]);
  }
}

TEST_F(OrvConvert, OtherChannelsAreRefused) {
  const std::string six = scratch_ / "six.aiff";
  writeRecording(six, noise(100, 6));
  expectFailure(runOrv({"convert", six, scratch_ / "b.aiff", "--channels", "2"}),
                {six, "6 channels", "made 2", "mono"});
  expectFailure(runOrv({"convert", source_, scratch_ / "b.aiff", "--channels", "6"}), {source_, "made 6"});
  EXPECT_EQ(entriesOf(scratch_.path()), (std::vector<std::string>{"a.aiff", "six.aiff"}));
  convert(six, scratch_ / "b.wav", {"--bits", "24"});
  EXPECT_EQ(readIndependently(scratch_ / "b.wav")->doubles, readIndependently(six)->doubles);
}

TEST_F(OrvConvert, RateChangesAndTheToneStays) {
  Recording tone{44'100, 2, {}};
  for (int i = 0; i < 2 * 44'100; ++i) {
    const double value = 0.5 * std::sin(2 * std::numbers::pi * 997 * i / 44'100);
    tone.samples.insert(tone.samples.end(), {value, -value / 2});
  }
  const std::string in = scratch_ / "tone.wav";
  writeRecording(in, tone, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
  for (const int rate : {48'000, 22'050, 96'000}) {
    for (const char* name : {"out.aiff", "out.wav"}) {
      convert(in, scratch_ / name, {"--rate", std::to_string(rate), "--force"});
      const auto out = readIndependently(scratch_ / name);
      EXPECT_EQ(out->sampleRate, rate);
      EXPECT_NEAR(static_cast<double>(out->frames), 2.0 * rate, 1);
      double worst = 0;
      for (std::int64_t i = rate / 10; i < 2 * rate - rate / 10; ++i) {
        const double value = 0.5 * std::sin(2 * std::numbers::pi * 997 * static_cast<double>(i) / rate);
        const auto sample = static_cast<std::size_t>(2 * i);
        worst =
            std::max({worst, std::abs(out->doubles[sample] - value), std::abs(out->doubles[sample + 1] + value / 2)});
      }
      EXPECT_LT(worst, 1e-6) << rate;
    }
  }
}

TEST_F(OrvConvert, RateAndChannelsChangeTogether) {
  Recording step{8000, 1, std::vector<double>(16'000, 0.25)};
  const std::string in = scratch_ / "mono.wav";
  writeRecording(in, step, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  convert(in, scratch_ / "b.aiff", {"--rate", "11025", "--channels", "2", "--bits", "32"});
  const auto out = readIndependently(scratch_ / "b.aiff");
  EXPECT_EQ(out->channels, 2);
  EXPECT_EQ(out->frames, 22'050);
  EXPECT_NEAR(out->doubles[22'050], 0.25, 1e-6);
  EXPECT_EQ(out->doubles[22'050], out->doubles[22'051]);
}

TEST_F(OrvConvert, RatesFarApartAreRefused) {
  expectFailure(runOrv({"convert", source_, scratch_ / "b.aiff", "--rate", "9000000"}),
                {source_, "8000 Hz", "more than 256 times apart"});
  expectFailure(runOrv({"convert", source_, scratch_ / "b.wav", "--rate", "8000.5"}), {scratch_ / "b.wav"});
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

TEST_F(OrvConvert, EmptyRecordingBecomesAnEmptyFile) {
  const std::string empty = scratch_ / "empty.aiff";
  writeRecording(empty, noise(0));
  convert(empty, scratch_ / "b.wav", {"--bits", "24", "--rate", "48000"});
  const auto out = readIndependently(scratch_ / "b.wav");
  ASSERT_TRUE(out);
  EXPECT_EQ(out->frames, 0);
  EXPECT_EQ(out->sampleRate, 48'000);
}

TEST_F(OrvConvert, StoredTracksComeAlongAndMoveWithTheRate) {
  EXPECT_EQ(runOrv({"tracks", source_, "--add", "Präludium:0:8000", "--add", "B:8000:20000"}).status, 0);
  EXPECT_EQ(runOrv({"process", source_, "--from", "4000", "--to", "20000", "--gain-db", "-3"}).status, 0);
  const std::string out = scratch_ / "b.aifc";
  convert(source_, out, {"--rate", "16000"});
  const Json stored = orvJson({"tracks", out});
  EXPECT_EQ(stored["storage"], "internal");
  EXPECT_EQ(stored["processed"], true);
  EXPECT_EQ(stored["tracks"], Json::parse(R"([{"name": "Präludium", "begin": 0, "end": 16000, "active": false},
                                              {"name": "B", "begin": 16000, "end": 40000, "active": false}])"));
  EXPECT_EQ(stored["processing"],
            Json::parse(R"([{"name": "Gain", "begin": 8000, "end": 40000, "settings": {"gain-db": -3}}])"));
  EXPECT_EQ(readIndependently(out)->frames, 40'000);
}

TEST_F(OrvConvert, NoteTellsOfTracksThatTheTypeHasNoRoomFor) {
  EXPECT_EQ(runOrv({"tracks", source_, "--add", "A:0:8000"}).status, 0);
  const ProcessResult result = runOrv({"convert", source_, scratch_ / "b.wav"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors,
            "orv: note: without the stored tracks and processing records: only AIFF and AIFC files hold them\n");
  EXPECT_EQ(entriesOf(scratch_.path()), (std::vector<std::string>{"a.aiff", "b.wav"}));
}

TEST_F(OrvConvert, TracksThatCannotBeReadDoNotStopIt) {
  writeWholeFile(scratch_ / "a.tracks", "my notes\n");
  const ProcessResult result = runOrv({"convert", source_, scratch_ / "b.aiff", "--bits", "24"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors.rfind("orv: note: without what is stored with it: ", 0), 0U) << result.errors;
  expectSameAudio(scratch_ / "b.aiff", source_);
}

TEST_F(OrvConvert, ReplacesOnlyByForce) {
  const std::string out = scratch_ / "b.aiff";
  writeWholeFile(out, "precious");
  expectFailure(runOrv({"convert", source_, out}), {out, "exists", "--force"});
  EXPECT_EQ(readWholeFile(out), "precious");
  convert(source_, out, {"--force"});
  expectSameAudio(out, source_);
}

TEST_F(OrvConvert, RecordingIsNeverItsOwnDestination) {
  const std::string before = readWholeFile(source_);
  expectFailure(runOrv({"convert", source_, source_, "--bits", "24", "--force"}), {source_, "the recording itself"});
  EXPECT_EQ(readWholeFile(source_), before);
}

TEST_F(OrvConvert, FailedRunLeavesNothing) {
  const std::string script = "trap '' XFSZ; ulimit -f 40; exec \"$0\" convert \"$1\" \"$2\" --bits 24 --quiet";
  expectFailure(run({"bash", "-c", script, ORV_PROGRAM, source_, scratch_ / "b.aiff"}), {scratch_ / "b.aiff"});
  EXPECT_EQ(entriesOf(scratch_.path()), std::vector<std::string>{"a.aiff"});
}

TEST_F(OrvConvert, StoppedRunLeavesNothing) {
  const std::string in = scratch_ / "long.wav";
  writeLongSilence(in, 150'000'000);
  RunningOrv orv({"convert", in, scratch_ / "b.wav", "--rate", "48000"});
  orv.awaitHandlerOf(SIGTERM);
  orv.send(SIGTERM);
  const ProcessResult result = orv.wait();
  EXPECT_EQ(result.status, 130);
  EXPECT_EQ(result.errors, "orv: cancelled\n");
  EXPECT_EQ(entriesOf(scratch_.path()), (std::vector<std::string>{"a.aiff", "long.wav"}));
}

TEST_F(OrvConvert, WrongUsageIsExplained) {
  expectWrongUsage(runOrv({"convert", "a"}), {"OUT", "orv convert --help"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--bits", "20"}), {"--bits", "'20'", "8, 16, 24, 32"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--float", "--bits", "16"}), {"--float", "--bits 16"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--rate", "0"}), {"--rate", "'0'"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--rate", "fast"}), {"--rate", "'fast'"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--channels", "0"}), {"--channels", "'0'"});
  expectWrongUsage(runOrv({"convert", "a", "b", "--type", "mp3"}), {"'mp3'", "aiff, aifc, wave, sd2f"});
  expectFailure(runOrv({"convert", "a", "b", "--float", "--bits", "32"}), {"a: no such file"});
}

}  // namespace
}  // namespace orv::test

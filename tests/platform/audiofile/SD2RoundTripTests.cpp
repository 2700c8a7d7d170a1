#include <gtest/gtest.h>
#include <sndfile.h>

#include "CompanionRecipes.h"
#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

/// Sound Designer II files between us and libsndfile, in both directions, frame by frame.
namespace orv::test {
namespace {

struct Case {
  std::uint32_t bits;
  std::uint32_t channels;
  double rate;

  AudioStreamBasicDescription format() const { return signedBig(bits, channels, rate); }
  int subFormat() const {
    switch (bits) {
      case 8:
        return SF_FORMAT_PCM_S8;
      case 16:
        return SF_FORMAT_PCM_16;
      case 24:
        return SF_FORMAT_PCM_24;
      default:
        return SF_FORMAT_PCM_32;
    }
  }
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.bits << " bits, " << c.channels << " channels";
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const std::uint32_t channels : {1U, 2U, 3U, 8U}) {
    cases.push_back({8, channels, 22050});
    cases.push_back({16, channels, 44100});
    cases.push_back({24, channels, 96000});
    cases.push_back({32, channels, 192000});
  }
  return cases;
}

/// Big-endian samples as integers of full scale 2^31.
std::vector<std::int32_t> samplesIn(const Bytes& audio, std::uint32_t bits) {
  const std::size_t size = bits / 8;
  std::vector<std::int32_t> samples;
  for (std::size_t at = 0; at < audio.size(); at += size) {
    std::uint32_t sample = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      sample = sample << 8 | (i < size ? audio[at + i] : 0U);
    }
    samples.push_back(static_cast<std::int32_t>(sample));
  }
  return samples;
}

class SD2RoundTrip : public ::testing::TestWithParam<Case> {
 protected:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "side.sd2";
  const Bytes audio_ = audioBytes(std::size_t{101} * GetParam().channels * (GetParam().bits / 8));
};

TEST_P(SD2RoundTrip, WeReadWhatWeWrote) {
  writeAudioFile(path_, kAudioFileSoundDesigner2Type, GetParam().format(), audio_);
  const Opened file = openForReading(path_);
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->fileType(), kAudioFileSoundDesigner2Type);
  EXPECT_TRUE(isSameFormat(file.session->format(), GetParam().format()));
  EXPECT_EQ(audioOf(*file.session), audio_);
  EXPECT_TRUE(file.session->isOptimized());
}

TEST_P(SD2RoundTrip, TheFileIsNothingButAudio) {
  writeAudioFile(path_, kAudioFileSoundDesigner2Type, GetParam().format(), audio_);
  EXPECT_EQ(bytesOfFile(path_), audio_);
}

TEST_P(SD2RoundTrip, LibsndfileReadsWhatWeWrote) {
  writeAudioFile(path_, kAudioFileSoundDesigner2Type, GetParam().format(), audio_);
  const auto reading = readIndependently(path_);
  ASSERT_TRUE(reading.has_value());
  EXPECT_EQ(reading->majorFormat, SF_FORMAT_SD2);
  EXPECT_EQ(reading->subFormat, GetParam().subFormat());
  EXPECT_EQ(reading->sampleRate, GetParam().rate);
  EXPECT_EQ(reading->channels, static_cast<int>(GetParam().channels));
  EXPECT_EQ(reading->frames, 101);
  EXPECT_EQ(reading->ints, samplesIn(audio_, GetParam().bits));
}

TEST_P(SD2RoundTrip, WeReadWhatLibsndfileWrote) {
  SF_INFO info{};
  info.samplerate = static_cast<int>(GetParam().rate);
  info.channels = static_cast<int>(GetParam().channels);
  info.format = SF_FORMAT_SD2 | GetParam().subFormat();
  SNDFILE* const out = sf_open(path_.c_str(), SFM_WRITE, &info);
  ASSERT_NE(out, nullptr) << sf_strerror(nullptr);
  const std::vector<std::int32_t> samples = samplesIn(audio_, GetParam().bits);
  EXPECT_EQ(sf_write_int(out, samples.data(), static_cast<sf_count_t>(samples.size())),
            static_cast<sf_count_t>(samples.size()));
  ASSERT_EQ(sf_close(out), 0);

  const Opened file = openForReading(path_);
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->fileType(), kAudioFileSoundDesigner2Type);
  EXPECT_TRUE(isSameFormat(file.session->format(), GetParam().format()));
  EXPECT_EQ(audioOf(*file.session), audio_);
}

TEST_P(SD2RoundTrip, LibsndfileReadsWhatWasAppendedLater) {
  writeAudioFile(path_, kAudioFileSoundDesigner2Type, GetParam().format(), audio_);
  const Bytes more = audioBytes(audio_.size(), 2);
  {
    const Opened file = openForUpdate(path_);
    ASSERT_EQ(file.status, noErr) << file.problem;
    append(*file.session, more);
    ASSERT_EQ(file.session->close(), noErr);
  }
  const auto reading = readIndependently(path_);
  ASSERT_TRUE(reading.has_value());
  EXPECT_EQ(reading->frames, 202);
  EXPECT_EQ(reading->ints, samplesIn(audio_ + more, GetParam().bits));
  EXPECT_EQ(bytesOfFile(path_), audio_ + more);
}

INSTANTIATE_TEST_SUITE_P(Formats, SD2RoundTrip, ::testing::ValuesIn(allCases()), [](const auto& parameter) {
  return std::to_string(parameter.param.bits) + "Bits" + std::to_string(parameter.param.channels) + "Channels";
});

TEST(SD2, SndfileInfoUnderstandsTheCompanion) {
  const TemporaryDirectory directory;
  writeAudioFile(directory / "side.sd2", kAudioFileSoundDesigner2Type, signedBig(24, 2, 48000), audioBytes(600));
  const ProcessResult info = run({"sndfile-info", directory / "side.sd2"});
  EXPECT_EQ(info.status, 0);
  for (const char* line : {"sample-size : 3", "sample-rate : 48000", "channels    : 2", "Frames      : 100"}) {
    EXPECT_NE(info.output.find(line), std::string::npos) << line << "\n" << info.output;
  }
}

TEST(SD2, ARateWithAFractionComesBackExactly) {
  InstalledMemoryFiles files;
  for (const double rate : {44099.5, 44055.94405594405594, 0.1, 7.0, 2822400.0, 44100.0000001}) {
    writeAudioFile("f.sd2", kAudioFileSoundDesigner2Type, signedBig(16, 2, rate), audioBytes(8));
    EXPECT_EQ(openForReading("f.sd2").session->format().mSampleRate, rate);
    files->remove("f.sd2");
  }
}

}  // namespace
}  // namespace orv::test

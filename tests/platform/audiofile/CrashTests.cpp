#include <gtest/gtest.h>

#include <algorithm>

#include "AudioFileRecipes.h"
#include "support/IndependentReader.h"
#include "support/TemporaryDirectory.h"

/// A process that is killed between any two accesses to the disk, or within a long one, leaves a file that opens with
/// all that was committed and with all other chunks.
namespace orv::test {
namespace {

struct Scenario {
  const char* name;
  AudioFileTypeID type;
  AudioStreamBasicDescription format;
  Bytes before;  ///< the file to begin with; empty: a new one is created
  std::vector<std::string> otherChunks;
  std::vector<std::size_t> appends;  ///< bytes; 0: the sizes are updated
};

std::ostream& operator<<(std::ostream& out, const Scenario& scenario) {
  return out << scenario.name;
}

const Bytes kOld = audioBytes(400, 1);
const Bytes kOddOld = audioBytes(401, 1);
const Bytes kName = bigChunk("NAME", text("odd"));
const Bytes kApplication = bigChunk("APPL", text("orvT") + audioBytes(301, 7));
const Bytes kInfo = littleChunk("LIST", text("INFOINAM") + Bytes{4, 0, 0, 0} + text("song"));

const std::vector<std::size_t> kOrdinary{40, 0, 400, 4000, 0, 40, 0, 4, 0, 8, 0, 100, 100};
const std::vector<std::size_t> kTiny{1, 0, 1, 0, 2, 0, 3, 1, 0, 5, 0, 7, 0, 8, 0, 9, 0, 10, 1, 0, 0, 300, 0, 1};
const std::vector<std::size_t> kSome{40, 0, 70000, 0, 30000, 0, 4};
const std::vector<std::size_t> kLarge{60000, 0, 70000, 0, 200000, 0, 4, 0, 500000, 44, 0};

std::vector<Scenario> scenarios() {
  const auto aiff = kAudioFileAIFFType;
  const auto wave = kAudioFileWAVEType;
  const Bytes soundFirst = form("AIFF", soundChunk(kOld) + kName + commonChunk(2, 100, 16) + kApplication);
  const Bytes behind = form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + kName + kApplication);
  const Bytes bytes = form("AIFF", commonChunk(1, 401, 8) + soundChunk(kOddOld) + kName);
  const Bytes waveBehind = riff(formatChunk(2, 16) + littleChunk("data", kOld) + kInfo);
  const Bytes waveBytes = riff(formatChunk(1, 8) + littleChunk("data", kOddOld) + kInfo);
  const Bytes waveSoundFirst = riff(littleChunk("data", kOld) + kInfo + formatChunk(2, 16));
  const Bytes farHeader = form("AIFF", bigChunk("APPL", text("orvT") + audioBytes(9000, 7)) + commonChunk(2, 100, 16) +
                                           soundChunk(kOld) + kName);
  const Bytes longBehind =
      form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld) + bigChunk("APPL", text("orvT") + audioBytes(100000, 7)));
  return {
      {"NewAIFF", aiff, signedBig(16), {}, {}, kOrdinary},
      {"NewAIFFOfBytes", aiff, signedBig(8, 1), {}, {}, kTiny},
      {"NewAIFCOf24Bits", kAudioFileAIFCType, signedLittle(24), {}, {}, kTiny},
      {"NewWAVE", wave, signedLittle(16), {}, {}, kOrdinary},
      {"NewWAVEOfFloats", wave, floatLittle(32), {}, {}, kOrdinary},
      {"NewWAVEOfBytes", wave, unsignedBytes(1), {}, {}, kTiny},
      {"AIFF", aiff, signedBig(16), form("AIFF", commonChunk(2, 100, 16) + soundChunk(kOld)), {}, kOrdinary},
      {"AIFFWithChunksBehind", aiff, signedBig(16), behind, {"NAME", "APPL"}, kOrdinary},
      {"AIFFWithChunksBehindGrowingMuch", aiff, signedBig(16), behind, {"NAME", "APPL"}, kLarge},
      {"AIFFWithALongChunkBehind", aiff, signedBig(16), longBehind, {"APPL"}, kSome},
      {"AIFFWithTheSoundFirst", aiff, signedBig(16), soundFirst, {"NAME", "APPL"}, kOrdinary},
      {"AIFFWithTheSoundFirstGrowingMuch", aiff, signedBig(16), soundFirst, {"NAME", "APPL"}, kLarge},
      {"AIFFWithAFarHeader", aiff, signedBig(16), farHeader, {"APPL", "NAME"}, kOrdinary},
      {"AIFFOfBytesWithChunksBehind", aiff, signedBig(8, 1), bytes, {"NAME"}, kTiny},
      {"WAVE", wave, signedLittle(16), riff(formatChunk(2, 16) + littleChunk("data", kOld)), {}, kOrdinary},
      {"WAVEWithChunksBehind", wave, signedLittle(16), waveBehind, {"LIST"}, kOrdinary},
      {"WAVEWithChunksBehindGrowingMuch", wave, signedLittle(16), waveBehind, {"LIST"}, kLarge},
      {"WAVEWithTheSoundFirst", wave, signedLittle(16), waveSoundFirst, {"LIST"}, kOrdinary},
      {"WAVEOfBytesWithChunksBehind", wave, unsignedBytes(1), waveBytes, {"LIST"}, kTiny},
  };
}

class Crash : public ::testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    if (!GetParam().before.empty()) {
      files_->put("f", GetParam().before);
      written_ = audioOf("f");
      committed_ = written_.size();
      for (const std::string& id : GetParam().otherChunks) {
        others_.push_back(chunksNamed(GetParam().before, id));
      }
    }
  }

  /// Runs the scenario and calls `check` with every state of the file.
  template <typename Check>
  void forEveryState(const Check& check) {
    files_->disk().onChange = [&](const Bytes& state) {
      if (isInside_ || HasFatalFailure() || HasNonfatalFailure()) {
        return;
      }
      ++states_;
      isInside_ = true;
      SCOPED_TRACE("state " + std::to_string(states_));
      check(Bytes(state));
      isInside_ = false;
    };
    const Opened file =
        GetParam().before.empty() ? create("f", GetParam().type, GetParam().format) : openForUpdate("f");
    ASSERT_EQ(file.status, noErr) << file.problem;
    for (std::size_t step = 0; step < GetParam().appends.size(); ++step) {
      const std::size_t count = GetParam().appends[step];
      if (count == 0) {
        ASSERT_EQ(file.session->updateSizes(), noErr);
        committed_ = wholeFrames(written_.size());
      } else {
        const Bytes more = audioBytes(count, static_cast<unsigned>(50 + step));
        written_ = std::move(written_) + more;
        append(*file.session, more);
      }
    }
    ASSERT_EQ(file.session->close(), noErr);
    committed_ = wholeFrames(written_.size());
    isInside_ = true;
    check(Bytes(files_->file("f")));
    EXPECT_GT(states_, 3);
  }

  std::size_t wholeFrames(std::size_t bytes) const { return bytes - bytes % GetParam().format.mBytesPerFrame; }

  /// The audio begins with what was committed. What follows was written, but for the few bytes that were held back.
  void expectAudio(const Bytes& audio) const {
    ASSERT_GE(audio.size(), committed_);
    EXPECT_TRUE(
        std::equal(written_.begin(), written_.begin() + static_cast<std::ptrdiff_t>(committed_), audio.begin()));
    EXPECT_LE(audio.size(), written_.size() + 16);
    const std::size_t common = std::min(audio.size(), written_.size());
    std::size_t different = 0;
    for (std::size_t i = committed_; i < common; ++i) {
      different += audio[i] != written_[i] ? 1 : 0;
    }
    EXPECT_LE(different, 16U);
  }

  void expectOtherChunks(const Bytes& state) const {
    for (std::size_t i = 0; i < others_.size(); ++i) {
      EXPECT_EQ(chunksNamed(state, GetParam().otherChunks[i]), others_[i]) << GetParam().otherChunks[i];
    }
  }

  InstalledMemoryFiles files_;
  Bytes written_;  // what was or is just being written
  std::size_t committed_ = 0;
  std::vector<std::vector<Bytes>> others_;
  bool isInside_ = false;
  int states_ = 0;
};

TEST_P(Crash, EveryStateOpensWithAllThatWasCommittedAndAllOtherChunks) {
  forEveryState([this](const Bytes& state) {
    files_->put("state", state);
    const Opened file = openForReading("state");
    ASSERT_EQ(file.status, noErr) << file.problem;
    EXPECT_EQ(file.session->format().mBytesPerFrame, GetParam().format.mBytesPerFrame);
    expectAudio(audioOf(*file.session));
    expectOtherChunks(state);
  });
}

/// libsndfile reads no WAVE that begins with the sound.
std::vector<Scenario> scenariosForLibsndfile() {
  std::vector<Scenario> all = scenarios();
  std::erase_if(all, [](const Scenario& scenario) { return scenario.name == std::string("WAVEWithTheSoundFirst"); });
  return all;
}

class CrashForLibsndfile : public Crash {};

TEST_P(CrashForLibsndfile, LibsndfileReadsEveryState) {
  const TemporaryDirectory directory;
  forEveryState([&](const Bytes& state) {
    writeBytesToFile(directory / "state", state);
    const auto reading = readIndependently(directory / "state");
    ASSERT_TRUE(reading.has_value());
    EXPECT_GE(static_cast<std::size_t>(reading->frames), committed_ / GetParam().format.mBytesPerFrame);
  });
}

TEST_P(Crash, EveryStateCanBeContinued) {
  const Bytes more = audioBytes(std::size_t{4096} * GetParam().format.mBytesPerFrame, 999);
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    const Opened file = openForUpdate("state");
    ASSERT_EQ(file.status, noErr) << file.problem;
    const Bytes found = audioOf(*file.session);
    expectAudio(found);
    append(*file.session, more);
    ASSERT_EQ(file.session->close(), noErr);
    EXPECT_EQ(audioOf("state"), found + more);
    expectOtherChunks(files_->file("state"));
    EXPECT_TRUE(chunksNamed(files_->file("state"), "Orvf").empty()) << "a filler was left behind";
  });
}

TEST_P(Crash, AnAbandonedFillerBehindTheOtherChunksIsGivenBack) {
  forEveryState([&](const Bytes& state) {
    files_->put("state", state);
    {
      const Opened file = openForUpdate("state");
      append(*file.session, Bytes(GetParam().format.mBytesPerFrame, 0x99));
      ASSERT_EQ(file.session->updateSizes(), noErr);
      EXPECT_LE(chunksNamed(files_->file("state"), "Orvf").size(), 1U) << "but for the one in use";
    }
    // Killed once more.
    ASSERT_EQ(openForUpdate("state").status, noErr);
    expectOtherChunks(files_->file("state"));
  });
}

std::string nameOf(const ::testing::TestParamInfo<Scenario>& parameter) {
  return parameter.param.name;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, Crash, ::testing::ValuesIn(scenarios()), nameOf);
INSTANTIATE_TEST_SUITE_P(Everywhere, CrashForLibsndfile, ::testing::ValuesIn(scenariosForLibsndfile()), nameOf);

}  // namespace
}  // namespace orv::test

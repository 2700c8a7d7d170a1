#include <gtest/gtest.h>

#include <filesystem>

#include "OrvProgram.h"
#include "Recordings.h"

namespace orv::test {
namespace {

std::string soxi(const std::string& option, const std::string& path) {
  std::string text = run({"soxi", option, path}).output;
  text.erase(text.find_last_not_of('\n') + 1);
  return text;
}

// The value of a line such as "Sample Rate : 44100".
std::string sndfileInfo(const std::string& key, const std::string& path) {
  const std::string text = run({"sndfile-info", path}).output;
  const std::size_t line = text.find("\n" + key);
  if (line == std::string::npos) {
    return "no line " + key;
  }
  const std::size_t begin = text.find_first_not_of(": ", text.find(':', line));
  return text.substr(begin, text.find_first_of(" \n", begin) - begin);
}

struct Kind {
  const char* name;
  int format;
  const char* type;
  int bits;
};

const Kind kKinds[] = {
    {"aiff 8", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, "AIFF", 8},
    {"aiff 16", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, "AIFF", 16},
    {"aiff 24", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, "AIFF", 24},
    {"aiff 32", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, "AIFF", 32},
    {"aifc sowt", SF_FORMAT_AIFF | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, "AIFC", 16},
    {"aifc fl32", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, "AIFC", 32},
    {"aifc fl64", SF_FORMAT_AIFF | SF_FORMAT_DOUBLE, "AIFC", 64},
    {"wave 8", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, "WAVE", 8},
    {"wave 16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, "WAVE", 16},
    {"wave 24", SF_FORMAT_WAV | SF_FORMAT_PCM_24, "WAVE", 24},
    {"wave float", SF_FORMAT_WAV | SF_FORMAT_FLOAT, "WAVE", 32},
    {"wave extensible", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, "WAVE", 24},
};

class OrvInfoKinds : public testing::TestWithParam<Kind> {};

// What `orv info` says of a file is what two other readers say of it.
void expectOthersAgree(const std::string& path, const nlohmann::json& info) {
  EXPECT_EQ(soxi("-r", path), std::to_string(info["sampleRate"].get<int>()));
  EXPECT_EQ(soxi("-c", path), std::to_string(info["channels"].get<int>()));
  EXPECT_EQ(soxi("-s", path), std::to_string(info["lengthInFrames"].get<int>()));
  EXPECT_EQ(soxi("-b", path), std::to_string(info["bitsPerChannel"].get<int>()));
  EXPECT_EQ(sndfileInfo("Sample Rate", path), std::to_string(info["sampleRate"].get<int>()));
  EXPECT_EQ(sndfileInfo("Channels", path), std::to_string(info["channels"].get<int>()));
  EXPECT_EQ(sndfileInfo("Frames", path), std::to_string(info["lengthInFrames"].get<int>()));
}

TEST_P(OrvInfoKinds, AgreeWithSoxiAndSndfileInfo) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "recording";
  const std::string named = path + (std::string(GetParam().type) == "WAVE" ? ".wav" : ".aiff");
  writeRecording(named, noise(1234, 3, 22'050), GetParam().format);
  const nlohmann::json info = orvJson({"info", named});

  EXPECT_EQ(info["type"], GetParam().type);
  EXPECT_EQ(info["bitsPerChannel"], GetParam().bits);
  EXPECT_EQ(info["bytesPerFrame"], 3 * GetParam().bits / 8);
  EXPECT_EQ(info["lengthInBytes"], 1234 * 3 * GetParam().bits / 8);
  expectOthersAgree(named, info);
}

TEST_P(OrvInfoKinds, AgreeWithSoxiAndSndfileInfoOnWhatIsExported) {
  const TemporaryDirectory scratch;
  const std::string source = scratch / "recording";
  writeRecording(source, noise(1234, 2, 22'050), GetParam().format);
  for (const char* name : {"out.aiff", "out.aifc", "out.wav"}) {
    SCOPED_TRACE(name);
    const std::string path = scratch / name;
    ASSERT_EQ(runOrv({"export", source, "--from", "34", "--to", "1034", "--output", path}).status, 0);
    const nlohmann::json info = orvJson({"info", path});
    EXPECT_EQ(info["lengthInFrames"], 1000);
    EXPECT_EQ(info["bitsPerChannel"], GetParam().bits);
    expectOthersAgree(path, info);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, OrvInfoKinds, testing::ValuesIn(kKinds), [](const auto& each) {
  std::string name = each.param.name;
  std::erase(name, ' ');
  return name;
});

TEST(OrvInfo, JsonHasTheAgreedFieldsAndNoOthers) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "side.aiff";
  writeRecording(path, noise(8001));
  const nlohmann::json expected = {{"path", path},
                                   {"type", "AIFF"},
                                   {"formatID", "lpcm"},
                                   {"sampleRate", 8000},
                                   {"channels", 2},
                                   {"bitsPerChannel", 16},
                                   {"bytesPerFrame", 4},
                                   {"formatFlags", 14},
                                   {"lengthInFrames", 8001},
                                   {"lengthInBytes", 32'004},
                                   {"lengthInMilliSeconds", 1000},
                                   {"description", "8000Hz, stereo, 16 bits"}};
  EXPECT_EQ(orvJson({"info", path}), expected);
}

TEST(OrvInfo, SampleRateThatIsNoWholeNumberSurvivesExactly) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "side.aiff";
  writeRecording(path, noise(100, 1, 44'100));
  // 44,100 as an 80-bit float has the exponent 0x400E and the mantissa 0xAC44 0000 0000 0000, whose first bit counts
  // 2^15. The bit set here counts 2^-31.
  std::string bytes = readWholeFile(path);
  const std::size_t rate = bytes.find("\x40\x0E\xAC\x44");
  ASSERT_NE(rate, std::string::npos);
  bytes[rate + 2 + 5] = '\x02';
  writeWholeFile(path, bytes);
  const double expected = 44'100 + 0x1p-31;
  ASSERT_NE(expected, 44'100);
  EXPECT_EQ(orvJson({"info", path})["sampleRate"].get<double>(), expected);
}

TEST(OrvInfo, AnyPathMakesValidJson) {
  const TemporaryDirectory scratch;
  for (const std::string& name : {std::string("quote\" back\\slash"), std::string("line\nfeed\ttab\x01"),
                                  std::string("\xFF\xFE latin \xE9"), std::string("Ünïcode 音")}) {
    const std::string path = scratch / name;
    writeRecording(path, noise(10));
    const std::string shown = orvJson({"info", path})["path"];
    if (name.find('\xFF') == std::string::npos) {
      EXPECT_EQ(shown, path);
    } else {
      EXPECT_EQ(shown, scratch / "\uFFFD\uFFFD latin \uFFFD");
    }
  }
}

TEST(OrvInfo, TextNamesFormatAndLength) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "side.aiff";
  writeRecording(path, threePieces());
  const ProcessResult result = runOrv({"info", path});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  for (const char* fragment :
       {"AIFF, Linear PCM", "8000Hz, stereo, 16 bits", "big-endian", "0:17.500, 140000 frames"}) {
    EXPECT_NE(result.output.find(fragment), std::string::npos) << fragment << " in\n" << result.output;
  }
}

TEST(OrvInfo, LengthsPast32BitsAreNotCut) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "long.wav";
  constexpr std::uint64_t frames = 5'000'000'000;
  writeLongSilence(path, frames);
  const nlohmann::json info = orvJson({"info", path});
  EXPECT_EQ(info["lengthInFrames"], frames);
  EXPECT_EQ(info["lengthInBytes"], 4 * frames);
  EXPECT_EQ(info["lengthInMilliSeconds"], frames * 1000 / 44'100);
}

TEST(OrvInfo, EmptyRecordingHasLengthZero) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "empty.aiff";
  writeRecording(path, noise(0));
  EXPECT_EQ(orvJson({"info", path})["lengthInFrames"], 0);
}

}  // namespace
}  // namespace orv::test

#include <gtest/gtest.h>
#include <sndfile.h>

#include <bit>
#include <cmath>

#include "AudioFileRecipes.h"
#include "support/IndependentReader.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

/// What we write others read, and the other way round, sample by sample.
namespace orv::test {
namespace {

struct Case {
  const char* name;
  AudioFileTypeID type;
  AudioStreamBasicDescription format;
  int subFormat;  ///< as libsndfile calls it
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.name;
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const std::uint32_t channels : {1U, 2U, 5U}) {
    const auto add = [&](const char* name, AudioFileTypeID type, AudioStreamBasicDescription format, int subFormat) {
      cases.push_back({name, type, format, subFormat});
    };
    add("AIFF8", kAudioFileAIFFType, signedBig(8, channels), SF_FORMAT_PCM_S8);
    add("AIFF12", kAudioFileAIFFType, signedBig(12, channels), SF_FORMAT_PCM_16);
    add("AIFF16", kAudioFileAIFFType, signedBig(16, channels), SF_FORMAT_PCM_16);
    add("AIFF20", kAudioFileAIFFType, signedBig(20, channels), SF_FORMAT_PCM_24);
    add("AIFF24", kAudioFileAIFFType, signedBig(24, channels, 96000), SF_FORMAT_PCM_24);
    add("AIFF32", kAudioFileAIFFType, signedBig(32, channels, 192000), SF_FORMAT_PCM_32);
    add("AIFC16", kAudioFileAIFCType, signedBig(16, channels), SF_FORMAT_PCM_16);
    add("AIFC24", kAudioFileAIFCType, signedBig(24, channels), SF_FORMAT_PCM_24);
    add("AIFCLittle16", kAudioFileAIFCType, signedLittle(16, channels), SF_FORMAT_PCM_16);
    add("AIFCLittle24", kAudioFileAIFCType, signedLittle(24, channels), SF_FORMAT_PCM_24);
    add("AIFCLittle32", kAudioFileAIFCType, signedLittle(32, channels), SF_FORMAT_PCM_32);
    add("AIFCFloat", kAudioFileAIFCType, floatBig(32, channels, 48000), SF_FORMAT_FLOAT);
    add("AIFCDouble", kAudioFileAIFCType, floatBig(64, channels), SF_FORMAT_DOUBLE);
    add("AIFCUnsigned8", kAudioFileAIFCType, unsignedBytes(channels), SF_FORMAT_PCM_U8);
    add("WAVE8", kAudioFileWAVEType, unsignedBytes(channels), SF_FORMAT_PCM_U8);
    add("WAVE16", kAudioFileWAVEType, signedLittle(16, channels), SF_FORMAT_PCM_16);
    add("WAVE20", kAudioFileWAVEType, signedLittle(20, channels), SF_FORMAT_PCM_24);
    add("WAVE24", kAudioFileWAVEType, signedLittle(24, channels, 96000), SF_FORMAT_PCM_24);
    add("WAVE32", kAudioFileWAVEType, signedLittle(32, channels), SF_FORMAT_PCM_32);
    add("WAVEFloat", kAudioFileWAVEType, floatLittle(32, channels), SF_FORMAT_FLOAT);
    add("WAVEDouble", kAudioFileWAVEType, floatLittle(64, channels), SF_FORMAT_DOUBLE);
  }
  return cases;
}

/// The bits of one stored sample, first in its bytes' upper end.
std::uint64_t sampleBits(const AudioStreamBasicDescription& format, const std::uint8_t* bytes) {
  const std::uint32_t size = format.mBytesPerFrame / format.mChannelsPerFrame;
  const bool isBig = (format.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0;
  std::uint64_t bits = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    bits = bits << 8 | bytes[isBig ? i : size - 1 - i];
  }
  return bits;
}

std::int32_t integerSample(const AudioStreamBasicDescription& format, const std::uint8_t* bytes) {
  const std::uint32_t size = format.mBytesPerFrame / format.mChannelsPerFrame;
  auto bits = static_cast<std::uint32_t>(sampleBits(format, bytes)) << (32 - 8 * size);
  if ((format.mFormatFlags & kAudioFormatFlagIsSignedInteger) == 0) {
    bits ^= 0x80000000U;
  }
  return static_cast<std::int32_t>(bits);
}

double floatSample(const AudioStreamBasicDescription& format, const std::uint8_t* bytes) {
  const std::uint64_t bits = sampleBits(format, bytes);
  return format.mBitsPerChannel == 32 ? double{std::bit_cast<float>(static_cast<std::uint32_t>(bits))}
                                      : std::bit_cast<double>(bits);
}

bool isFloat(const AudioStreamBasicDescription& format) {
  return (format.mFormatFlags & kAudioFormatFlagIsFloat) != 0;
}

/// Audio of 101 frames, an odd number. Floats have ordinary values.
Bytes audioFor(const AudioStreamBasicDescription& format) {
  Bytes audio = audioBytes(std::size_t{101} * format.mBytesPerFrame);
  if (!isFloat(format)) {
    return audio;
  }
  const std::uint32_t size = format.mBitsPerChannel / 8;
  for (std::size_t sample = 0; sample < audio.size() / size; ++sample) {
    const double value = std::sin(static_cast<double>(sample)) * 1.5;
    const std::uint64_t bits =
        size == 4 ? std::bit_cast<std::uint32_t>(static_cast<float>(value)) : std::bit_cast<std::uint64_t>(value);
    const bool isBig = (format.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0;
    const Bytes stored = isBig ? bigEndian(bits, static_cast<int>(size)) : littleEndian(bits, static_cast<int>(size));
    std::copy(stored.begin(), stored.end(), audio.begin() + static_cast<std::ptrdiff_t>(sample * size));
  }
  return audio;
}

class RoundTrip : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    audio_ = audioFor(GetParam().format);
    writeAudioFile(path_, GetParam().type, GetParam().format, audio_);
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "f";
  Bytes audio_;
};

TEST_P(RoundTrip, WeReadWhatWeWrote) {
  const Opened file = openForReading(path_);
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->fileType(), GetParam().type);
  EXPECT_TRUE(isSameFormat(file.session->format(), GetParam().format));
  EXPECT_TRUE(file.session->isOptimized());
  EXPECT_EQ(audioOf(*file.session), audio_);
}

TEST_P(RoundTrip, LibsndfileReadsWhatWeWrote) {
  const auto reading = readIndependently(path_);
  ASSERT_TRUE(reading.has_value());
  const AudioStreamBasicDescription& format = GetParam().format;
  EXPECT_EQ(reading->sampleRate, format.mSampleRate);
  EXPECT_EQ(reading->channels, static_cast<int>(format.mChannelsPerFrame));
  EXPECT_EQ(reading->frames, 101);
  EXPECT_EQ(reading->subFormat, GetParam().subFormat);
  const std::uint32_t size = format.mBytesPerFrame / format.mChannelsPerFrame;
  ASSERT_EQ(reading->ints.size(), audio_.size() / size);
  for (std::size_t sample = 0; sample < reading->ints.size(); ++sample) {
    const std::uint8_t* bytes = audio_.data() + sample * size;
    if (isFloat(format)) {
      ASSERT_EQ(reading->doubles[sample], floatSample(format, bytes)) << sample;
    } else {
      ASSERT_EQ(reading->ints[sample], integerSample(format, bytes)) << sample;
    }
  }
}

/// sox passes samples through 32-bit integers and knows neither unsigned AIFC nor valid bits in WAVE.
std::vector<Case> casesForSox() {
  std::vector<Case> cases = allCases();
  std::erase_if(cases, [](const Case& c) {
    const bool isUnsignedAIFC = c.type == kAudioFileAIFCType && c.format.mFormatFlags == 8;
    return isFloat(c.format) || isUnsignedAIFC || (c.type == kAudioFileWAVEType && c.format.mBitsPerChannel == 20);
  });
  return cases;
}

class RoundTripThroughSox : public RoundTrip {};

TEST_P(RoundTripThroughSox, SoxReadsWhatWeWrote) {
  const AudioStreamBasicDescription& format = GetParam().format;
  const std::string raw = directory_ / "f.raw";
  const bool isBig = (format.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0;
  const bool isSigned = (format.mFormatFlags & kAudioFormatFlagIsSignedInteger) != 0;
  const std::uint32_t bitsInFile = 8 * format.mBytesPerFrame / format.mChannelsPerFrame;
  const ProcessResult result = run({"sox", "-D", "-t", GetParam().type == kAudioFileWAVEType ? "wav" : "aiff", path_,
                                    "-b", std::to_string(bitsInFile), "-e",
                                    isSigned ? "signed-integer" : "unsigned-integer", isBig ? "-B" : "-L", raw});
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(bytesOfFile(raw), audio_);
}

/// ffmpeg's names of the codings that it hands through as they are stored.
const char* rawNameInFfmpeg(const AudioStreamBasicDescription& format) {
  const bool isBig = (format.mFormatFlags & kAudioFormatFlagIsBigEndian) != 0;
  if (isFloat(format)) {
    return format.mBitsPerChannel == 32 ? (isBig ? "f32be" : "f32le") : (isBig ? "f64be" : "f64le");
  }
  return format.mBitsPerChannel == 16 ? (isBig ? "s16be" : "s16le") : nullptr;
}

std::vector<Case> casesForFfmpeg() {
  std::vector<Case> cases = allCases();
  std::erase_if(cases, [](const Case& c) { return rawNameInFfmpeg(c.format) == nullptr; });
  return cases;
}

class RoundTripThroughFfmpeg : public RoundTrip {};

TEST_P(RoundTripThroughFfmpeg, FfmpegReadsWhatWeWrote) {
  const std::string raw = directory_ / "f.raw";
  const ProcessResult result =
      run({"ffmpeg", "-v", "error", "-i", path_, "-f", rawNameInFfmpeg(GetParam().format), raw});
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(bytesOfFile(raw), audio_);
}

std::string nameOf(const ::testing::TestParamInfo<Case>& parameter) {
  return std::string(parameter.param.name) + "x" + std::to_string(parameter.param.format.mChannelsPerFrame);
}

INSTANTIATE_TEST_SUITE_P(AllFormats, RoundTrip, ::testing::ValuesIn(allCases()), nameOf);
INSTANTIATE_TEST_SUITE_P(FormatsOfSox, RoundTripThroughSox, ::testing::ValuesIn(casesForSox()), nameOf);
INSTANTIATE_TEST_SUITE_P(FormatsOfFfmpeg, RoundTripThroughFfmpeg, ::testing::ValuesIn(casesForFfmpeg()), nameOf);

/// Files that libsndfile writes.
struct ForeignCase {
  const char* name;
  int format;
  AudioFileTypeID type;
  std::uint32_t flags;
  std::uint32_t bits;
};

class ForeignFile : public ::testing::TestWithParam<ForeignCase> {};

TEST_P(ForeignFile, WeReadWhatLibsndfileWrote) {
  const TemporaryDirectory directory;
  const std::string path = directory / "f";
  SF_INFO info{};
  info.samplerate = 44100;
  info.channels = 2;
  info.format = GetParam().format;
  SNDFILE* out = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(out, nullptr) << sf_strerror(nullptr);
  std::vector<int> samples(202);
  for (int i = 0; i < 202; ++i) {
    samples[static_cast<std::size_t>(i)] = i * 7654321;
  }
  ASSERT_EQ(sf_writef_int(out, samples.data(), 101), 101);
  sf_close(out);

  const auto reading = readIndependently(path);
  const Opened file = openForReading(path);
  ASSERT_EQ(file.status, noErr) << file.problem;
  const AudioStreamBasicDescription& format = file.session->format();
  EXPECT_EQ(file.session->fileType(), GetParam().type);
  EXPECT_EQ(format.mFormatFlags, GetParam().flags);
  EXPECT_EQ(format.mBitsPerChannel, GetParam().bits);
  EXPECT_EQ(format.mChannelsPerFrame, 2U);
  EXPECT_EQ(format.mSampleRate, 44100);
  const Bytes audio = audioOf(*file.session);
  ASSERT_EQ(audio.size(), 101 * format.mBytesPerFrame);
  for (std::size_t sample = 0; sample < 202; ++sample) {
    const std::uint8_t* bytes = audio.data() + sample * format.mBytesPerFrame / 2;
    if (isFloat(format)) {
      ASSERT_EQ(floatSample(format, bytes), reading->doubles[sample]);
    } else {
      ASSERT_EQ(integerSample(format, bytes), reading->ints[sample]);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    FromLibsndfile, ForeignFile,
    ::testing::Values(ForeignCase{"AIFF8", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, kAudioFileAIFFType, 14, 8},
                      ForeignCase{"AIFF16", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, kAudioFileAIFFType, 14, 16},
                      ForeignCase{"AIFF24", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, kAudioFileAIFFType, 14, 24},
                      ForeignCase{"AIFF32", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, kAudioFileAIFFType, 14, 32},
                      ForeignCase{"AIFCLittle16", SF_FORMAT_AIFF | SF_ENDIAN_LITTLE | SF_FORMAT_PCM_16,
                                  kAudioFileAIFCType, 12, 16},
                      ForeignCase{"AIFCFloat", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, kAudioFileAIFCType, 11, 32},
                      ForeignCase{"AIFCDouble", SF_FORMAT_AIFF | SF_FORMAT_DOUBLE, kAudioFileAIFCType, 11, 64},
                      ForeignCase{"AIFCUnsigned8", SF_FORMAT_AIFF | SF_FORMAT_PCM_U8, kAudioFileAIFCType, 8, 8},
                      ForeignCase{"WAVE8", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, kAudioFileWAVEType, 8, 8},
                      ForeignCase{"WAVE16", SF_FORMAT_WAV | SF_FORMAT_PCM_16, kAudioFileWAVEType, 12, 16},
                      ForeignCase{"WAVE24", SF_FORMAT_WAV | SF_FORMAT_PCM_24, kAudioFileWAVEType, 12, 24},
                      ForeignCase{"WAVEX32", SF_FORMAT_WAVEX | SF_FORMAT_PCM_32, kAudioFileWAVEType, 12, 32},
                      ForeignCase{"WAVEFloat", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kAudioFileWAVEType, 9, 32},
                      ForeignCase{"WAVEXDouble", SF_FORMAT_WAVEX | SF_FORMAT_DOUBLE, kAudioFileWAVEType, 9, 64},
                      ForeignCase{"RF64x24", SF_FORMAT_RF64 | SF_FORMAT_PCM_24, kAudioFileWAVEType, 12, 24}),
    [](const auto& parameter) { return parameter.param.name; });

TEST(ForeignPrograms, WeReadWhatFfmpegWroteIntoAPipe) {
  // ffmpeg can't go back in a pipe to fill in the sizes.
  const TemporaryDirectory directory;
  const std::string script =
      "ffmpeg -v error -f lavfi -i sine=frequency=440:sample_rate=48000:duration=0.5 -f wav - > " + directory.path() +
      "/f.wav";
  ASSERT_EQ(run({"sh", "-c", script}).status, 0);
  const Opened file = openForReading(directory / "f.wav");
  ASSERT_EQ(file.status, noErr) << file.problem;
  EXPECT_EQ(file.session->dataByteCount(), 48000);
}

TEST(ForeignPrograms, SoxiAndSndfileInfoAgreeWithUsOnAnAIFF) {
  const TemporaryDirectory directory;
  const std::string path = directory / "f.aiff";
  writeAudioFile(path, kAudioFileAIFFType, signedBig(24, 2, 96000), audioBytes(6000));
  EXPECT_EQ(run({"soxi", "-s", path}).output, "1000\n");
  EXPECT_EQ(run({"soxi", "-r", path}).output, "96000\n");
  EXPECT_EQ(run({"soxi", "-b", path}).output, "24\n");
  EXPECT_EQ(run({"soxi", "-c", path}).output, "2\n");
  const std::string info = run({"sndfile-info", path}).output;
  EXPECT_NE(info.find("Frames      : 1000"), std::string::npos) << info;
  EXPECT_NE(info.find("Sample Rate : 96000"), std::string::npos) << info;
}

TEST(Rates, FractionalRatesSurviveInAIFF) {
  InstalledMemoryFiles files;
  for (const double rate : {44055.944055944056, 1.0 / 3, 22254.545454545456, 1e300, 5e-324}) {
    writeAudioFile("f", kAudioFileAIFFType, signedBig(16, 2, rate), audioBytes(40));
    EXPECT_EQ(openForReading("f").session->format().mSampleRate, rate);
    files->remove("f");
  }
}

TEST(Bits, EveryDeclaredNumberOfBitsSurvives) {
  InstalledMemoryFiles files;
  for (std::uint32_t bits = 1; bits <= 32; ++bits) {
    const AudioStreamBasicDescription forWAVE = bits > 8 ? signedLittle(bits) : [&] {
      AudioStreamBasicDescription format = unsignedBytes();
      format.mBitsPerChannel = bits;
      return format;
    }();
    writeAudioFile("aiff", kAudioFileAIFFType, signedBig(bits), audioBytes(24));
    writeAudioFile("aifc", kAudioFileAIFCType, signedLittle(bits), audioBytes(24));
    writeAudioFile("wave", kAudioFileWAVEType, forWAVE, audioBytes(24));
    EXPECT_TRUE(isSameFormat(openForReading("aiff").session->format(), signedBig(bits))) << bits;
    EXPECT_TRUE(isSameFormat(openForReading("aifc").session->format(), signedLittle(bits))) << bits;
    EXPECT_TRUE(isSameFormat(openForReading("wave").session->format(), forWAVE)) << bits;
    files->remove("aiff");
    files->remove("aifc");
    files->remove("wave");
  }
}

TEST(Bits, SamplesInLargerContainersSurviveInWAVE) {
  InstalledMemoryFiles files;
  AudioStreamBasicDescription format = signedLittle(24);
  format.mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsAlignedHigh;
  format.mBytesPerFrame = format.mBytesPerPacket = 8;
  writeAudioFile("f", kAudioFileWAVEType, format, audioBytes(80));
  EXPECT_TRUE(isSameFormat(openForReading("f").session->format(), format));
  EXPECT_EQ(audioOf("f"), audioBytes(80));
}

TEST(AIFCCodings, EveryNameOfPlainSamplesIsKnown) {
  InstalledMemoryFiles files;
  struct Coding {
    const char* code;
    std::uint32_t declaredBits, flags, bits;
  };
  for (const Coding& coding :
       {Coding{"NONE", 12, 14, 12}, Coding{"twos", 16, 14, 16}, Coding{"sowt", 16, 12, 16}, Coding{"fl32", 16, 11, 32},
        Coding{"FL32", 32, 11, 32}, Coding{"fl64", 16, 11, 64}, Coding{"FL64", 64, 11, 64}, Coding{"in24", 16, 14, 24},
        Coding{"in32", 16, 14, 32}, Coding{"raw ", 8, 8, 8}}) {
    const Bytes audio = audioBytes(48);
    files->put("f", form("AIFC", commonChunkAIFC(2, 48 / (coding.bits / 4), coding.declaredBits, coding.code) +
                                     soundChunk(audio)));
    const Opened file = openForReading("f");
    ASSERT_EQ(file.status, noErr) << file.problem;
    EXPECT_EQ(file.session->format().mFormatFlags, coding.flags) << coding.code;
    EXPECT_EQ(file.session->format().mBitsPerChannel, coding.bits) << coding.code;
    EXPECT_EQ(file.session->format().mBytesPerFrame, 2 * ((coding.bits + 7) / 8)) << coding.code;
    EXPECT_EQ(audioOf(*file.session), audio) << coding.code;
  }
}

}  // namespace
}  // namespace orv::test

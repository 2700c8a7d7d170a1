#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <random>

#include "platform/converter/ConverterTestSupport.h"
#include "support/Process.h"
#include "support/TemporaryDirectory.h"

namespace orv::test {
namespace {

/// One conversion that a peer does as well.
struct Case {
  const char* from;  ///< ffmpeg's name of the raw format
  AudioStreamBasicDescription source;
  const char* to;
  AudioStreamBasicDescription destination;
  double units;  ///< how far a sample may differ, in steps of the destination's integers; 0 for exactly
};

constexpr std::uint32_t kFloat = kAudioFormatFlagIsFloat;

/// Random integers, or floats within full scale.
Bytes samplesFor(const AudioStreamBasicDescription& format, std::size_t count) {
  std::mt19937 random(1);
  if ((format.mFormatFlags & kFloat) == 0) {
    Bytes bytes(count * format.mBytesPerFrame);
    for (std::uint8_t& byte : bytes) {
      byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
  }
  std::uniform_real_distribution<double> value(-0.999, 0.999);
  std::vector<double> samples(count);
  for (double& sample : samples) {
    sample = value(random);
  }
  return converted(*converterBetween(doubleFormat(44100, 1), format), bytesOf(samples));
}

Bytes convertedByFfmpeg(const Case& conversion, const Bytes& input) {
  const TemporaryDirectory directory;
  writeWholeFile(directory / "in", std::string(input.begin(), input.end()));
  const ProcessResult result = run({"ffmpeg", "-v", "error", "-f", conversion.from, "-ar", "44100", "-ac", "1", "-i",
                                    directory / "in", "-f", conversion.to, directory / "out"});
  EXPECT_EQ(result.status, 0) << result.errors;
  const std::string output = readWholeFile(directory / "out");
  return Bytes(output.begin(), output.end());
}

std::vector<double> asDoubles(const AudioStreamBasicDescription& format, const Bytes& bytes) {
  return samplesOf<double>(converted(*converterBetween(format, doubleFormat(44100, 1)), bytes));
}

TEST(Peers, FfmpegConvertsSamplesToTheSameWithinItsRounding) {
  const AudioStreamBasicDescription u8 = linear(44100, 1, 8, 1, 0);
  const AudioStreamBasicDescription s8 = linear(44100, 1, 8, 1, kSigned);
  const AudioStreamBasicDescription s16 = int16Format(44100, 1);
  const AudioStreamBasicDescription s16be = linear(44100, 1, 16, 2, kSigned | kBigEndian);
  const AudioStreamBasicDescription u16be = linear(44100, 1, 16, 2, kBigEndian);
  const AudioStreamBasicDescription s24 = linear(44100, 1, 24, 3, kSigned);
  const AudioStreamBasicDescription s24be = linear(44100, 1, 24, 3, kSigned | kBigEndian);
  const AudioStreamBasicDescription s32 = int32Format(44100, 1);
  const AudioStreamBasicDescription s32be = linear(44100, 1, 32, 4, kSigned | kBigEndian);
  const AudioStreamBasicDescription f32 = floatFormat(44100, 1);
  const AudioStreamBasicDescription f32be = linear(44100, 1, 32, 4, kFloat | kBigEndian);
  const AudioStreamBasicDescription f64 = doubleFormat(44100, 1);
  const AudioStreamBasicDescription f64be = linear(44100, 1, 64, 8, kFloat | kBigEndian);
  // Where bits are dropped between integers, ffmpeg cuts them off and we round.
  const Case cases[] = {
      {"s16be", s16be, "s16le", s16, 0}, {"s24be", s24be, "s24le", s24, 0}, {"s32be", s32be, "s32le", s32, 0},
      {"f32be", f32be, "f32le", f32, 0}, {"f64be", f64be, "f64le", f64, 0}, {"u8", u8, "f32le", f32, 0},
      {"s8", s8, "f32le", f32, 0},       {"s16be", s16be, "f32le", f32, 0}, {"u16be", u16be, "f32le", f32, 0},
      {"s24be", s24be, "f32le", f32, 0}, {"s32be", s32be, "f64le", f64, 0}, {"f32le", f32, "s16be", s16be, 0},
      {"f32le", f32, "f64be", f64be, 0}, {"s16le", s16, "s24be", s24be, 0}, {"s16le", s16, "s32be", s32be, 0},
      {"s24be", s24be, "s16le", s16, 1}, {"s32le", s32, "s16be", s16be, 1}, {"f32le", f32, "s24be", s24be, 1},
      {"f64le", f64, "s16le", s16, 0},   {"f32le", f32, "u8", u8, 0}};
  for (const Case& conversion : cases) {
    SCOPED_TRACE(std::string(conversion.from) + " to " + conversion.to);
    const Bytes input = samplesFor(conversion.source, 5000);
    const Bytes ours = converted(*converterBetween(conversion.source, conversion.destination), input);
    const Bytes theirs = convertedByFfmpeg(conversion, input);
    ASSERT_EQ(ours.size(), theirs.size());
    if (conversion.units == 0) {
      EXPECT_TRUE(ours == theirs);
      continue;
    }
    const std::vector<double> mine = asDoubles(conversion.destination, ours);
    const std::vector<double> others = asDoubles(conversion.destination, theirs);
    const double step = std::ldexp(1.0, 1 - static_cast<int>(conversion.destination.mBitsPerChannel));
    for (std::size_t i = 0; i < mine.size(); ++i) {
      ASSERT_NEAR(mine[i], others[i], conversion.units * step) << i;
    }
  }
}

/// The samples of a raw file as libsndfile reads them.
std::vector<float> readByLibsndfile(int format, const Bytes& bytes) {
  const TemporaryDirectory directory;
  writeWholeFile(directory / "in", std::string(bytes.begin(), bytes.end()));
  SF_INFO info = {};
  info.samplerate = 44100;
  info.channels = 1;
  info.format = SF_FORMAT_RAW | format;
  SNDFILE* const file = sf_open((directory / "in").c_str(), SFM_READ, &info);
  EXPECT_NE(file, nullptr);
  std::vector<float> samples(static_cast<std::size_t>(info.frames));
  EXPECT_EQ(sf_read_float(file, samples.data(), info.frames), info.frames);
  sf_close(file);
  return samples;
}

TEST(Peers, LibsndfileReadsTheSameFloats) {
  const struct {
    int format;
    AudioStreamBasicDescription source;
  } cases[] = {{SF_FORMAT_PCM_S8, linear(44100, 1, 8, 1, kSigned)},
               {SF_FORMAT_PCM_U8, linear(44100, 1, 8, 1, 0)},
               {SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, linear(44100, 1, 16, 2, kSigned | kBigEndian)},
               {SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, int16Format(44100, 1)},
               {SF_FORMAT_PCM_24 | SF_ENDIAN_BIG, linear(44100, 1, 24, 3, kSigned | kBigEndian)},
               {SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE, linear(44100, 1, 24, 3, kSigned)},
               {SF_FORMAT_PCM_32 | SF_ENDIAN_BIG, linear(44100, 1, 32, 4, kSigned | kBigEndian)},
               {SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE, int32Format(44100, 1)},
               {SF_FORMAT_FLOAT | SF_ENDIAN_BIG, linear(44100, 1, 32, 4, kFloat | kBigEndian)},
               {SF_FORMAT_DOUBLE | SF_ENDIAN_BIG, linear(44100, 1, 64, 8, kFloat | kBigEndian)},
               {SF_FORMAT_ULAW, compressed(kAudioFormatULaw, 44100, 1)},
               {SF_FORMAT_ALAW, compressed(kAudioFormatALaw, 44100, 1)}};
  for (const auto& [format, source] : cases) {
    const Bytes input = samplesFor(source, 5000);
    const auto ours = samplesOf<float>(converted(*converterBetween(source, floatFormat(44100, 1)), input));
    EXPECT_TRUE(ours == readByLibsndfile(format, input)) << std::hex << format;
  }
}

}  // namespace
}  // namespace orv::test

#include "coreaudio/boundaries/Side.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include <OrvCoreAudio/OrvAudioConverter.h>
#include <OrvCoreAudio/OrvAudioFile.h>

#include "coreaudio/support/Recording.h"
#include "detection/boundaries/EnvelopeMeter.h"

namespace orv::test {
namespace {

std::size_t framesIn(double seconds) {
  return static_cast<std::size_t>(std::llround(seconds * Side::kRate));
}

void require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(what);
  }
}

void writeSamples(const std::string& path, const std::vector<float>& samples, const FormatPointer& format) {
  const auto native =
      pcm(format->sampleRate(), format->channelsPerFrame(), 32, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked);
  const auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(native, format);
  require(converter != nullptr, "no converter");
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(format);
  file->determineFileType(format);
  require(file->open(), "can't make the file");
  std::vector<char> bytes(samples.size() * format->bitsPerChannel() / 8);
  auto size = static_cast<std::uint32_t>(bytes.size());
  require(converter->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
              samples.data(), static_cast<std::uint32_t>(samples.size() * sizeof(float)), bytes.data(), &size) == 0,
          "can't convert");
  require(file->write_length(bytes.data(), &size), "can't write");
  require(file->close(), "can't close");
}

}  // namespace

Side& Side::music(double seconds) {
  play(seconds, false);
  return *this;
}

Side& Side::fadingMusic(double seconds) {
  play(seconds, true);
  return *this;
}

void Side::play(double seconds, bool isFading) {
  constexpr double beat = 0.25;
  constexpr std::array<double, 7> scale{0, 2, 4, 5, 7, 9, 11};
  std::uniform_int_distribution<std::size_t> step(0, scale.size() - 1);
  std::uniform_real_distribution<double> root(150, 400);
  std::uniform_real_distribution<double> tilt(0.4, 2.0);
  const double lowest = root(random_);
  const double darkness = tilt(random_);
  const std::size_t count = framesIn(seconds);
  std::vector<float> piece(count);
  for (std::size_t begin = 0; begin < count; begin += framesIn(beat)) {
    const double frequency = lowest * std::exp2(scale[step(random_)] / 12);
    const std::size_t end = std::min(count, begin + framesIn(0.6));
    for (std::size_t i = begin; i < end; ++i) {
      const double time = static_cast<double>(i - begin) / kRate;
      double value = 0;
      for (int harmonic = 1; harmonic <= 8; ++harmonic) {
        value += std::sin(2 * std::numbers::pi * frequency * harmonic * time) / std::pow(harmonic, darkness);
      }
      piece[i] += static_cast<float>(value * std::exp(-3 * time) / 12);
    }
  }
  for (std::size_t i = 0; isFading && i < count; ++i) {
    const float left = 1 - static_cast<float>(i) / static_cast<float>(count);
    piece[i] *= left * left * left;
  }
  samples_.insert(samples_.end(), piece.begin(), piece.end());
}

Side& Side::silence(double seconds) {
  samples_.resize(samples_.size() + framesIn(seconds));
  return *this;
}

Side& Side::tone(double seconds, double frequency, double amplitude) {
  const std::size_t count = framesIn(seconds);
  for (std::size_t i = 0; i < count; ++i) {
    const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / kRate;
    samples_.push_back(static_cast<float>(amplitude * std::sin(phase)));
  }
  return *this;
}

Side& Side::noise(double level) {
  std::normal_distribution<float> value(0, static_cast<float>(std::pow(10, level / 20)));
  for (float& sample : samples_) {
    sample += value(random_);
  }
  return *this;
}

Side& Side::click(double second, float value) {
  samples_.at(framesIn(second)) = value;
  return *this;
}

OrvLevelEnvelope Side::envelope() const {
  return envelopeOf(samples_, kRate);
}

void Side::write(const std::string& path, std::uint32_t channels) const {
  std::vector<float> frames;
  frames.reserve(samples_.size() * channels);
  for (const float sample : samples_) {
    frames.insert(frames.end(), channels, sample);
  }
  writeSamples(path, frames,
               pcm(kRate, channels, 16,
                   kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked | kAudioFormatFlagIsBigEndian));
}

void Side::writeFloat(const std::string& path) const {
  writeSamples(path, samples_,
               pcm(kRate, 1, 32, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsBigEndian));
}

OrvLevelEnvelope envelopeOf(const std::vector<float>& samples, double sampleRate) {
  boundaries::EnvelopeMeter meter(sampleRate, 1);
  OrvLevelEnvelope envelope;
  envelope.sampleRate = sampleRate;
  envelope.lengthInFrames = samples.size();
  envelope.framesPerBlock = meter.framesPerBlock();
  const std::size_t most = boundaries::EnvelopeMeter::kMostBlocks * meter.framesPerBlock();
  for (std::size_t i = 0; i < samples.size(); i += most) {
    meter.take(samples.data() + i, std::min(most, samples.size() - i), &envelope.blocks);
  }
  return envelope;
}

}  // namespace orv::test

#include "coreaudio/support/Recording.h"

#include <OrvCoreAudio/OrvAudioConverter.h>
#include <OrvCoreAudio/OrvAudioFile.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace orv::test {

FormatPointer pcm(double rate, std::uint32_t channels, std::uint32_t bits, std::uint32_t flags) {
  AudioStreamBasicDescription record{};
  record.mSampleRate = rate;
  record.mFormatID = kAudioFormatLinearPCM;
  record.mFormatFlags = flags;
  record.mFramesPerPacket = 1;
  record.mChannelsPerFrame = channels;
  record.mBitsPerChannel = bits;
  record.mBytesPerFrame = channels * ((bits + 7) / 8);
  record.mBytesPerPacket = record.mBytesPerFrame;
  return OrvAudioStreamBasicDescription::initWithAudioStreamBasicDescription(&record);
}

std::vector<Stretch> threePieces() {
  return {{8, 0.5}, {4, 0}, {8, 0.5}, {4, 0}, {8, 0.5}};
}

namespace {

void require(bool condition, const char* what) {
  if (!condition) {
    throw std::runtime_error(what);
  }
}

}  // namespace

void writeRecording(const std::string& path, const FormatPointer& format, const std::vector<Stretch>& stretches,
                    AudioFileTypeID type, std::uint32_t silentBefore) {
  const std::uint32_t channels = format->channelsPerFrame();
  const auto native = pcm(format->sampleRate(), channels, 32, kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked);
  const auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(native, format);
  require(converter != nullptr, "no converter");
  const auto file = OrvAudioFile::initWithPath_accessMode(path, OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(format);
  if (type != 0) {
    file->setFileType(type);
  }
  require(file->open(), "can't make the file");
  std::uint64_t frame = 0;
  for (const Stretch& stretch : stretches) {
    const auto frames = static_cast<std::size_t>(std::llround(stretch.seconds * format->sampleRate()));
    std::vector<float> samples(frames * channels);
    for (std::size_t i = 0; i < frames; ++i, ++frame) {
      const double phase = 2 * std::numbers::pi * 1000.0 * static_cast<double>(frame) / format->sampleRate();
      for (std::uint32_t c = silentBefore; c < channels; ++c) {
        samples[i * channels + c] = static_cast<float>(stretch.amplitude * std::sin(phase));
      }
    }
    std::vector<char> bytes(frames * format->bytesPerFrame());
    auto size = static_cast<std::uint32_t>(bytes.size());
    require(converter->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(
                samples.data(), static_cast<std::uint32_t>(samples.size() * sizeof(float)), bytes.data(), &size) == 0,
            "can't convert");
    require(file->write_length(bytes.data(), &size), "can't write");
  }
  require(file->close(), "can't close");
}

}  // namespace orv::test

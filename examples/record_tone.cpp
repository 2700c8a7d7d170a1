// Writes ten seconds of a 440 Hz tone through the write-behind cache, as a recorder writes what it hears.
//
//   record_tone tone.aiff

#include <OrvCoreAudio/OrvAudioConverter.h>
#include <OrvCoreAudio/OrvAudioFile.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>

namespace {

constexpr double kRate = 44100;
constexpr std::size_t kFramesPerBlock = 512;
constexpr std::size_t kBlocks = static_cast<std::size_t>(10 * kRate) / kFramesPerBlock;

/// One block of interleaved stereo, 32-bit float.
std::array<float, kFramesPerBlock * 2> toneBlock(std::size_t block) {
  std::array<float, kFramesPerBlock * 2> samples{};
  for (std::size_t i = 0; i < kFramesPerBlock; ++i) {
    const double seconds = static_cast<double>(block * kFramesPerBlock + i) / kRate;
    const auto sample = static_cast<float>(0.5 * std::sin(2 * M_PI * 440 * seconds));
    samples[i * 2] = samples[i * 2 + 1] = sample;
  }
  return samples;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: record_tone FILE\n");
    return 2;
  }
  const auto fileFormat = OrvAudioStreamBasicDescription::defaultStandardFileFormat();
  const auto deviceFormat = OrvAudioStreamBasicDescription::defaultStandardDeviceFormat();
  const auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(deviceFormat, fileFormat);

  const auto file = OrvAudioFile::initWithPath_accessMode(argv[1], OrvAudioFile::kModeWrite);
  file->setFileStreamFormat(fileFormat);
  file->setUseCache(true);
  if (!file->open()) {
    std::fprintf(stderr, "%s: %s\n", argv[1], file->lastProblem().c_str());
    return 1;
  }
  for (std::size_t block = 0; block < kBlocks; ++block) {
    const auto samples = toneBlock(block);
    std::array<char, kFramesPerBlock * 4> bytes{};
    std::uint32_t size = sizeof bytes;
    converter->convertBuffer_inputBufferSize_outputBuffer_outputBufferSize(samples.data(), sizeof samples, bytes.data(),
                                                                           &size);
    if (!file->write_length(bytes.data(), &size)) {
      break;
    }
  }
  // Everything that was accepted is in the file when this returns, or it says that it is not.
  if (!file->close()) {
    std::fprintf(stderr, "%s: %s\n", argv[1], file->lastProblem().c_str());
    return 1;
  }
  std::printf("%s\n", fileFormat->description().c_str());
  return 0;
}

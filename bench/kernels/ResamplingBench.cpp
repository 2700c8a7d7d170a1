// Resampling through the converter service, beside soxr called directly at the same quality.
#include <OrvPlatform/AudioConverter.h>
#include <soxr.h>

#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/RatioTable.h"
#include "support/Timing.h"

namespace {

constexpr std::size_t kChannels = 2;
constexpr std::size_t kSeconds = 10;
constexpr std::size_t kBlockFrames = 4096;
constexpr int kRounds = 12;

AudioStreamBasicDescription floatFormat(double rate) {
  constexpr std::uint32_t kFrameBytes = kChannels * sizeof(float);
  return {rate,
          kAudioFormatLinearPCM,
          kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
          kFrameBytes,
          1,
          kFrameBytes,
          kChannels,
          32,
          0};
}

std::vector<float> testSignal(double rate) {
  std::vector<float> samples(static_cast<std::size_t>(rate) * kSeconds * kChannels);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<float>(
        0.7 * std::sin(static_cast<double>(i / kChannels) * 0.05 * (1.0 + static_cast<double>(i % kChannels))));
  }
  return samples;
}

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("the conversion failed");
  }
}

/// The signal in blocks through one of ours.
class Ours {
 public:
  Ours(double from, double to) {
    const AudioStreamBasicDescription source = floatFormat(from);
    const AudioStreamBasicDescription destination = floatFormat(to);
    require(AudioConverterNew(&source, &destination, &converter_) == noErr);
  }
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;
  ~Ours() { AudioConverterDispose(converter_); }

  void run(const std::vector<float>& input, std::vector<float>* output) {
    for (std::size_t i = 0; i + kBlockFrames * kChannels <= input.size(); i += kBlockFrames * kChannels) {
      auto size = static_cast<std::uint32_t>(output->size() * sizeof(float));
      require(AudioConverterConvertBuffer(converter_, kBlockFrames * kChannels * sizeof(float), input.data() + i, &size,
                                          output->data()) == noErr);
    }
  }

 private:
  AudioConverterRef converter_ = nullptr;
};

/// The same through soxr itself.
class Direct {
 public:
  Direct(double from, double to) {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    stream_ = soxr_create(from, to, kChannels, nullptr, &io, &quality, &runtime);
    require(stream_ != nullptr);
  }
  Direct(const Direct&) = delete;
  Direct& operator=(const Direct&) = delete;
  ~Direct() { soxr_delete(stream_); }

  void run(const std::vector<float>& input, std::vector<float>* output) {
    for (std::size_t i = 0; i + kBlockFrames * kChannels <= input.size(); i += kBlockFrames * kChannels) {
      std::size_t used = 0;
      std::size_t made = 0;
      require(soxr_process(stream_, input.data() + i, kBlockFrames, &used, output->data(), output->size() / kChannels,
                           &made) == nullptr);
      require(used == kBlockFrames);
    }
  }

 private:
  soxr_t stream_ = nullptr;
};

}  // namespace

int main() {
  orv::bench::RatioTable table("resampling, stereo float, high quality; peer: soxr");
  for (const auto& [from, to] : {std::pair{44100.0, 48000.0}, std::pair{48000.0, 44100.0}}) {
    const std::vector<float> input = testSignal(from);
    std::vector<float> output(8 * kBlockFrames * kChannels);
    Ours ours(from, to);
    Direct direct(from, to);
    const auto times =
        orv::bench::bestTimes(kRounds, {[&] { ours.run(input, &output); }, [&] { direct.run(input, &output); }});
    const auto bytes = static_cast<double>(input.size() * sizeof(float));
    const std::string what = std::to_string(static_cast<int>(from)) + " to " + std::to_string(static_cast<int>(to));
    table.addRates(what, bytes / times[0], bytes / times[1], 1 / 1.1);
    std::printf("%s Hz: %.0f times real time\n", what.c_str(), static_cast<double>(kSeconds) / times[0]);
  }
  table.print();
  return 0;
}

#include "playback/MonitorPath.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::uint32_t kSampleBytes = sizeof(float);

void silence(float* samples, std::uint32_t fromByte, std::uint32_t toByte) noexcept {
  if (fromByte < toByte) {
    std::memset(reinterpret_cast<char*>(samples) + fromByte, 0, toByte - fromByte);
  }
}

}  // namespace

HandOff::HandOff(std::uint32_t bytes)
    : playThroughBuffer(bytes / kSampleBytes),
      mixBuffer(bytes / kSampleBytes),
      spareBuffer(bytes / kSampleBytes),
      bufferLength_(bytes / kSampleBytes * kSampleBytes) {}

std::shared_ptr<MonitorConverter> MonitorConverter::make(
    const std::shared_ptr<OrvAudioStreamBasicDescription>& source,
    const std::shared_ptr<OrvAudioStreamBasicDescription>& destination) {
  auto converter = OrvAudioConverter::initWithSourceFormat_destinationFormat(source, destination);
  if (converter == nullptr || source->bytesPerFrame() == 0 || destination->bytesPerFrame() == 0) {
    return nullptr;
  }
  auto made = std::make_shared<MonitorConverter>();
  made->sampleRateConverter_ = std::move(converter);
  made->sourceFrameBytes_ = source->bytesPerFrame();
  made->destinationFrameBytes_ = destination->bytesPerFrame();
  made->ratio_ = destination->sampleRate() / source->sampleRate();
  return made;
}

void MonitorConverter::prepare(std::uint32_t largest, std::uint32_t usual) {
  constexpr std::uint32_t kFramesUntilSettled = 1U << 17;
  sampleRateConverter_->reset();
  const std::vector<float> quiet(largest / kSampleBytes);
  std::vector<float> heard(quiet.size());
  for (const std::uint32_t bytes : {largest, std::min(usual, largest)}) {
    const std::uint32_t frames = bytes / sourceFrameBytes_;
    for (std::uint32_t done = 0; frames > 0 && done < kFramesUntilSettled; done += frames) {
      convert(quiet.data(), bytes, heard.data(), bytes);
    }
  }
}

std::uint32_t MonitorConverter::convert(const float* input, std::uint32_t inputBytes, float* output,
                                        std::uint32_t capacity) {
  // The share of a block varies by one frame: the converter counts in fractions of one.
  const std::uint32_t room = capacity / destinationFrameBytes_;
  const double mostFrames = std::floor(static_cast<double>(room) / ratio_);
  const std::uint32_t inputFrames = inputBytes / sourceFrameBytes_;
  const double frames = std::min(static_cast<double>(inputFrames), mostFrames);
  std::uint32_t size = capacity;
  // Not through the converter object, which logs what fails.
  const OSStatus status = AudioConverterConvertBuffer(
      sampleRateConverter_->converter(), static_cast<std::uint32_t>(frames) * sourceFrameBytes_, input, &size, output);
  return status == noErr ? size : 0;
}

void MonitorPath::takeIn(const AudioBuffer& input) const noexcept {
  HandOff& to = *handOff;
  if (input.mData == nullptr || input.mDataByteSize > to.bufferLength() ||
      !to.bufferLock.tryLockWhenCondition(HandOff::kEmpty)) {
    return;
  }
  std::memcpy(to.playThroughBuffer.data(), input.mData, input.mDataByteSize);
  to.filled = input.mDataByteSize;
  to.bufferLock.unlockWithCondition(HandOff::kFull);
}

void MonitorPath::giveOut(const AudioBuffer& output) const noexcept {
  if (output.mData == nullptr) {
    return;
  }
  const bool fits = output.mNumberChannels > 0 && output.mDataByteSize <= handOff->bufferLength();
  if (fits && handOff->bufferLock.tryLockWhenCondition(HandOff::kFull)) {
    treat(output);
  } else {
    silence(static_cast<float*>(output.mData), 0, output.mDataByteSize);
  }
}

/// Each step reads what the one before made; the last one makes the output. The waiting block is handed back as soon as
/// the first step has read it. Requires: the lock is held, and is left with its condition "empty".
void MonitorPath::treat(const AudioBuffer& output) const noexcept {
  HandOff& from = *handOff;
  const std::uint32_t bytes = output.mDataByteSize;
  const std::uint32_t channels = output.mNumberChannels;
  const std::uint32_t frameBytes = channels * kSampleBytes;
  auto* const heard = static_cast<float*>(output.mData);
  const float* made = from.playThroughBuffer.data();
  std::uint32_t frames = bytes / frameBytes;
  bool isHandedBack = false;
  const auto handBack = [&] {
    if (!isHandedBack) {
      from.bufferLock.unlockWithCondition(HandOff::kEmpty);
      isHandedBack = true;
    }
  };

  if (sampleRateConverter != nullptr) {
    float* const next = audioProcessor != nullptr || volumeControl != nullptr ? from.mixBuffer.data() : heard;
    silence(next, sampleRateConverter->convert(made, from.filled, next, bytes), bytes);
    handBack();
    made = next;
  } else {
    silence(from.playThroughBuffer.data(), from.filled, bytes);
  }
  if (audioProcessor != nullptr) {
    float* const scratch = isHandedBack ? from.spareBuffer.data() : from.mixBuffer.data();
    float* const next = volumeControl != nullptr ? scratch : heard;
    std::uint32_t processed = frames;
    const bool isProcessed =
        audioProcessor->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(made, next, channels, &processed);
    handBack();
    made = next;
    frames = isProcessed ? std::min(processed, frames) : 0;
  }
  if (volumeControl != nullptr) {
    volumeControl->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(made, heard, channels, &frames);
  } else if (made != heard) {
    std::memcpy(heard, made, std::size_t{frames} * frameBytes);
  }
  handBack();
  silence(heard, frames * frameBytes, bytes);
}

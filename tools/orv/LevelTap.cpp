#include "LevelTap.h"

#include <algorithm>
#include <cmath>

namespace orv::cli {
namespace {

void scan(const AudioBuffer& buffer, LevelTap::Cycle* cycle) noexcept {
  if (buffer.mData == nullptr || buffer.mNumberChannels == 0) {
    return;
  }
  const auto* const samples = static_cast<const float*>(buffer.mData);
  const std::size_t channels = buffer.mNumberChannels;
  cycle->frames = static_cast<std::uint32_t>(buffer.mDataByteSize / (sizeof(float) * channels));
  cycle->channels = std::min(buffer.mNumberChannels, LevelTap::kChannels);
  for (std::size_t frame = 0; frame < cycle->frames; ++frame) {
    for (std::size_t channel = 0; channel < cycle->channels; ++channel) {
      const float sample = samples[frame * channels + channel];
      cycle->peaks[channel] = std::max(cycle->peaks[channel], sample);
      cycle->magnitudes[channel] = std::max(cycle->magnitudes[channel], std::fabs(sample));
    }
  }
}

}  // namespace

OSStatus LevelTap::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* inputData,
    const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
    void* /*clientData*/) noexcept {
  const bool isInput = side_ == Side::input;
  const AudioBufferList* const heard = isInput ? inputData : outputData;
  const std::uint64_t missing = missingBefore(isInput ? *inputTime : *outputTime, *heard);
  const std::size_t put = put_.load(std::memory_order_relaxed);
  if (put - taken_.load(std::memory_order_acquire) == kCapacity) {
    lost_.fetch_add(1, std::memory_order_relaxed);
    return noErr;
  }
  Cycle& cycle = cycles_[put % kCapacity];
  cycle = Cycle();
  cycle.missing = missing;
  if (heard->mNumberBuffers > 0) {
    scan(heard->mBuffers[0], &cycle);
  }
  put_.store(put + 1, std::memory_order_release);
  return noErr;
}

/// Sample times count the device's frames, also those of cycles that did not come about.
std::uint64_t LevelTap::missingBefore(const AudioTimeStamp& time, const AudioBufferList& list) noexcept {
  const double expected = nextSampleTime_;
  const bool isTold = (time.mFlags & kAudioTimeStampSampleTimeValid) != 0;
  const bool hasFrames = list.mNumberBuffers > 0 && list.mBuffers[0].mNumberChannels > 0;
  if (!isTold || !hasFrames) {
    nextSampleTime_ = -1;
    return 0;
  }
  const std::uint32_t frameBytes = list.mBuffers[0].mNumberChannels * static_cast<std::uint32_t>(sizeof(float));
  const std::uint32_t frames = list.mBuffers[0].mDataByteSize / frameBytes;
  nextSampleTime_ = time.mSampleTime + frames;
  const bool isGap = expected >= 0 && time.mSampleTime >= expected + 1;
  return isGap ? static_cast<std::uint64_t>(time.mSampleTime - expected) : 0;
}

bool LevelTap::take(Cycle* cycle) noexcept {
  const std::size_t taken = taken_.load(std::memory_order_relaxed);
  if (taken == put_.load(std::memory_order_acquire)) {
    return false;
  }
  *cycle = cycles_[taken % kCapacity];
  taken_.store(taken + 1, std::memory_order_release);
  return true;
}

}  // namespace orv::cli

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
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  const std::size_t put = put_.load(std::memory_order_relaxed);
  if (put - taken_.load(std::memory_order_acquire) == kCapacity) {
    lost_.fetch_add(1, std::memory_order_relaxed);
    return noErr;
  }
  Cycle& cycle = cycles_[put % kCapacity];
  cycle = Cycle();
  const AudioBufferList* const heard = side_ == Side::input ? inputData : outputData;
  if (heard->mNumberBuffers > 0) {
    scan(heard->mBuffers[0], &cycle);
  }
  put_.store(put + 1, std::memory_order_release);
  return noErr;
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

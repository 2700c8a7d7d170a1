// The device's cycles: everything here is real-time safe.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "OrvCoreAudio/OrvAudioPlayer.h"
#include "OrvCoreAudio/OrvVUMeterDataProvider.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "device/PeakScan.h"
#include "playback/ConvertedFrames.h"
#include "playback/CycleGate.h"

namespace {

/// Of a device of more channels two are played.
constexpr std::uint32_t kPlayedChannels = 2;

}  // namespace

/// The output of one cycle, and how filling it went.
struct OrvAudioPlayer::Cycle {
  float* out = nullptr;
  std::uint32_t channels = 0;
  std::uint32_t bytes = 0;
  std::uint32_t frames = 0;
  bool isLate = false;  ///< the filler has not come yet
};

OSStatus OrvAudioPlayer::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  const CycleGate::Pass pass(*gate_);
  if (!pass || !_isPlaying || outputData == nullptr || outputData->mNumberBuffers == 0) {
    return noErr;
  }
  const AudioBuffer& buffer = outputData->mBuffers[0];
  if (buffer.mData == nullptr) {
    return noErr;
  }
  Cycle cycle;
  cycle.out = static_cast<float*>(buffer.mData);
  cycle.channels = buffer.mNumberChannels;
  cycle.bytes = buffer.mDataByteSize;
  cycle.frames = cycle.channels > 0 ? cycle.bytes / (cycle.channels * static_cast<std::uint32_t>(sizeof(float))) : 0;
  if (_currentOffset >= _playOut || _currentOffset >= logicalLengthInFrames) {
    finish();
  } else {
    playCycle(cycle);
  }
  return noErr;
}

/// Ends playing, but for the subscription.
void OrvAudioPlayer::finish() noexcept {
  if (!_isPlaying.exchange(false)) {
    return;
  }
  if (!_outputDevice->stop()) {
    _isPlaying = true;
    return;
  }
  if ((_eventMask & kEventFinished) != 0) {
    notifyCallback(OrvAudioPlayerFinishedPlayingNotification);
  }
}

void OrvAudioPlayer::playCycle(Cycle& cycle) noexcept {
  const std::int64_t left = _playOut - _currentOffset;
  const std::uint32_t wanted =
      isExact_ ? static_cast<std::uint32_t>(std::min<std::int64_t>(cycle.frames, left)) : cycle.frames;
  const std::uint32_t played = fill(cycle, wanted);
  lateCycles_ += cycle.isLate ? 1 : 0;
  const bool wasStopped = !_isPlaying;  // meanwhile: the cycle is heard all the same
  if (wasStopped && !isExact_) {
    return;
  }
  if (played > 0) {
    _currentOffset += played;
  } else if (!cycle.isLate) {
    missingFrames_ += isExact_ ? static_cast<std::uint64_t>(left) : 0;
    _currentOffset = logicalLengthInFrames;
  }
  if (wasStopped) {
    return;
  }
  if ((_eventMask & kEventPlayedSample) != 0) {
    notifyCallback(OrvAudioPlayerPlayedSampleNotification);
  }
  meter(cycle);
}

/// Without processing straight into the output. A cycle that is not in the format that the frames were converted to
/// gets none.
std::uint32_t OrvAudioPlayer::fill(Cycle& cycle, std::uint32_t frames) noexcept {
  if (deviceChannelsPerFrame == 0 || deviceChannelsPerFrame != std::min(cycle.channels, kPlayedChannels) ||
      deviceBytesPerFrame != deviceChannelsPerFrame * sizeof(float)) {
    return 0;
  }
  const bool isProcessed = _audioProcessor != nullptr || _volumeControl != nullptr;
  if (!isProcessed && cycle.channels <= kPlayedChannels) {
    return consume(cycle, cycle.out, cycle.bytes / sizeof(float), frames);
  }
  // In pieces of what the scratch buffers hold; a cycle of the device's buffer size is one piece.
  const std::size_t most = (isProcessed ? mixBuffer_.size() : channelMixBuffer.size()) / deviceChannelsPerFrame;
  std::uint32_t played = 0;
  for (std::uint32_t done = 1; played < frames && done > 0 && most > 0; played += done) {
    const auto piece = static_cast<std::uint32_t>(std::min<std::size_t>(frames - played, most));
    float* const out = cycle.out + std::size_t{played} * cycle.channels;
    done = isProcessed ? process(cycle, out, piece) : spread(cycle, out, piece);
  }
  return played;
}

std::uint32_t OrvAudioPlayer::consume(Cycle& cycle, float* out, std::size_t room, std::uint32_t frames) noexcept {
  const auto join = isExact_ ? ConvertedFrames::Join::bySamples : ConvertedFrames::Join::byBytes;
  const ConvertedFrames::Read read = converted_->read(out, room, frames, join);
  cycle.isLate = cycle.isLate || read.isLate;
  return read.frames;
}

/// Stereo into the left and right of more channels.
std::uint32_t OrvAudioPlayer::spread(Cycle& cycle, float* out, std::uint32_t frames) noexcept {
  const std::uint32_t done = consume(cycle, channelMixBuffer.data(), channelMixBuffer.size(), frames);
  mix(done, channelMixBuffer, kPlayedChannels, out, cycle.channels);
  return done;
}

std::uint32_t OrvAudioPlayer::process(Cycle& cycle, float* out, std::uint32_t frames) noexcept {
  std::memset(audioProcessingBuffer.data(), 0, audioProcessingBufferSize);
  std::memset(mixBuffer_.data(), 0, audioProcessingBufferSize);
  const std::uint32_t done = consume(cycle, audioProcessingBuffer.data(), audioProcessingBuffer.size(), frames);
  if (done == 0) {
    return 0;
  }
  const bool isStraight = cycle.channels <= kPlayedChannels;
  std::uint32_t processed = done;
  const auto run = [&](OrvAudioProcessor& by, const float* from, float* to) {
    by.processAudio_outputBuffer_channelsPerFrame_numberOfFrames(from, to, deviceChannelsPerFrame, &processed);
    processed = std::min(processed, done);  // what comes next has no room for more
  };
  float* const scratch[2] = {audioProcessingBuffer.data(), mixBuffer_.data()};
  std::size_t at = 0;
  const bool hasBoth = _audioProcessor != nullptr && _volumeControl != nullptr;
  if (_audioProcessor != nullptr) {
    run(*_audioProcessor, scratch[0], isStraight && !hasBoth ? out : scratch[1]);
    at = 1;
  }
  if (_volumeControl != nullptr) {
    run(*_volumeControl, scratch[at], isStraight ? out : scratch[1 - at]);
    at = 1 - at;
  }
  if (!isStraight) {
    const bool countsFileChannels = _volumeControl != nullptr && !isExact_;
    mixBuffer(processed, at == 0 ? audioProcessingBuffer : mixBuffer_,
              countsFileChannels ? fileChannelsPerFrame : deviceChannelsPerFrame, out, cycle.channels);
  }
  return isExact_ ? done : processed;
}

/// With as many channels on both sides nothing is copied, and a single channel goes to the left alone: so it is known
/// of volume on devices of many channels, where the file's channels are counted, although there are two.
void OrvAudioPlayer::mixBuffer(std::uint32_t frames, const std::vector<float>& in, std::uint32_t inChannels, float* out,
                               std::uint32_t outChannels) const noexcept {
  if (inChannels != outChannels) {
    mix(frames, in, inChannels, out, outChannels);
  }
}

void OrvAudioPlayer::mix(std::uint32_t frames, const std::vector<float>& in, std::uint32_t inChannels, float* out,
                         std::uint32_t outChannels) const noexcept {
  const bool hasLeft = leftSample_ < outChannels;
  const bool hasRight = rightSample_ < outChannels && inChannels > 1;
  for (std::size_t i = 0; i < frames && i * inChannels + (hasRight ? 1 : 0) < in.size(); ++i) {
    if (hasLeft) {
      out[i * outChannels + leftSample_] = in[i * inChannels];
    }
    if (hasRight) {
      out[i * outChannels + rightSample_] = in[i * inChannels + 1];
    }
  }
}

/// Peaks of the whole output buffer. The count is the played-sample notification's, too.
void OrvAudioPlayer::meter(const Cycle& cycle) noexcept {
  const std::uint32_t interval = notificationInterval;
  if (!_shouldProvideData || interval == 0) {
    return;
  }
  const std::uint32_t count = notificationCount;
  if (count % interval != 0) {
    notificationCount = count + 1;
    return;
  }
  float peaks[OrvVUMeterData::kChannels] = {};
  raisePeaks(cycle.out, cycle.channels, cycle.bytes, peaks, OrvVUMeterData::kChannels);
  _meterData->setData_length(peaks, std::min(cycle.channels, OrvVUMeterData::kChannels));
  orv::LoopCall call;
  call.receiver = weak_from_this().lock();
  call.argument = _meterData;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvAudioPlayer*>(made.receiver.get())
        ->threadCallback2(std::static_pointer_cast<OrvVUMeterData>(made.argument));
  };
  if (call.receiver != nullptr) {
    orv::RunLoop::main().post(orv::LoopPriority::highRate, std::move(call));
  }
  notificationCount = 1;
}

void OrvAudioPlayer::notifyCallback(const char* name) noexcept {
  const bool isThinned = name == OrvAudioPlayerPlayedSampleNotification;
  if (isThinned) {
    const std::uint32_t interval = notificationInterval;
    const std::uint32_t count = notificationCount;
    const bool isDue = interval != 0 && count % interval == 0;
    notificationCount = isDue ? 1 : count + 1;
    if (!isDue) {
      return;
    }
  }
  orv::LoopCall call;
  call.receiver = weak_from_this().lock();
  call.name = name;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvAudioPlayer*>(made.receiver.get())->threadCallback(made.name);
  };
  if (call.receiver != nullptr) {
    orv::RunLoop::main().post(isThinned ? orv::LoopPriority::highRate : orv::LoopPriority::state, std::move(call));
  }
}

void OrvAudioPlayer::threadCallback(const std::string& name) {
  orv::NotificationCenter::defaultCenter().post(name, shared_from_this());
}

void OrvAudioPlayer::threadCallback2(const std::shared_ptr<OrvVUMeterData>& data) {
  if (data != nullptr) {
    orv::NotificationCenter::defaultCenter().post(data->name(), data);
  }
}

float* OrvAudioPlayer::findMaxValues_numChannels_length(const float* samples, std::uint32_t channels,
                                                        std::uint32_t length) const {
  auto* const peaks = channels == 0 ? nullptr : static_cast<float*>(std::calloc(channels, sizeof(float)));
  if (peaks != nullptr && samples != nullptr) {
    raisePeaks(samples, channels, length, peaks, channels);
  }
  return peaks;
}

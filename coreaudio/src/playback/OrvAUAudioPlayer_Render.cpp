// What happens in a device's cycle, and on the thread that reads ahead of it.
#include <algorithm>
#include <cstring>
#include <utility>

#include "OrvCoreAudio/OrvAUAudioPlayer.h"
#include "OrvPlatform/ConditionLock.h"
#include "OrvPlatform/NotificationCenter.h"
#include "OrvPlatform/RunLoop.h"
#include "playback/GraphSource.h"
#include "playback/ReadAheadCondition.h"

OSStatus OrvAUAudioPlayer::FileReadProc(void* refCon, AudioUnitRenderActionFlags* /*flags*/,
                                        const AudioTimeStamp* /*timeStamp*/, std::uint32_t /*bus*/,
                                        std::uint32_t frames, AudioBufferList* data) {
  return static_cast<OrvAUAudioPlayer*>(refCon)->readFile(frames, data);
}

OSStatus OrvAUAudioPlayer::AudioProcessingProc(void* refCon, AudioUnitRenderActionFlags* flags,
                                               const AudioTimeStamp* timeStamp, std::uint32_t bus, std::uint32_t frames,
                                               AudioBufferList* data) {
  return static_cast<OrvAUAudioPlayer*>(refCon)->renderSlice(flags, timeStamp, bus, frames, data);
}

OSStatus OrvAUAudioPlayer::readFile(std::uint32_t frames, AudioBufferList* data) noexcept {
  const GraphSources::Look source(*source_);
  AudioBuffer& buffer = data->mBuffers[0];
  if (source->info == nullptr || buffer.mData == nullptr) {
    buffer.mDataByteSize = 0;
    return kEndOfFileStatus;
  }
  const std::uint32_t frameBytes = source->info->floatFormat.mBytesPerFrame;
  std::uint32_t wanted = std::min({frames, buffer.mDataByteSize / frameBytes, kMostFramesPerSlice});
  const auto beSilent = [&](std::uint32_t count) {
    buffer.mDataByteSize = count * frameBytes;
    std::memset(buffer.mData, 0, buffer.mDataByteSize);
    return noErr;
  };
  if (leadInLeft_ > 0) {
    wanted = std::min(wanted, leadInLeft_);
    leadInLeft_ -= wanted;
    framesPulled_ += wanted;
    return beSilent(wanted);
  }
  const auto supplied = source->supply(static_cast<float*>(buffer.mData), wanted, mHasBeenStopped);
  buffer.mDataByteSize = supplied.frames * frameBytes;
  framesPulled_ += supplied.frames;
  isLate_ = isLate_ || supplied.isLate;
  if (supplied.status == kEndOfFileStatus && leadOutFrames_ > 0) {
    const std::uint32_t left = leadOutLeft_;
    if (left == 0) {
      finishFromCycle();
    }
    leadOutLeft_ = left - std::min(left, wanted);
    framesPulled_ += wanted;
    return beSilent(wanted);
  }
  if (supplied.isAtEnd && supplied.status == noErr) {
    finishFromCycle();  // at the end of the file only when the converter unit has given out everything
  }
  if (source->feed != nullptr && source->feed->wantsMore()) {
    readAheadLock_->unlockWithCondition(kReadAheadWanted);
  }
  return supplied.status;
}

OSStatus OrvAUAudioPlayer::renderSlice(AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timeStamp,
                                       std::uint32_t bus, std::uint32_t frames, AudioBufferList* data) noexcept {
  AudioBuffer& buffer = data->mBuffers[0];
  const std::uint32_t bytes = std::min(buffer.mDataByteSize, frames * mAUInternalFormat.mBytesPerFrame);
  const OSStatus status =
      mHasBeenStopped ? kAudioUnitErr_Uninitialized : AudioUnitRender(mInputUnit, flags, timeStamp, bus, frames, data);
  if (status == kEndOfFileStatus) {
    finishFromCycle();
  } else if (status != noErr && buffer.mData != nullptr) {
    std::memset(buffer.mData, 0, bytes);
  }
  lateCycles_ += isLate_ ? 1 : 0;
  isLate_ = false;
  buffer.mDataByteSize = bytes;  // what is behind the audio is silence
  return audioProcessingProc_timeStamp_busNumber_numberOfFrames_data(flags, timeStamp, bus, frames, data);
}

OSStatus OrvAUAudioPlayer::audioProcessingProc_timeStamp_busNumber_numberOfFrames_data(
    const AudioUnitRenderActionFlags* /*flags*/, const AudioTimeStamp* /*timeStamp*/, std::uint32_t /*bus*/,
    std::uint32_t frames, AudioBufferList* data) noexcept {
  for (std::uint32_t i = 0; mVolumeControl != nullptr && data != nullptr && i < data->mNumberBuffers; ++i) {
    const AudioBuffer& buffer = data->mBuffers[i];
    const auto frameBytes = static_cast<std::uint32_t>(buffer.mNumberChannels * sizeof(float));
    if (buffer.mData != nullptr && frameBytes > 0) {
      const std::uint32_t count = std::min(frames, buffer.mDataByteSize / frameBytes);
      mVolumeControl->processAudio_numChannels_numberOfFrames(static_cast<float*>(buffer.mData), buffer.mNumberChannels,
                                                              &count);
    }
  }
  return noErr;
}

bool OrvAUAudioPlayer::processAudio_outputBuffer_channelsPerFrame_numberOfFrames(const float* input, float* output,
                                                                                 std::uint32_t channelsPerFrame,
                                                                                 std::uint32_t* numberOfFrames) {
  const GraphSources::Look source(*source_);
  return source->processor != nullptr && source->processor->processAudio_outputBuffer_channelsPerFrame_numberOfFrames(
                                             input, output, channelsPerFrame, numberOfFrames);
}

bool OrvAUAudioPlayer::isReadAhead() const noexcept {
  const GraphSources::Look source(*source_);
  return source->feed == nullptr || !source->feed->wantsMore();
}

/// The rest waits for this cycle's end, which the main thread can do.
void OrvAUAudioPlayer::finishFromCycle() noexcept {
  if (mHasBeenStopped.exchange(true)) {
    return;
  }
  mShouldProvideData = false;
  const GraphSources::Look source(*source_);
  orv::LoopCall call;
  call.receiver = weak_from_this().lock();
  call.numbers[0] = source->play;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvAUAudioPlayer*>(made.receiver.get())->finish(made.numbers[0]);
  };
  if (call.receiver != nullptr) {
    orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
  }
}

void OrvAUAudioPlayer::notifyCallback(const char* name) noexcept {
  orv::LoopPriority priority = orv::LoopPriority::state;
  if (std::strcmp(name, OrvAudioPlayerPlayedSampleNotification) == 0) {
    const std::uint32_t interval = mNotificationInterval;
    const bool isDue = interval != 0 && mNotificationCount % interval == 0;
    mNotificationCount = isDue ? 1 : mNotificationCount + 1;
    if (!isDue) {
      return;
    }
    priority = orv::LoopPriority::highRate;
  }
  orv::LoopCall call;
  call.receiver = weak_from_this().lock();
  call.name = name;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvAUAudioPlayer*>(made.receiver.get())->threadCallback(made.name);
  };
  if (call.receiver != nullptr) {
    orv::RunLoop::main().post(priority, std::move(call));
  }
}

void OrvAUAudioPlayer::threadCallback(const std::string& name) {
  orv::NotificationCenter::defaultCenter().post(name, shared_from_this());
}

void OrvAUAudioPlayer::threadCallback2(const std::shared_ptr<OrvVUMeterData>& data) {
  if (data != nullptr) {
    orv::NotificationCenter::defaultCenter().post(data->name(), data);
  }
}

void OrvAUAudioPlayer::readAhead() {
  while (!shouldExit_) {
    readAheadLock_->lockWhenCondition(kReadAheadWanted);
    const auto feed = source_->copy().feed;
    while (!shouldExit_ && feed != nullptr && feed->fill()) {
    }
    readAheadLock_->unlockIfStillTaken(kReadAheadIdle);
  }
}

// From the device's cycle to the saver thread.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "OrvPlatform/Thread.h"
#include "recording/OrvCaptureQueue.h"
#include "recording/OrvCaptureWriter.h"

namespace {

constexpr std::uint32_t kSampleBytes = sizeof(float);
constexpr std::uint32_t kSampleRecordedBit = 4;

/// Saving can wait a little; a lower priority than the caller's keeps it from getting in the way.
constexpr double kPriorityBelowCaller = 0.1;

/// Bytes of a frame; 0 where there are no channels, or more than a block can hold.
std::uint32_t frameBytesOf(const AudioBuffer& block) {
  return block.mNumberChannels > std::numeric_limits<std::uint32_t>::max() / kSampleBytes
             ? 0
             : block.mNumberChannels * kSampleBytes;
}

}  // namespace

OSStatus OrvAudioRecorder::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* inputData,
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* /*outputData*/, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  if (recorderState != kRecording || isOver_ || inputData == nullptr || inputData->mNumberBuffers == 0) {
    return noErr;
  }
  const AudioBuffer& block = inputData->mBuffers[0];
  if (rawByteBufferLock.tryLockWhenCondition(1)) {
    // Asked again: whoever ends a recording takes the lock behind the last block.
    if (recorderState == kRecording) {
      capture(block);
    }
    rawByteBufferLock.unlockWithCondition(1);
  } else if (recorderState == kRecording) {  // cycles of two devices at once
    countDropped(frameBytesOf(block) == 0 ? 0 : block.mDataByteSize / frameBytesOf(block));
  }
  if (startIsTold_ && (_eventMask & kSampleRecordedBit) != 0) {
    notifyCallback(OrvAudioRecorderSampleRecordedNotification);
  }
  return noErr;
}

void OrvAudioRecorder::capture(const AudioBuffer& block) noexcept {
  const std::uint32_t frameBytes = frameBytesOf(block);
  if (frameBytes == 0 || block.mData == nullptr || block.mDataByteSize < frameBytes) {
    return;
  }
  if (expectedChannels_ != 0 && block.mNumberChannels != expectedChannels_) {
    if (!isOver_.exchange(true)) {
      leaveToMainThread([](OrvAudioRecorder& recorder) {
        recorder.interrupt("the device's number of channels changed while it was recorded");
      });
    }
    return;
  }
  std::uint32_t frames = block.mDataByteSize / frameBytes;
  std::uint32_t length = block.mDataByteSize;
  const std::uint64_t limit = frameLimit_;
  if (limit != 0) {
    frames = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(frames, limit - std::min<std::uint64_t>(limit, recordedLengthInFrames)));
    length = frames * frameBytes;
  }
  const void* bytes = block.mData;
  const orv::LiveList<OrvAudioProcessor>::Walk walk(_audioProcessor);
  if (OrvAudioProcessor* const processor = walk.at(0)) {
    bytes = process(*processor, block, &frames);
    length = frames * frameBytes;
  }
  if (bytes == nullptr || !append(bytes, &length)) {
    return countDropped(frames);
  }
  recordedLengthInFrames += length / frameBytes;
  if (limit != 0 && recordedLengthInFrames >= limit && !isOver_.exchange(true)) {
    leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.finishRecording(); });
  }
}

/// The treated frames, of which there may be fewer; null without memory.
const void* OrvAudioRecorder::process(OrvAudioProcessor& processor, const AudioBuffer& block,
                                      std::uint32_t* frames) noexcept {
  const std::uint32_t most = *frames;
  if (!growProcessingBuffer(most * frameBytesOf(block))) {
    return nullptr;
  }
  processor.processAudio_outputBuffer_channelsPerFrame_numberOfFrames(
      static_cast<const float*>(block.mData), reinterpret_cast<float*>(audioProcessingBuffer.get()),
      block.mNumberChannels, frames);
  *frames = std::min(*frames, most);
  return audioProcessingBuffer.get();
}

bool OrvAudioRecorder::growProcessingBuffer(std::uint32_t size) noexcept {
  if (size <= audioProcessingBufferSize) {
    return true;
  }
  audioProcessingBuffer.reset(new (std::nothrow) std::byte[size]{});
  audioProcessingBufferSize = audioProcessingBuffer != nullptr ? size : 0;
  return audioProcessingBuffer != nullptr;
}

void OrvAudioRecorder::countDropped(std::uint64_t frames) noexcept {
  ++droppedBlocks_;
  droppedFrames_ += frames;
  if (!dropsAreTold_.exchange(true)) {
    leaveToMainThread([](OrvAudioRecorder& recorder) { recorder.reportDroppedBlocks(); });
  }
}

bool OrvAudioRecorder::insertIntoBuffer_length(const void* bytes, std::uint32_t* length) noexcept {
  if (bytes == nullptr || !rawByteBufferLock.tryLockWhenCondition(1)) {
    *length = 0;
    return false;
  }
  const bool taken = append(bytes, length);
  rawByteBufferLock.unlockWithCondition(1);
  return taken;
}

bool OrvAudioRecorder::append(const void* bytes, std::uint32_t* length) noexcept {
  const auto appended = threadShouldExit ? OrvCaptureQueue::Appended::refused : queue_->append(bytes, *length);
  if (appended == OrvCaptureQueue::Appended::refused) {
    *length = 0;
    return false;
  }
  if (appended == OrvCaptureQueue::Appended::handedOver) {
    threadRunLock.unlockWithCondition(0);
  }
  return true;
}

void OrvAudioRecorder::saveBufferRunLoop() {
  orv::setCurrentThreadPriority(orv::currentThreadPriority() - kPriorityBelowCaller);
  while (!threadShouldExit) {
    threadRunLock.lockWhenCondition(0);
    convertBufferAndSaveToFile();
    threadRunLock.unlockIfStillTaken(1);  // unless there is more by now
  }
}

void OrvAudioRecorder::convertBufferAndSaveToFile() {
  while (OrvCaptureBuffer* const buffer = threadShouldExit ? nullptr : queue_->next()) {
    std::string problem;
    {
      const std::lock_guard guard(savingLock);
      if (_audioFile != nullptr && !save(*buffer)) {
        problem = problemOf(*_audioFile);
      }
    }
    queue_->giveBack(buffer);
    if (!problem.empty()) {
      interrupt(problem);
    }
  }
}

/// False when the file does not take the bytes, though it should. Where every frame counts the rest is not tried: it
/// would end up in the wrong place.
bool OrvAudioRecorder::save(OrvCaptureBuffer& buffer) {
  if (savingFailed_) {
    return true;
  }
  bool saved = false;
  if (writer_->converts()) {
    const std::uint32_t sizeOfFlushed =
        buffer.count != OrvCaptureQueue::kBufferSize ? writer_->convertedSizeOf(buffer.count) : 0;
    saved = writer_->save(buffer, _isFlushing ? sizeOfFlushed : writer_->convertedSize(), *_audioFile);
  } else {
    const std::uint32_t length = _isFlushing ? OrvCaptureQueue::kBufferSize : buffer.count;
    saved = writer_->saveUnconverted(buffer.data(), length, *_audioFile);
  }
  savingFailed_ = !saved && keepsEveryFrame_;
  return saved || _isFlushing;
}

void OrvAudioRecorder::notifyCallback(const char* name) noexcept {
  if (name == nullptr) {
    return;
  }
  auto priority = orv::LoopPriority::state;
  if (std::strcmp(name, OrvAudioRecorderSampleRecordedNotification) == 0) {
    const std::uint32_t count = notificationCount;
    if (count % std::max<std::uint32_t>(notificationInterval, 1) != 0) {
      notificationCount = count + 1;
      return;
    }
    notificationCount = 1;
    priority = orv::LoopPriority::highRate;
  }
  orv::LoopCall call;
  call.name = name;
  call.perform = [](const orv::LoopCall& made) {
    static_cast<OrvAudioRecorder*>(made.receiver.get())->threadCallback(made.name);
  };
  post(std::move(call), priority);
}

void OrvAudioRecorder::threadCallback(const std::string& name) {
  orv::NotificationCenter::defaultCenter().post(name, weak_from_this().lock());
}

/// Nothing is left to do for a recorder that is being destroyed.
bool OrvAudioRecorder::post(orv::LoopCall call, orv::LoopPriority priority) noexcept {
  call.receiver = weak_from_this().lock();
  return call.receiver != nullptr && orv::RunLoop::main().post(priority, std::move(call));
}

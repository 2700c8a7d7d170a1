// The handler of cycles.
#include <utility>

#include "OrvCoreAudio/OrvPlayThroughHandler.h"
#include "OrvPlatform/RunLoop.h"
#include "WithoutThrowing.h"
#include "playback/MonitorPath.h"

namespace {

const AudioBuffer* firstOf(const AudioBufferList* list) noexcept {
  return list != nullptr && list->mNumberBuffers > 0 ? &list->mBuffers[0] : nullptr;
}

}  // namespace

OSStatus OrvPlayThroughHandler::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  const MonitorPaths::Look path(*paths_);
  // Looked at after the path: who stops clears this first, and then waits for looks that are under way.
  if (!isRunning()) {
    return noErr;
  }
  const bool isInput = device == path->inputDevice.get();
  const bool isOutput = device == path->outputDevice.get();
  // One device that is both calls twice a cycle, once for each subscription; the first call does everything.
  if (isInput && isOutput && isSameCycleAgain(now)) {
    return noErr;
  }
  const AudioBuffer* const heard = isInput ? firstOf(inputData) : nullptr;
  if (heard != nullptr) {
    askForRoom(heard->mDataByteSize > path->handOff->bufferLength() ? heard->mDataByteSize : 0);
    path->takeIn(*heard);
  }
  const AudioBuffer* const played = isOutput ? firstOf(outputData) : nullptr;
  if (played != nullptr) {
    askForRoom(played->mDataByteSize > path->handOff->bufferLength() ? played->mDataByteSize : 0);
    path->giveOut(*played);
  }
  return noErr;
}

bool OrvPlayThroughHandler::isSameCycleAgain(const AudioTimeStamp* now) noexcept {
  constexpr std::uint32_t kBothTimes = kAudioTimeStampSampleTimeValid | kAudioTimeStampHostTimeValid;
  if (now == nullptr || (now->mFlags & kBothTimes) != kBothTimes) {
    return false;
  }
  const bool isHostTime = lastHostTime_.exchange(now->mHostTime, std::memory_order_relaxed) == now->mHostTime;
  const bool isSampleTime = lastSampleTime_.exchange(now->mSampleTime, std::memory_order_relaxed) == now->mSampleTime;
  return isHostTime && isSampleTime;
}

/// The main thread allocates; it is asked once.
void OrvPlayThroughHandler::askForRoom(std::uint32_t bytes) noexcept {
  if (bytes == 0 || bytes > HandOff::kMostBytes || roomWanted_.exchange(bytes) != 0) {
    return;
  }
  orv::LoopCall call;
  call.receiver = weak_from_this().lock();
  call.perform = [](const orv::LoopCall& made) {
    auto& handler = *static_cast<OrvPlayThroughHandler*>(made.receiver.get());
    withoutThrowing("OrvPlayThroughHandler", false, [&] {
      handler.makeRoom(handler.roomWanted_.exchange(0));
      return true;
    });
  };
  if (call.receiver != nullptr) {
    orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
  }
}

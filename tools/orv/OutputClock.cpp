#include "OutputClock.h"

#include <chrono>
#include <thread>

#include "OrvPlatform/RunLoop.h"

namespace orv::cli {

using namespace std::chrono_literals;

OSStatus OutputClock::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* /*device*/, const AudioTimeStamp* /*now*/, const AudioBufferList* /*inputData*/,
    const AudioTimeStamp* /*inputTime*/, AudioBufferList* outputData, const AudioTimeStamp* /*outputTime*/,
    void* /*clientData*/) noexcept {
  const std::uint64_t before = frames();
  std::uint64_t after = before;
  if (outputData->mNumberBuffers > 0 && outputData->mBuffers[0].mNumberChannels > 0) {
    const AudioBuffer& buffer = outputData->mBuffers[0];
    after += buffer.mDataByteSize / (sizeof(float) * buffer.mNumberChannels);
  }
  frames_.store(after, std::memory_order_relaxed);
  cycles_.fetch_add(1, std::memory_order_relaxed);
  if (before < end_ && after >= end_) {
    LoopCall call;
    call.perform = [](const LoopCall&) {};
    RunLoop::main().post(LoopPriority::state, std::move(call));
  }
  if (pace_ == Pace::ofDeck) {
    waitForDeck();
  }
  return noErr;
}

void OutputClock::waitForDeck() const noexcept {
  if (!isArmed_) {
    std::this_thread::sleep_for(1ms);
    return;
  }
  while (!isReleased_ && (!deck_->isAhead() || frames() >= end_)) {
    std::this_thread::sleep_for(20us);
  }
}

}  // namespace orv::cli

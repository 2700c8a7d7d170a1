// The device's cycles: subscribers, start and stop.
#include <utility>

#include "OrvCoreAudio/OrvAudioDevice.h"
#include "OrvPlatform/RunLoop.h"
#include "OrvPlatform/Thread.h"

namespace {

using Subscribers = orv::LiveList<OrvCoreAudioIOSubscriber>;

/// One cycle, as it is handed to a subscriber.
struct Cycle {
  const AudioTimeStamp* now;
  const AudioBufferList* input;
  const AudioTimeStamp* inputTime;
  AudioBufferList* output;
  const AudioTimeStamp* outputTime;

  bool hasInput() const noexcept { return input != nullptr && input->mNumberBuffers > 0; }
  bool hasOutput() const noexcept { return output != nullptr && output->mNumberBuffers > 0; }

  /// Whether there is a next one is asked for anew each time.
  void handTo(const Subscribers& subscribers, OrvAudioDevice* device, void* clientData) const noexcept {
    const Subscribers::Walk walk(subscribers);
    for (std::size_t i = 0; OrvCoreAudioIOSubscriber* const subscriber = walk.at(i); ++i) {
      subscriber->audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
          device, now, input, inputTime, output, outputTime, clientData);
    }
  }
};

/// One mutex for the starts and stops of all devices.
std::mutex& globalRunLock() {
  static auto* const lock = new std::mutex;
  return *lock;
}

OrvAudioDevice& deviceOf(const orv::LoopCall& call) {
  return *static_cast<OrvAudioDevice*>(call.receiver.get());
}

/// In a cycle nothing may wait for a lock, and stopping waits for the cycle's end: the main thread does it.
void leaveToMainThread(std::shared_ptr<OrvAudioDevice> device, orv::LoopCall::Function perform) {
  if (device != nullptr) {
    orv::LoopCall call;
    call.receiver = std::move(device);
    call.perform = perform;
    orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
  }
}

}  // namespace

OSStatus OrvAudioDevice::ioProc(AudioDeviceID /*device*/, const AudioTimeStamp* now, const AudioBufferList* input,
                                const AudioTimeStamp* inputTime, AudioBufferList* output,
                                const AudioTimeStamp* outputTime, void* clientData) {
  auto* const device = static_cast<OrvAudioDevice*>(clientData);
  const Cycle cycle{now, input, inputTime, output, outputTime};
  if (cycle.hasInput()) {
    cycle.handTo(device->inputSubscribersArray, device, device);
  }
  if (cycle.hasOutput()) {
    cycle.handTo(device->outputSubscribersArray, device, device);
  }
  return noErr;
}

OSStatus OrvAudioDevice::audioIOHandler_inNow_inInputData_inInputTime_outOutputData_inOutputTime_inClientData(
    OrvAudioDevice* device, const AudioTimeStamp* now, const AudioBufferList* inputData,
    const AudioTimeStamp* inputTime, AudioBufferList* outputData, const AudioTimeStamp* outputTime,
    void* clientData) noexcept {
  if (!orv::isInHardwareCycle()) {  // whose thread goes before all others already
    orv::setCurrentThreadPriority(1.0);
  }
  if (startCalls.load(std::memory_order_acquire) < 1) {
    return noErr;
  }
  const Cycle cycle{now, inputData, inputTime, outputData, outputTime};
  if (hasInputSubscribers.load(std::memory_order_acquire) && cycle.hasInput()) {
    cycle.handTo(inputSubscribersArray, device, clientData);
  }
  if (hasOutputSubscribers.load(std::memory_order_acquire) && cycle.hasOutput()) {
    cycle.handTo(outputSubscribersArray, device, clientData);
  }
  return noErr;
}

void OrvAudioDevice::addAudioIOSubscriber_forInput(const std::shared_ptr<OrvCoreAudioIOSubscriber>& subscriber,
                                                   bool isInput) {
  (isInput ? hasInputSubscribers : hasOutputSubscribers).store(true, std::memory_order_release);
  audioSubscribersForInput(isInput).add(subscriber);
}

void OrvAudioDevice::removeAudioIOSubscriber_forInput(const std::shared_ptr<OrvCoreAudioIOSubscriber>& subscriber,
                                                      bool isInput) {
  Subscribers& subscribers = audioSubscribersForInput(isInput);
  subscribers.remove(subscriber.get());
  if (subscribers.size() > 0) {
    (isInput ? hasInputSubscribers : hasOutputSubscribers).store(false, std::memory_order_release);
  }
  if (!subscribers.collect()) {
    // A cycle may still be at it. What is not in time for the next change is released on the main thread.
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) {
      deviceOf(made).audioSubscribersForInput(true).waitForWalks();
      deviceOf(made).audioSubscribersForInput(false).waitForWalks();
    });
  }
}

orv::LiveList<OrvCoreAudioIOSubscriber>& OrvAudioDevice::audioSubscribersForInput(bool isInput) {
  return isInput ? inputSubscribersArray : outputSubscribersArray;
}

bool OrvAudioDevice::start() {
  if (orv::isInHardwareCycle()) {
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) { deviceOf(made).start(); });
    return true;
  }
  const std::lock_guard guard(globalRunLock());
  if (++startCalls == 1 && AudioDeviceStart(deviceID_, &ioProc, this) != noErr) {
    --startCalls;
  }
  return true;
}

bool OrvAudioDevice::stop() {
  if (orv::isInHardwareCycle()) {
    leaveToMainThread(weak_from_this().lock(), [](const orv::LoopCall& made) { deviceOf(made).stop(); });
    return true;
  }
  const std::lock_guard guard(globalRunLock());
  if (startCalls <= 0) {
    return true;
  }
  if (--startCalls == 0 && AudioDeviceStop(deviceID_, &ioProc, this) != noErr) {
    ++startCalls;
  }
  return true;
}

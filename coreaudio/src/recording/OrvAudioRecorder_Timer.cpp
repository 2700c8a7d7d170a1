// A recording that ends by itself.
#include <algorithm>
#include <chrono>
#include <cmath>

#include "OrvCoreAudio/OrvAudioRecorder.h"
#include "WithoutThrowing.h"

namespace {

/// Longer than any recording, and still a number of nanoseconds.
constexpr double kMostSeconds = 1e9;

}  // namespace

bool OrvAudioRecorder::recordForDuration(double seconds) {
  const std::lock_guard guard(controlLock);
  return withoutThrowing(__func__, false, [&] {
    if (std::isnan(seconds)) {
      return false;
    }
    endTimer();
    const auto delay = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(std::clamp(seconds, 0.0, kMostSeconds)));
    const auto timer = std::make_shared<orv::Timer>();
    *timer = orv::RunLoop::main().after(delay, [recorder = weak_from_this(), mine = std::weak_ptr(timer)] {
      const auto self = recorder.lock();
      const auto due = mine.lock();
      if (self != nullptr && due != nullptr) {
        self->timerStop(due);
      }
    });
    recordingTimer = timer;
    return timer->isRunning();
  });
}

void OrvAudioRecorder::timerStop(const std::shared_ptr<orv::Timer>& timer) {
  const std::lock_guard guard(controlLock);
  if (timer != nullptr && timer != recordingTimer) {
    return;  // one that was replaced
  }
  withoutThrowing(__func__, 0, [this] {
    endNow();
    endTimer();
    return 0;
  });
}

/// A timer is the main thread's, wherever it is ended.
void OrvAudioRecorder::endTimer() {
  if (recordingTimer != nullptr) {
    orv::LoopCall call;
    call.argument = std::move(recordingTimer);
    call.perform = [](const orv::LoopCall& made) { static_cast<orv::Timer*>(made.argument.get())->end(); };
    orv::RunLoop::main().post(orv::LoopPriority::state, std::move(call));
    recordingTimer = nullptr;
  }
}

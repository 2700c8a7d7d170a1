#pragma once

#include <functional>
#include <string>
#include <thread>

#include "OrvPlatform/Export.h"

/// Worker threads with relative priorities.
namespace orv {

/// Starts a thread that runs `body` under `name` (15 characters of it are shown by the system's tools).
/// Nothing that `body` throws gets out; it ends the thread and is logged. Returns a thread that is not joinable
/// when the system has none to give. The caller joins or detaches it. Thread-safe.
ORV_API std::thread startThread(const std::string& name, std::function<void()> body);

/// Priority of the calling thread from 0.0 (lowest) to 1.0 (highest); 0.5 is what a thread starts with.
ORV_API double currentThreadPriority();

/// Asks for a priority of the calling thread, clamped to 0.0 to 1.0. Best effort: where the system does not allow it
/// the thread keeps the one it has. Lowering works everywhere, raising needs the right to do so. Asking again for what
/// was asked for last does nothing, and is real-time safe.
ORV_API void setCurrentThreadPriority(double priority);

/// Lets the calling thread go before all that are not real-time threads (SCHED_FIFO), or with the highest priority
/// where the system does not allow that. Which of the two it was is told once in the log. Returns whether the thread is
/// a real-time thread. It counts as one that has asked for the priority 1.0. Not real-time safe.
ORV_API bool makeCurrentThreadRealTime();

}  // namespace orv

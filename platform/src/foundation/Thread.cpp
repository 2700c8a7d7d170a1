#include "OrvPlatform/Thread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "OrvPlatform/Log.h"

namespace orv {
namespace {

/// Nice values run from 19 (lowest) to −20 (highest); 0.5 is 0 and each 0.025 one step.
constexpr double kNiceStepsPerPriority = 40.0;

/// Below the priorities that the system's own threads for interrupts have (50), as audio servers do it.
constexpr int kRealTimePriority = 20;

constexpr double kNeverAsked = -1.0;

double& priorityAskedFor() noexcept {
  [[gnu::tls_model("initial-exec")]] static thread_local double priority = kNeverAsked;
  return priority;
}

id_t callingThread() {
  return static_cast<id_t>(syscall(SYS_gettid));
}

}  // namespace

std::thread startThread(const std::string& name, std::function<void()> body) {
  try {
    return std::thread([name, body = std::move(body)] {
      pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
      try {
        body();
      } catch (const std::exception& failure) {
        logf("%s: thread ended by: %s", name.c_str(), failure.what());
      } catch (...) {
        logf("%s: thread ended by an unknown exception", name.c_str());
      }
    });
  } catch (const std::exception& failure) {
    logf("%s: can't start a thread: %s", name.c_str(), failure.what());
    return {};
  }
}

double currentThreadPriority() {
  errno = 0;
  const int nice = getpriority(PRIO_PROCESS, callingThread());
  return errno != 0 ? 0.5 : std::clamp(0.5 - nice / kNiceStepsPerPriority, 0.0, 1.0);
}

void setCurrentThreadPriority(double priority) {
  const double wanted = std::clamp(priority, 0.0, 1.0);
  if (wanted == priorityAskedFor()) {
    return;
  }
  priorityAskedFor() = wanted;
  const double steps = (0.5 - wanted) * kNiceStepsPerPriority;
  // Refused where the right is missing: the thread then keeps the priority it has.
  setpriority(PRIO_PROCESS, callingThread(), std::clamp(static_cast<int>(std::lround(steps)), -20, 19));
}

bool makeCurrentThreadRealTime() {
  sched_param parameters{};
  parameters.sched_priority = kRealTimePriority;
  const int error = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters);
  if (error != 0) {
    setCurrentThreadPriority(1.0);
  }
  priorityAskedFor() = 1.0;
  static std::atomic<bool> isTold{false};
  if (!isTold.exchange(true)) {
    if (error == 0) {
      log("audio runs on real-time threads");
    } else {
      logf("audio runs without real-time priority, which the system refuses: %s",
           std::generic_category().message(error).c_str());
    }
  }
  return error == 0;
}

}  // namespace orv

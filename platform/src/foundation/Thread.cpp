#include "OrvPlatform/Thread.h"

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "OrvPlatform/Log.h"

namespace orv {
namespace {

/// Nice values run from 19 (lowest) to −20 (highest); 0.5 is 0 and each 0.025 one step.
constexpr double kNiceStepsPerPriority = 40.0;

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
  const double steps = (0.5 - std::clamp(priority, 0.0, 1.0)) * kNiceStepsPerPriority;
  // Refused where the right is missing: the thread then keeps the priority it has.
  setpriority(PRIO_PROCESS, callingThread(), std::clamp(static_cast<int>(std::lround(steps)), -20, 19));
}

}  // namespace orv

// Stands between the program and the C library, and fails every test in which a thread that is in a device's cycle
// allocates, frees, waits for a lock, touches a file or makes another system call than the wake-up of a thread.
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/futex.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "OrvPlatform/AudioHardware.h"
#include "support/RealTimeInterposer.h"

namespace {

/// One forbidden call, with the way to it.
struct Violation {
  const char* call = nullptr;
  std::array<void*, 24> frames{};
  int depth = 0;
};

constexpr std::size_t kMostKept = 8;
std::array<Violation, kMostKept> kept;
std::atomic<std::size_t> count{0};
thread_local int allowed = 0;

/// True on the way into the real function while a violation is noted: what that does itself is not looked at.
thread_local bool isNoting = false;

void note(const char* call) {
  if (isNoting || allowed > 0 || !orv::isInHardwareCycle()) {
    return;
  }
  isNoting = true;
  const std::size_t index = count.fetch_add(1);
  if (index < kMostKept) {
    kept[index].call = call;
    kept[index].depth = backtrace(kept[index].frames.data(), static_cast<int>(kept[index].frames.size()));
  }
  isNoting = false;
}

template <typename Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// The real function behind one of the same name here.
#define ORV_REAL(name) static const auto next = real<decltype(&name)>(#name)

std::string describe(const Violation& violation) {
  std::string text = std::string(violation.call) + " in a device's cycle";
  char** const lines = backtrace_symbols(violation.frames.data(), violation.depth);
  for (int i = 2; lines != nullptr && i < violation.depth; ++i) {
    text += std::string("\n    ") + lines[i];
  }
  std::free(lines);
  return text;
}

class Judge : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*test*/) override { count = 0; }
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    const std::size_t all = count.exchange(0);
    for (std::size_t i = 0; i < std::min(all, kMostKept); ++i) {
      ADD_FAILURE() << describe(kept[i]);
    }
  }
};

[[maybe_unused]] const bool isListening = [] {
  std::array<void*, 1> frame{};
  backtrace(frame.data(), 1);  // loads what it needs before it is needed
  testing::UnitTest::GetInstance()->listeners().Append(new Judge);
  return true;
}();

}  // namespace

namespace orv::test {

AllowInCycle::AllowInCycle() noexcept {
  ++allowed;
}

AllowInCycle::~AllowInCycle() {
  --allowed;
}

std::size_t realTimeViolations() noexcept {
  return count.load();
}

std::size_t forgiveRealTimeViolations() noexcept {
  return count.exchange(0);
}

}  // namespace orv::test

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
  note("malloc");
  return __libc_malloc(size);
}

void* calloc(std::size_t number, std::size_t size) {
  note("calloc");
  return __libc_calloc(number, size);
}

void* realloc(void* block, std::size_t size) {
  note("realloc");
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  note("aligned_alloc");
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  note("posix_memalign");
  *block = __libc_memalign(alignment, size);
  return *block == nullptr ? 12 : 0;  // ENOMEM
}

void free(void* block) {
  if (block != nullptr) {
    note("free");
  }
  __libc_free(block);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  ORV_REAL(pthread_mutex_lock);
  note("pthread_mutex_lock");
  return next(mutex);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
  ORV_REAL(pthread_rwlock_rdlock);
  note("pthread_rwlock_rdlock");
  return next(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
  ORV_REAL(pthread_rwlock_wrlock);
  note("pthread_rwlock_wrlock");
  return next(lock);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  ORV_REAL(pthread_cond_wait);
  note("pthread_cond_wait");
  return next(condition, mutex);
}

int sched_yield() {
  ORV_REAL(sched_yield);
  note("sched_yield");
  return next();
}

int nanosleep(const timespec* time, timespec* left) {
  ORV_REAL(nanosleep);
  note("nanosleep");
  return next(time, left);
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* time, timespec* left) {
  ORV_REAL(clock_nanosleep);
  note("clock_nanosleep");
  return next(clock, flags, time, left);
}

int open(const char* path, int flags, ...) {
  ORV_REAL(open);
  note("open");
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = va_arg(rest, mode_t);
  va_end(rest);
  return next(path, flags, mode);
}

int close(int descriptor) {
  ORV_REAL(close);
  note("close");
  return next(descriptor);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
  ORV_REAL(read);
  note("read");
  return next(descriptor, buffer, size);
}

ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  ORV_REAL(pread);
  note("pread");
  return next(descriptor, buffer, size, offset);
}

/// Eight bytes are the wake-up through an event descriptor.
ssize_t write(int descriptor, const void* buffer, std::size_t size) {
  ORV_REAL(write);
  if (size != sizeof(std::uint64_t)) {
    note("write");
  }
  return next(descriptor, buffer, size);
}

ssize_t pwrite(int descriptor, const void* buffer, std::size_t size, off_t offset) {
  ORV_REAL(pwrite);
  note("pwrite");
  return next(descriptor, buffer, size, offset);
}

int poll(pollfd* descriptors, nfds_t number, int timeout) {
  ORV_REAL(poll);
  note("poll");
  return next(descriptors, number, timeout);
}

int setpriority(__priority_which_t which, id_t who, int value) noexcept {
  ORV_REAL(setpriority);
  note("setpriority");
  return next(which, who, value);
}

/// Atomics wake and wait through this.
long syscall(long number, ...) {
  ORV_REAL(syscall);
  va_list rest;
  va_start(rest, number);
  std::array<long, 6> arguments{};
  for (long& argument : arguments) {
    argument = va_arg(rest, long);
  }
  va_end(rest);
  const bool isWake = number == SYS_futex && (arguments[1] & FUTEX_CMD_MASK) == FUTEX_WAKE;
  if (!isWake) {
    note("syscall");
  }
  return next(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

}  // extern "C"

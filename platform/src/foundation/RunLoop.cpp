#include "OrvPlatform/RunLoop.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <limits>
#include <utility>
#include <vector>

#include "LoopQueue.h"
#include "OrvPlatform/Log.h"

namespace orv {

struct Timer::Entry {
  RunLoop::Clock::time_point due;
  std::chrono::nanoseconds interval{0};  // 0: once
  std::function<void()> function;
  bool isRunning = true;
};

namespace {

using Clock = RunLoop::Clock;

template <typename Function>
void guarded(const Function& function) {
  try {
    function();
  } catch (const std::exception& failure) {
    logf("a function of a loop failed: %s", failure.what());
  } catch (...) {
    log("a function of a loop failed");
  }
}

/// What can be added to now without passing the end of time.
Clock::time_point later(std::chrono::nanoseconds time) {
  const Clock::time_point now = Clock::now();
  const auto most = Clock::time_point::max() - now;
  return now + std::min<Clock::duration>(std::max(time, std::chrono::nanoseconds(0)), most);
}

int pollTimeout(Clock::time_point deadline) {
  if (deadline == Clock::time_point::max()) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): the queue brings it
class RunLoop::State {
 public:
  State() {
    epoll_event interest{};
    interest.events = EPOLLIN;
    if (epoll_ < 0 || event_ < 0 || timer_ < 0 || epoll_ctl(epoll_, EPOLL_CTL_ADD, event_, &interest) != 0 ||
        epoll_ctl(epoll_, EPOLL_CTL_ADD, timer_, &interest) != 0) {
      log("a loop can't sleep: the system gives it no file descriptors");
    }
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    for (const int descriptor : {epoll_, event_, timer_}) {
      if (descriptor >= 0) {
        close(descriptor);
      }
    }
  }

  int descriptor() const { return epoll_; }

  bool post(LoopPriority priority, LoopCall call) noexcept {
    const bool isPosted = queue_.post(priority, std::move(call));
    if (isPosted) {
      wake();
    }
    return isPosted;
  }

  void wake() noexcept {
    if (!isAwake_.exchange(true, std::memory_order_seq_cst)) {
      const std::uint64_t one = 1;
      [[maybe_unused]] const ssize_t written = write(event_, &one, sizeof one);  // fails only when it is full: awake
    }
  }

  std::size_t pump() {
    drain(event_);
    drain(timer_);
    isAwake_.store(false, std::memory_order_seq_cst);
    for (LoopCall& call : queue_.takeAll()) {
      calls_.push_back(std::move(call));
    }
    std::size_t count = 0;
    // A function that pumps itself performs what comes behind it.
    for (std::size_t left = calls_.size(); left > 0 && !calls_.empty(); --left) {
      const LoopCall call = std::move(calls_.front());
      calls_.pop_front();
      guarded([&] {
        if (call.perform != nullptr) {
          call.perform(call);
        }
      });
      ++count;
    }
    return count + callTimers();
  }

  void sleep(Clock::time_point deadline) const {
    pollfd wanted{epoll_, POLLIN, 0};
    const int timeout = pollTimeout(deadline);
    // Without a descriptor the loop looks every 10 ms.
    poll(&wanted, epoll_ >= 0 ? 1 : 0, epoll_ >= 0 ? timeout : std::min(timeout < 0 ? 10 : timeout, 10));
  }

  void stop() noexcept {
    stops_.fetch_add(1, std::memory_order_seq_cst);
    wake();
  }
  bool takeStop() {
    int stops = stops_.load(std::memory_order_seq_cst);
    while (stops > 0) {
      if (stops_.compare_exchange_weak(stops, stops - 1)) {
        return true;
      }
    }
    return false;
  }

  std::shared_ptr<Timer::Entry> addTimer(std::chrono::nanoseconds delay, std::chrono::nanoseconds interval,
                                         std::function<void()> function) {
    auto entry = std::make_shared<Timer::Entry>();
    entry->due = later(delay);
    entry->interval = interval;
    entry->function = std::move(function);
    timers_.push_back(entry);
    arm();
    return entry;
  }

  std::uint64_t leftOut() const noexcept { return queue_.leftOut(); }

 private:
  static void drain(int descriptor) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(descriptor, &count, sizeof count);
  }

  std::size_t callTimers() {
    const Clock::time_point now = Clock::now();
    std::erase_if(timers_, [](const auto& entry) { return !entry->isRunning; });
    std::vector<std::shared_ptr<Timer::Entry>> due;
    std::copy_if(timers_.begin(), timers_.end(), std::back_inserter(due),
                 [&](const auto& entry) { return entry->due <= now; });
    std::stable_sort(due.begin(), due.end(), [](const auto& one, const auto& other) { return one->due < other->due; });
    std::size_t count = 0;
    for (const auto& entry : due) {
      if (entry->isRunning) {
        advance(*entry, now);
        guarded(entry->function);
        ++count;
      }
    }
    arm();
    return count;
  }

  static void advance(Timer::Entry& entry, Clock::time_point now) {
    if (entry.interval.count() == 0) {
      entry.isRunning = false;
      return;
    }
    const auto missed = (now - entry.due) / entry.interval;
    entry.due += (missed + 1) * entry.interval;
  }

  void arm() {
    itimerspec setting{};
    const auto first = std::min_element(timers_.begin(), timers_.end(),
                                        [](const auto& one, const auto& other) { return one->due < other->due; });
    if (first != timers_.end() && (*first)->due != Clock::time_point::max()) {
      const auto since = std::chrono::nanoseconds((*first)->due.time_since_epoch()).count();
      setting.it_value.tv_sec = static_cast<time_t>(since / 1'000'000'000);
      setting.it_value.tv_nsec = static_cast<long>(since % 1'000'000'000);
    }
    timerfd_settime(timer_, TFD_TIMER_ABSTIME, &setting, nullptr);
  }

  const int epoll_ = epoll_create1(EPOLL_CLOEXEC);
  const int event_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  const int timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);  // the steady clock
  LoopQueue queue_;
  std::atomic<bool> isAwake_{false};
  std::atomic<int> stops_{0};
  std::deque<LoopCall> calls_;                         // loop's thread
  std::vector<std::shared_ptr<Timer::Entry>> timers_;  // loop's thread
};

Timer::Timer(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}

Timer::Timer(Timer&& other) noexcept : entry_(std::move(other.entry_)) {}

Timer& Timer::operator=(Timer&& other) noexcept {
  if (this != &other) {
    end();
    entry_ = std::move(other.entry_);
  }
  return *this;
}

Timer::~Timer() {
  end();
}

void Timer::end() {
  if (entry_ != nullptr) {
    entry_->isRunning = false;
    entry_ = nullptr;
  }
}

bool Timer::isRunning() const {
  return entry_ != nullptr && entry_->isRunning;
}

RunLoop& RunLoop::main() {
  static auto* const loop = new RunLoop;
  return *loop;
}

RunLoop::RunLoop() : state_(std::make_unique<State>()) {}

RunLoop::~RunLoop() = default;

bool RunLoop::post(LoopPriority priority, LoopCall call) noexcept {
  return state_->post(priority, std::move(call));
}

void RunLoop::perform(std::function<void()> function) {
  LoopCall call;
  call.receiver = std::make_shared<std::function<void()>>(std::move(function));
  call.perform = [](const LoopCall& made) { (*static_cast<std::function<void()>*>(made.receiver.get()))(); };
  post(LoopPriority::state, std::move(call));
}

int RunLoop::fileDescriptor() const {
  return state_->descriptor();
}

std::size_t RunLoop::pump() {
  return state_->pump();
}

void RunLoop::run() {
  runUntil([] { return false; }, std::chrono::nanoseconds::max());
}

void RunLoop::runFor(std::chrono::nanoseconds time) {
  runUntil([] { return false; }, time);
}

bool RunLoop::runUntil(const std::function<bool()>& isDone, std::chrono::nanoseconds time) {
  const Clock::time_point deadline = later(time);
  for (;;) {
    pump();
    if (isDone()) {
      return true;
    }
    if (state_->takeStop() || (deadline != Clock::time_point::max() && Clock::now() >= deadline)) {
      return false;
    }
    state_->sleep(deadline);
  }
}

void RunLoop::stop() noexcept {
  state_->stop();
}

Timer RunLoop::after(std::chrono::nanoseconds delay, std::function<void()> function) {
  return Timer(state_->addTimer(delay, std::chrono::nanoseconds(0), std::move(function)));
}

Timer RunLoop::every(std::chrono::nanoseconds interval, std::function<void()> function) {
  const auto least = std::max(interval, std::chrono::nanoseconds(1));
  return Timer(state_->addTimer(least, least, std::move(function)));
}

std::uint64_t RunLoop::leftOut() const noexcept {
  return state_->leftOut();
}

}  // namespace orv

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "OrvPlatform/Export.h"

/// A thread's loop: work that other threads hand to it, real-time threads among them, and timers.
///
/// The main loop is the one through which the framework calls the host back. A host without a loop of its own runs it;
/// one with an event loop waits for `fileDescriptor` to become readable and then calls `pump`. The thread that does
/// either is the loop's thread: of the main loop, the main thread.
namespace orv {

/// What a loop is to do: call a function with two objects that are kept until then, a text that lasts for ever, and two
/// numbers. Without a heap block of its own, so that a real-time thread can hand it over.
struct LoopCall {
  using Function = void (*)(const LoopCall& call);
  Function perform = nullptr;
  std::shared_ptr<void> receiver;
  std::shared_ptr<void> argument;
  const char* name = nullptr;
  std::uint64_t numbers[2] = {0, 0};
};

/// How much a call may lose when the loop's thread does not keep up.
enum class LoopPriority {
  state,     ///< nothing: each one is performed, in order
  highRate,  ///< left out while many of its kind wait: a later one says the same
};

/// A timer, which ends when it is destroyed. Loop's thread.
class ORV_API Timer {
 public:
  Timer() = default;
  Timer(Timer&& other) noexcept;
  Timer& operator=(Timer&& other) noexcept;
  ~Timer();

  /// Its function is not called any more.
  void end();
  bool isRunning() const;

 private:
  friend class RunLoop;
  struct Entry;
  explicit Timer(std::shared_ptr<Entry> entry);
  std::shared_ptr<Entry> entry_;
};

class ORV_API RunLoop {
 public:
  using Clock = std::chrono::steady_clock;

  /// The main thread's. Never destroyed.
  static RunLoop& main();

  RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;
  /// What is still waiting is released, not performed.
  ~RunLoop();

  /// Hands a call over. False for one of high rate that was left out. Thread-safe. Real-time safe: the objects move
  /// into a queue that is there already and are released by the loop's thread, and all that the system hears of it is a
  /// wake-up of a thread that sleeps.
  bool post(LoopPriority priority, LoopCall call) noexcept;
  /// As `post` of a state, for any function. Thread-safe; not real-time safe.
  void perform(std::function<void()> function);

  /// Readable whenever `pump` has something to do. Stays the same and belongs to the loop. Thread-safe.
  int fileDescriptor() const;
  /// Performs what waits and the timers that are due, but not what is handed over meanwhile. Returns how many calls
  /// were made. What a function throws is logged and ends there. May be called from such a function. Loop's thread.
  std::size_t pump();

  /// Pumps and sleeps until `stop`. Loop's thread.
  void run();
  /// Pumps and sleeps until `stop` or for so long. Loop's thread.
  void runFor(std::chrono::nanoseconds time);
  /// Pumps and sleeps until `isDone` answers true, or `stop`, or for so long at most. Returns the last answer. Asked
  /// after each pump. Loop's thread.
  bool runUntil(const std::function<bool()>& isDone, std::chrono::nanoseconds time);
  /// Ends the innermost `run…` that is under way, or else the next one at once. Thread-safe; real-time safe.
  void stop() noexcept;

  /// Calls `function` once, `delay` from now. Loop's thread.
  [[nodiscard]] Timer after(std::chrono::nanoseconds delay, std::function<void()> function);
  /// Calls `function` again and again, first `interval` from now. Times that were missed are left out. Loop's thread.
  [[nodiscard]] Timer every(std::chrono::nanoseconds interval, std::function<void()> function);

  /// High-rate calls that were left out so far. Thread-safe.
  std::uint64_t leftOut() const noexcept;

 private:
  class State;
  std::unique_ptr<State> state_;
};

}  // namespace orv

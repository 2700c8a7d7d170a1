#pragma once

#include <atomic>
#include <chrono>
#include <thread>

/// Keeps a device's cycles out of an object while another thread changes it, and the other thread waiting while a cycle
/// is inside. A cycle never waits: where it finds the gate held it goes on without the object, which is heard as
/// silence. So the gate is held for moments only, and what takes long is prepared before.
class CycleGate {
 public:
  CycleGate() = default;
  CycleGate(const CycleGate&) = delete;
  CycleGate& operator=(const CycleGate&) = delete;

  /// Whether the calling thread is in a cycle that has entered. Real-time safe.
  bool isEnteredHere() const noexcept { return cycleThread_.load(std::memory_order_relaxed) == threadMark(); }

  /// A cycle's stay. Real-time safe.
  class Pass {
   public:
    explicit Pass(CycleGate& gate) noexcept : gate_(gate) {
      State expected = State::free;
      entered_ = gate_.state_.compare_exchange_strong(expected, State::inCycle, std::memory_order_acquire);
      if (entered_) {
        gate_.cycleThread_.store(threadMark(), std::memory_order_relaxed);
      }
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    ~Pass() {
      if (entered_) {
        gate_.cycleThread_.store(nullptr, std::memory_order_relaxed);
        gate_.state_.store(State::free, std::memory_order_release);
      }
    }
    explicit operator bool() const noexcept { return entered_; }

   private:
    CycleGate& gate_;
    bool entered_;
  };

  /// Waits for a cycle that is inside, and lets none in while it lives. Holds don't nest. From inside the cycle itself
  /// it does not wait. Not real-time safe.
  class Hold {
   public:
    explicit Hold(CycleGate& gate) noexcept : gate_(gate), isOwn_(gate.isEnteredHere()) {
      for (State expected = State::free;
           !isOwn_ && !gate_.state_.compare_exchange_weak(expected, State::held, std::memory_order_acquire);
           expected = State::free) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
      }
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold() {
      if (!isOwn_) {
        gate_.state_.store(State::free, std::memory_order_release);
      }
    }

   private:
    CycleGate& gate_;
    bool isOwn_;
  };

 private:
  enum class State { free, inCycle, held };

  /// An address that no two threads share.
  static const void* threadMark() noexcept {
    static thread_local const char mark = 0;
    return &mark;
  }

  std::atomic<State> state_{State::free};
  std::atomic<const void*> cycleThread_{nullptr};
};

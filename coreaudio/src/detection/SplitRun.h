#pragma once

#include <atomic>

/// What a split run shares with the rest of the process: one run at a time.
struct OrvSplitRun {
  /// Set by `cancel` from any thread, looked at between blocks.
  static std::atomic<bool> isCancelled;
  /// Progress of the run, 0.0 to 1.0. The run's thread only.
  static float progressValue;
  /// What each step adds to it.
  static float progressValueIncrementor;

  /// Makes one step of progress and tells the delegate.
  static void advance();
};

#pragma once

#include <memory>
#include <vector>

#include "Keys.h"

namespace orv::cli {

/// The person's keys, one by one and not shown, while it lives. However the program ends, the terminal is as it was:
/// also when it crashes, and while Ctrl-Z has it stopped. Ctrl-C still interrupts. One at a time; main thread.
class Terminal {
 public:
  /// Null where standard input is no terminal.
  static std::unique_ptr<Terminal> open();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal();

  /// The keys since the last call; does not wait. None while another program has the terminal.
  std::vector<Key> keys();

  /// Whether the person has pressed Ctrl-Z, and is waiting for `suspend`.
  bool isSuspensionWanted() const;
  /// Gives the terminal back and stops the process; returns when the shell lets it go on.
  void suspend();

 private:
  Terminal();
  void take();
  void giveBack();
  bool isForeground() const;

  KeyReader reader_;
  bool isTaken_ = false;
  bool isKnown_ = false;  ///< how it is to be left
};

}  // namespace orv::cli

#pragma once

#include <sys/types.h>
#include <termios.h>

#include <chrono>
#include <string>
#include <vector>

namespace orv::test {

/// The program on a terminal of its own, under a shell's eyes: a test types, reads what is shown, and sees it stop and
/// go on. Every wait fails the test after a while.
class OrvOnTerminal {
 public:
  explicit OrvOnTerminal(const std::vector<std::string>& arguments);
  OrvOnTerminal(const OrvOnTerminal&) = delete;
  OrvOnTerminal& operator=(const OrvOnTerminal&) = delete;
  ~OrvOnTerminal();

  void type(const std::string& keys) const;
  /// Returns when the program has shown `text`, behind what was waited for before.
  void awaitText(const std::string& text);
  /// The modes of the terminal now.
  termios modes() const;
  /// Returns when the program has stopped itself.
  void awaitStop();
  /// Lets it go on, with the terminal.
  void goOn() const;
  /// The exit status, or 128 + the signal that ended it. The terminal stays.
  int awaitEnd();

  const std::string& shown() const { return shown_; }

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  /// What the shell reports: 'S' for a stop, 'E' for the end, followed by the status. Empty: nothing came in time.
  std::string awaitReport(std::size_t length);
  /// Takes in what is shown, until there is a report or it is late. Whether there is time left.
  bool takeIn(int report, Deadline deadline, bool* isReported);

  int terminal_ = -1;
  int reports_ = -1;
  int orders_ = -1;
  pid_t shell_ = -1;
  std::string shown_;
  std::size_t seen_ = 0;
};

}  // namespace orv::test

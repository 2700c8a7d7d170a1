#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

/// How far a run has come, on one line of a terminal that is drawn over and over and cleared in the end. Runs of less
/// than half a second show nothing.
class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  /// Where a bar is drawn.
  struct Terminal {
    std::function<void(std::string_view)> write;
    std::function<Clock::time_point()> now;
    int columns = 80;
  };

  /// Standard error, where that is a terminal.
  static std::optional<Terminal> standardError();

  /// Without a terminal nothing is ever drawn.
  explicit ProgressBar(std::optional<Terminal> terminal);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  /// A new stretch of work begins: "Analysing".
  void begin(std::string label);
  /// `fraction` of it, 0 to 1, is done. Cheap enough to be called for every block.
  void update(double fraction);
  /// Takes the bar away, until the next update.
  void clear();

 private:
  std::string line(double fraction) const;

  std::optional<Terminal> terminal_;
  Clock::time_point next_;  // nothing is drawn before
  std::string label_;
  bool visible_ = false;
};

}  // namespace orv::cli

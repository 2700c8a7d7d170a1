#pragma once

#include <string>

namespace orv::cli {

/// One line at the foot of a terminal that says how things stand, and is drawn over and over. Where standard output is
/// no terminal, nothing is ever drawn.
class LiveLine {
 public:
  explicit LiveLine(bool isWanted);
  LiveLine(const LiveLine&) = delete;
  LiveLine& operator=(const LiveLine&) = delete;
  ~LiveLine();

  bool isShown() const { return isShown_; }
  /// Columns that a line may have now.
  static int columns();
  /// Draws `text`, valid UTF-8, cut to the terminal's width.
  void show(const std::string& text);
  /// Takes the line away, until the next one.
  void clear();

 private:
  bool isShown_;
  bool isDrawn_ = false;
};

}  // namespace orv::cli

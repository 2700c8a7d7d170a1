#pragma once

#include <string>
#include <vector>

namespace orv::bench {

/// A table of what was measured beside what it is measured against.
class RatioTable {
 public:
  explicit RatioTable(std::string title) : title_(std::move(title)) {}

  /// A row for "ours takes at most `most` times what the peer takes", of times in seconds.
  void addTimes(const std::string& what, double ours, double peer, double most);
  /// A row for "ours reaches at least `least` times the peer's rate", of bytes per second.
  void addRates(const std::string& what, double ours, double peer, double least);
  /// A row for "ours is at most `most`" in `unit`, with the peer's value beside it where there is one (else 0).
  void addLimit(const std::string& what, double ours, double peer, double most, const std::string& unit);

  /// Writes the table to standard output.
  void print() const;

 private:
  using Row = std::vector<std::string>;

  std::string title_;
  std::vector<Row> rows_;
};

}  // namespace orv::bench

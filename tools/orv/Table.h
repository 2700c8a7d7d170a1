#pragma once

#include <string>
#include <vector>

namespace orv::cli {

/// Lines of text in columns.
class Table {
 public:
  enum class Align { left, right };
  struct Column {
    std::string title;
    Align align = Align::left;
  };

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// Requires: one cell for each column, valid UTF-8 on one line.
  void addRow(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  /// Title line and rows, each ended by a newline, no blanks at the ends of lines.
  std::string text() const;

 private:
  std::vector<std::size_t> widths() const;
  void appendLine(std::string* text, const std::vector<std::string>& cells,
                  const std::vector<std::size_t>& widths) const;

  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace orv::cli

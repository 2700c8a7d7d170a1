#include "Table.h"

#include <algorithm>

#include "Text.h"

namespace orv::cli {

std::string Table::text() const {
  const std::vector<std::size_t> columnWidths = widths();
  std::vector<std::string> titles;
  for (const Column& column : columns_) {
    titles.push_back(column.title);
  }
  std::string result;
  appendLine(&result, titles, columnWidths);
  for (const auto& row : rows_) {
    appendLine(&result, row, columnWidths);
  }
  return result;
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = characterCount(columns_[i].title);
    for (const auto& row : rows_) {
      width = std::max(width, characterCount(row[i]));
    }
    result.push_back(width);
  }
  return result;
}

void Table::appendLine(std::string* text, const std::vector<std::string>& cells,
                       const std::vector<std::size_t>& widths) const {
  constexpr std::size_t gap = 2;
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string padding(widths[i] - characterCount(cells[i]), ' ');
    line += std::string(i == 0 ? 0 : gap, ' ');
    line += columns_[i].align == Align::left ? cells[i] + padding : padding + cells[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  *text += line + '\n';
}

}  // namespace orv::cli

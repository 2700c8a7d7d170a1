#include "support/RatioTable.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace orv::bench {
namespace {

std::string text(const char* format, double value) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, value);
  return buffer.data();
}

std::string timeText(double seconds) {
  return seconds < 1e-3 ? text("%.1f us", seconds * 1e6) : text("%.1f ms", seconds * 1e3);
}

std::string rateText(double bytesPerSecond) {
  return text("%.2f GB/s", bytesPerSecond / 1e9);
}

std::string verdict(bool met) {
  return met ? "met" : "NOT MET";
}

}  // namespace

void RatioTable::addTimes(const std::string& what, double ours, double peer, double most) {
  const double ratio = ours / peer;
  rows_.push_back({what, timeText(ours), timeText(peer), text("1/%.1f", 1 / ratio), text("<= 1/%.0f", 1 / most),
                   verdict(ratio <= most)});
}

void RatioTable::addRates(const std::string& what, double ours, double peer, double least) {
  const double ratio = ours / peer;
  rows_.push_back(
      {what, rateText(ours), rateText(peer), text("%.2f", ratio), text(">= %.2f", least), verdict(ratio >= least)});
}

void RatioTable::addLimit(const std::string& what, double ours, double peer, double most, const std::string& unit) {
  const auto value = [&](double number) { return text("%.1f ", number) + unit; };
  rows_.push_back({what, value(ours), peer != 0 ? value(peer) : "", peer > 0 ? text("%.2f", ours / peer) : "",
                   text("<= %.0f ", most) + unit, verdict(ours <= most)});
}

void RatioTable::print() const {
  const Row head = {title_, "ours", "peer", "ratio", "target", ""};
  std::vector<std::size_t> widths(head.size());
  const auto widen = [&](const Row& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  };
  const auto print = [&](const Row& row) {
    std::printf("%-*s", static_cast<int>(widths[0]), row[0].c_str());
    for (std::size_t i = 1; i < row.size(); ++i) {
      std::printf("  %*s", static_cast<int>(widths[i]), row[i].c_str());
    }
    std::printf("\n");
  };
  widen(head);
  std::for_each(rows_.begin(), rows_.end(), widen);
  print(head);
  std::for_each(rows_.begin(), rows_.end(), print);
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace orv::bench
